/* The controller lifecycle through libquillon.so, as a C host sees it: the
 * library is loaded with dlopen, the devices are the simulated system's
 * objects allocated here (the library shares this process's libqorvis.so),
 * and modal runs end by themselves (QUILLON_AUTOCLOSE_MS). Whether a call
 * made a new application object shows in GENICAM_LOG_CONFIG_V3_4, which the
 * GenICam set-up of every new one sets. Usage: controller_lifecycle_test CASE */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <malloc.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qorvis.h"
#include "quillon.h"

typedef ControllerWindowHandle Window;
typedef int64_t (*CreateV2)(int64_t, int64_t, ControllerDeviceDescV2*, int64_t, int32_t, Window,
                            int64_t*);
typedef int64_t (*CreateV3)(int64_t, int64_t, ControllerDeviceDesc*, int64_t, int32_t, Window,
                            int64_t*);
static struct {
    int64_t (*create)(int64_t, int32_t, int64_t, int32_t, Window, int64_t*);
    int64_t (*vantorCreate)(int64_t, int32_t, int64_t, int32_t, Window, int64_t, int64_t, int64_t*);
    CreateV2 createV2, vantorCreateV2;
    CreateV3 createV3, vantorCreateV3;
    void (*destroy)(int64_t, Window);
    void (*destroyV2)(int64_t, Window);
    void (*destroyV3)(int64_t, Window);
} api;

static struct {
    QOR_ID app, sys, dig, seq;
    void* camera;
} sim;

/* window_driver.cpp: a user's find and download in a browser window. */
static struct {
    int (*window)(int64_t window, const char* path);
    int (*nextModal)(const char* path, int* result);
    void (*dropQtCaches)(void);
} driver;

static char root[] = "/tmp/quillon_lifecycle_XXXXXX"; /* settings, GenICam set-up, downloads */
static int failures;

#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition);          \
            ++failures;                                                                            \
        }                                                                                          \
    } while (0)

enum { WINDOWLESS = 2 };
static const char kAppMarker[] = "GENICAM_LOG_CONFIG_V3_4";
static void forget_application(void) {
    unsetenv(kAppMarker);
}
static int application_made(void) {
    return getenv(kAppMarker) != NULL;
}

/* A modal run with no devices; whether it made an application object. */
static int modal_run_made_application(void) {
    int64_t handle = 0;
    forget_application();
    CHECK(api.vantorCreateV3(sim.sys, 0, NULL, 0, CONTROLLER_MODE_MODAL, 0, &handle) == 1);
    return application_made();
}

/* No controller left: a modal run then tears the application object down. */
static int no_controller_left(void) {
    modal_run_made_application();
    return modal_run_made_application();
}

static ControllerDeviceDesc record(uint32_t kind, QOR_ID object) {
    ControllerDeviceDesc r;
    memset(&r, 0, sizeof r);
    r.DescKind = kind;
    r.Object = object;
    r.DeviceLoad = QUILLON_DATA_DIR;
    r.Version = 3;
    return r;
}

static void modal_runs(void) {
    int64_t handle = 0, kept = 0, ran = 0;
    forget_application();
    CHECK(api.vantorCreateV3(sim.sys, 3, NULL, 0, CONTROLLER_MODE_MODAL, 0, &handle) == 1);
    CHECK(handle != 0 && application_made());
    /* The run removed its controller, so the application object went too. */
    CHECK(modal_run_made_application());
    ControllerDeviceDesc records[2] = {record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.seq)};
    records[0].Label1 = "Camera";
    records[1].WindowTitle = "Quillon test";
    CHECK(api.createV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
    CHECK(records[0].NodeMap == sim.camera && records[1].NodeMap != NULL);
    /* One view over a host node map, through both plain entries. */
    const int64_t map = (int64_t)(intptr_t)sim.camera;
    CHECK(api.create(sim.sys, 0, map, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
    CHECK(api.vantorCreate(sim.sys, 0, map, CONTROLLER_MODE_MODAL, 0, -1, -1, NULL) == 1);
    /* A modal run's handle names no live controller afterwards. */
    CHECK(api.vantorCreateV3(sim.sys, 0, NULL, 0, WINDOWLESS, 0, &kept) == 0);
    CHECK(api.vantorCreateV3(sim.sys, 0, records, 1, CONTROLLER_MODE_MODAL, 0, &ran) == 1);
    CHECK(ran != 0 && ran != kept);
    api.destroy(ran, 0);
    CHECK(!modal_run_made_application()); /* `kept` still keeps it */
    api.destroy(kept, 0);
    CHECK(no_controller_left());
}

static void modeless_and_windowless(void) {
    ControllerDeviceDesc records[2] = {record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.sys)};
    int64_t modeless = 0, windowless = 0, closed = 0, again = 0;
    forget_application();
    const int64_t window =
        api.vantorCreateV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODELESS, 0, &modeless);
    CHECK(window != 0 && modeless != 0 && modeless != window && application_made());
    CHECK(records[0].NodeMap == sim.camera && records[1].NodeMap != NULL);
    /* No window: result 0, but a controller that lives on; an unknown mode likewise. */
    forget_application();
    CHECK(api.createV3(sim.sys, 0, records, 1, WINDOWLESS, 0, &windowless) == 0);
    CHECK(windowless != 0 && windowless != modeless && !application_made());
    CHECK(api.createV3(sim.sys, 0, NULL, 0, 77, 0, &closed) == 0);
    CHECK(!modal_run_made_application() && !modal_run_made_application());
    /* By window handle, by controller handle alone, and by the other two names. */
    api.destroy(modeless, (Window)window);
    api.destroyV2(windowless, 0);
    CHECK(!modal_run_made_application()); /* one is left */
    api.destroyV3(closed, 0);
    /* Deleting leaves the application object; the next emptying run takes it. */
    CHECK(!modal_run_made_application());
    CHECK(modal_run_made_application());
    /* A user-closed modeless window stays until the host deletes it. */
    CHECK(api.createV3(sim.sys, 1, records, 2, CONTROLLER_MODE_MODELESS, 0, &again) != 0);
    CHECK(!no_controller_left());
    api.destroy(again, 0);
    CHECK(no_controller_left());
}

static void v2_application_and_short_records(void) {
    /* Three short records (their first 56 bytes) and a guard after them. */
    const ControllerDeviceDesc full[4] = {record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                          record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.seq),
                                          record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.sys),
                                          record(9, 1234)};
    ControllerDeviceDescV2 records[4];
    for (int i = 0; i < 4; ++i)
        memcpy(&records[i], &full[i], sizeof records[i]);
    records[1].Label1 = "Sequence";
    records[3].NodeMap = &records;
    const ControllerDeviceDescV2 guard = records[3];
    int64_t handle = 0, first = 0, second = 0;
    forget_application();
    const int64_t window =
        api.vantorCreateV2(sim.sys, 0, records, 3, CONTROLLER_MODE_MODELESS, 0, &handle);
    CHECK(window != 0 && handle != 0 && application_made());
    CHECK(records[0].NodeMap == sim.camera && records[1].NodeMap && records[2].NodeMap &&
          records[1].NodeMap != records[2].NodeMap);
    CHECK(strcmp(records[1].Label1, "Sequence") == 0);
    CHECK(memcmp(&records[3], &guard, sizeof guard) == 0);
    /* V2 destroyed the application object it made, window open or not: deleting
     * does nothing now; the next call makes a new one and the controller stays. */
    api.destroy(handle, (Window)window);
    CHECK(modal_run_made_application());
    CHECK(!modal_run_made_application());
    api.destroy(handle, 0);
    CHECK(no_controller_left());
    /* An application object V2 did not make stays. */
    CHECK(api.createV3(sim.sys, 0, NULL, 0, WINDOWLESS, 0, &first) == 0);
    CHECK(api.createV2(sim.sys, 0, records, 1, WINDOWLESS, 0, &second) == 0);
    api.destroy(first, 0);
    CHECK(!modal_run_made_application());
    api.destroy(second, 0);
    CHECK(no_controller_left());
}

static void deletion_edges(void) {
    int local = 0;
    int64_t handle = 0;
    /* No application object yet. */
    api.destroy(0, 0);
    api.destroy(12345, 0);
    api.destroy((int64_t)(intptr_t)&local, 42);
    forget_application();
    CHECK(api.createV3(sim.sys, 0, NULL, 0, WINDOWLESS, 0, &handle) == 0 && application_made());
    api.destroy(0, 0);
    api.destroy((int64_t)(intptr_t)&local, 0);
    api.destroy(handle + 8, 0);
    CHECK(!modal_run_made_application()); /* the controller is still there */
    api.destroy(handle, 0);
    api.destroy(handle, 0); /* a second time: unknown by now */
    CHECK(no_controller_left());
    api.destroy(handle, 0); /* once more without an application object */
}

static void bad_input(void) {
    int64_t handle = 0;
    ControllerDeviceDesc records[3] = {record(99, sim.dig),
                                       record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.sys),
                                       record(CONTROLLER_DESC_HOST_NODE_MAP, 0)};
    records[1].DeviceLoad = "/nonexistent/";
    CHECK(api.createV3(sim.sys, 0, records, 3, WINDOWLESS, 0, &handle) == 0);
    CHECK(records[0].NodeMap == NULL && records[1].NodeMap == NULL);
    api.destroy(handle, 0);
    /* No records, or a negative count. */
    CHECK(api.createV3(sim.sys, 0, NULL, 5, WINDOWLESS, 0, &handle) == 0);
    api.destroy(handle, 0);
    CHECK(api.createV3(sim.sys, 0, records, -4, WINDOWLESS, 0, &handle) == 0);
    api.destroy(handle, 0);
    /* A parent handle that is no window of this process. */
    CHECK(api.createV3(sim.sys, 0, NULL, 0, CONTROLLER_MODE_MODELESS, 0xdeadbeef, &handle) != 0);
    api.destroy(handle, 0xdeadbeef);
    CHECK(no_controller_left());
}

/* The sanitizer's count of heap bytes in use, when it is there. */
size_t __sanitizer_get_current_allocated_bytes(void) __attribute__((weak));
static long heap_kib(void) {
    if (__sanitizer_get_current_allocated_bytes)
        return (long)(__sanitizer_get_current_allocated_bytes() / 1024);
    return (long)(mallinfo2().uordblks / 1024);
}
static long resident_kib(void) {
    long pages = 0, resident = -1;
    FILE* statm = fopen("/proc/self/statm", "r");
    if (!statm || fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = -1;
    return (statm ? fclose(statm) : 0), resident * (sysconf(_SC_PAGESIZE) / 1024);
}

static void create_delete_loop(int rounds) {
    ControllerDeviceDesc records[2] = {record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.seq)};
    for (int i = 0; i < rounds; ++i) {
        int64_t handle = 0;
        records[1].NodeMap = NULL;
        CHECK(api.vantorCreateV3(sim.sys, i, records, 2, WINDOWLESS, 0, &handle) == 0);
        CHECK(records[1].NodeMap != NULL);
        api.destroy(handle, 0);
    }
}

/* Per round a modeless and a modal window, each with a user's find and download. */
static void window_runs(int rounds) {
    ControllerDeviceDesc records[2] = {record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.dig)};
    char path[256];
    snprintf(path, sizeof path, "%s/download.bin", root);
    for (int i = 0; i < rounds; ++i) {
        int64_t handle = 0;
        int driven = 0;
        const int64_t window =
            api.vantorCreateV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODELESS, 0, &handle);
        CHECK(window != 0 && driver.window(window, path) == 1);
        api.destroy(handle, (Window)window);
        CHECK(driver.nextModal(path, &driven) == 1);
        CHECK(api.vantorCreateV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
        CHECK(driven == 1);
    }
}

static void no_growth(void) {
    /* An application object that outlives the loops, then a warm-up. */
    int64_t anchor = 0;
    api.createV3(sim.sys, 0, NULL, 0, WINDOWLESS, 0, &anchor);
    create_delete_loop(50);
    const long heapBefore = heap_kib(), residentBefore = resident_kib();
    create_delete_loop(1000);
    /* Nothing of a deleted controller stays on the heap; the resident size
     * counts under the sanitizer only without its quarantine of freed blocks. */
    CHECK(heap_kib() - heapBefore < 64);
    const char* asan = getenv("ASAN_OPTIONS");
    if (!__sanitizer_get_current_allocated_bytes || (asan && strstr(asan, "quarantine_size_mb=0")))
        CHECK(residentBefore > 0 && resident_kib() - residentBefore < 16 * 1024);
    /* The driver closes the modal windows; Qt fills its caches in the first rounds. */
    setenv("QUILLON_AUTOCLOSE_MS", "0", 1);
    window_runs(2);
    driver.dropQtCaches();
    const long windowsBefore = heap_kib();
    window_runs(10);
    driver.dropQtCaches();
    CHECK(heap_kib() - windowsBefore < 48);
    setenv("QUILLON_AUTOCLOSE_MS", "50", 1);
    api.destroy(anchor, 0);
}

static void* symbol(void* library, const char* name) {
    void* address = library ? dlsym(library, name) : NULL;
    if (!address) {
        fprintf(stderr, "%s\n", library ? dlerror() : "a library did not load");
        exit(1);
    }
    return address;
}

int main(int argc, char** argv) {
    static const struct {
        const char* name;
        void (*run)(void);
    } cases[] = {{"modal_runs", modal_runs},
                 {"modeless_and_windowless", modeless_and_windowless},
                 {"v2_application_and_short_records", v2_application_and_short_records},
                 {"deletion_edges", deletion_edges},
                 {"bad_input", bad_input},
                 {"no_growth", no_growth}};
    /* Our own GenICam installation and repository (each new application object's set-up completes)
     * and home. */
    static const char* const folders[][2] = {{"genicam", "QOR_GENICAM_PATH"},
                                             {"genicam/v3_4", NULL},
                                             {"repository", "QOR_XML_REPOSITORY"},
                                             {"config", "XDG_CONFIG_HOME"}};
    char path[256];
    if (!mkdtemp(root)) return 1;
    for (size_t i = 0; i < sizeof folders / sizeof folders[0]; ++i) {
        snprintf(path, sizeof path, "%s/%s", root, folders[i][0]);
        mkdir(path, 0700);
        if (folders[i][1]) setenv(folders[i][1], path, 1);
    }
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QUILLON_AUTOCLOSE_MS", "50", 1);

    void* library = dlopen(QUILLON_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    void* driverLibrary = dlopen(QUILLON_WINDOW_DRIVER, RTLD_NOW | RTLD_LOCAL);
    /* POSIX: dlsym's object pointer converts to the function pointer. */
    static const char* const names[] = {
        "CreateGenicamController",   "VantorCreateGenicamController",
        "CreateGenicamControllerV2", "VantorCreateGenicamControllerV2",
        "CreateGenicamControllerV3", "VantorCreateGenicamControllerV3",
        "DeleteGenicamController",   "DeleteGenicamControllerV2",
        "DeleteGenicamControllerV3"};
    for (size_t i = 0; i < sizeof names / sizeof names[0]; ++i)
        ((void**)&api)[i] = symbol(library, names[i]);
    *(void**)&driver.window = symbol(driverLibrary, "quillon_drive_window");
    *(void**)&driver.nextModal = symbol(driverLibrary, "quillon_drive_next_modal");
    *(void**)&driver.dropQtCaches = symbol(driverLibrary, "quillon_drop_qt_caches");
    /* One body under two names. */
    CHECK(api.createV2 == api.vantorCreateV2 && api.createV3 == api.vantorCreateV3);
    CHECK(api.destroy == api.destroyV2 && api.destroy == api.destroyV3);

    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QappAlloc(QOR_TEXT(""), &sim.app);
    QsysAlloc(sim.app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sim.sys);
    QdigAlloc(sim.sys, 0, QOR_TEXT(""), Q_DEFAULT, &sim.dig);
    QseqAlloc(sim.sys, 0, 1, Q_DEFAULT, &sim.seq);
    sim.camera = (void*)(intptr_t)QdigInquire(sim.dig, Q_GC_NODE_MAP, NULL);
    int ran = 0;
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        if (argc > 1 && strcmp(argv[1], cases[i].name) != 0) continue;
        const int before = failures;
        cases[i].run();
        printf("%s: %s\n", cases[i].name, failures == before ? "passed" : "FAILED");
        ++ran;
    }
    QsysFree(sim.sys);
    QappFree(sim.app);
    if (!ran) fprintf(stderr, "no case named %s\n", argv[1]);
    return failures || !ran || !sim.camera ? 1 : 0;
}
