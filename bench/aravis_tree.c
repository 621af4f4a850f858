/* The same work as `quillon tree --xml FILE`, done by Aravis: load the
 * description over a zero-filled memory device, walk the categories from
 * "Root" and print every feature with its value as text. The whole-process
 * comparison (bench/compare_aravis.sh) runs the two side by side. */
#include <arv.h>
#include <stdio.h>
#include <string.h>

/* A device whose register space reads as zeros and takes every write, like
 * the memory port that `quillon --xml` browses over. */
typedef struct {
    ArvDevice parent;
} MemoryDevice;
typedef struct {
    ArvDeviceClass parent_class;
} MemoryDeviceClass;

G_DEFINE_TYPE(MemoryDevice, memory_device, ARV_TYPE_DEVICE)

static gboolean read_memory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                            GError** error) {
    (void)device, (void)address, (void)error;
    memset(buffer, 0, size);
    return TRUE;
}

static gboolean write_memory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                             GError** error) {
    (void)device, (void)address, (void)size, (void)buffer, (void)error;
    return TRUE;
}

static gboolean read_register(ArvDevice* device, guint64 address, guint32* value, GError** error) {
    (void)device, (void)address, (void)error;
    *value = 0;
    return TRUE;
}

static gboolean write_register(ArvDevice* device, guint64 address, guint32 value, GError** error) {
    (void)device, (void)address, (void)value, (void)error;
    return TRUE;
}

static void memory_device_init(MemoryDevice* self) {
    (void)self;
}

static void memory_device_class_init(MemoryDeviceClass* klass) {
    ArvDeviceClass* device = ARV_DEVICE_CLASS(klass);
    device->read_memory = read_memory;
    device->write_memory = write_memory;
    device->read_register = read_register;
    device->write_register = write_register;
}

/* One row per feature, indented by depth; categories recurse (a category
 * reached again below itself is not entered twice on one path). */
static void walk(ArvGc* gc, const char* name, int depth, GString* out) {
    if (depth > 64) return;
    ArvGcNode* node = arv_gc_get_node(gc, name);
    if (!node || !ARV_IS_GC_FEATURE_NODE(node)) return;
    ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
    for (int i = 0; i < depth; ++i)
        g_string_append(out, "  ");
    g_string_append(out, name);
    if (ARV_IS_GC_CATEGORY(node)) {
        g_string_append_c(out, '\n');
        for (const GSList* f = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); f; f = f->next)
            walk(gc, f->data, depth + 1, out);
        return;
    }
    GError* error = NULL;
    const char* value = NULL;
    if (arv_gc_feature_node_is_implemented(feature, &error) &&
        arv_gc_feature_node_is_available(feature, &error) && !ARV_IS_GC_COMMAND(node))
        value = arv_gc_feature_node_get_value_as_string(feature, &error);
    g_string_append_printf(out, " \t %s\n", value ? value : error ? "Error" : "");
    g_clear_error(&error);
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: aravis_tree FILE.xml\n");
        return 2;
    }
    gchar* xml = NULL;
    gsize size = 0;
    if (!g_file_get_contents(argv[1], &xml, &size, NULL)) {
        fprintf(stderr, "aravis_tree: cannot read %s\n", argv[1]);
        return 2;
    }
    ArvDevice* device = g_object_new(memory_device_get_type(), NULL);
    ArvGc* gc = arv_gc_new(device, xml, size);
    if (!gc || !arv_gc_get_node(gc, "Root")) {
        fprintf(stderr, "aravis_tree: %s is not a description Aravis loads\n", argv[1]);
        return 2;
    }
    GString* out = g_string_new(NULL);
    walk(gc, "Root", 0, out);
    fwrite(out->str, 1, out->len, stdout);
    g_string_free(out, TRUE);
    g_object_unref(gc);
    g_object_unref(device);
    g_free(xml);
    return 0;
}
