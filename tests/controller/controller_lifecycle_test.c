/* The controller lifecycle through libquillon.so, as a C host sees it: the
 * library is loaded with dlopen, the devices are the simulated system's
 * objects allocated here (the library shares this process's libqorvis.so),
 * and modal runs end by themselves (QUILLON_AUTOCLOSE_MS).
 *
 * Whether a call made a new application object is seen through the GenICam
 * environment set-up that every new one runs: it sets
 * GENICAM_LOG_CONFIG_V3_4, which the test removes before the call.
 *
 * Usage: controller_lifecycle_test [CASE]; without CASE every case runs. */
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

typedef int64_t (*CreateFn)(int64_t, int32_t, int64_t, int32_t, ControllerWindowHandle, int64_t*);
typedef int64_t (*VantorCreateFn)(int64_t, int32_t, int64_t, int32_t, ControllerWindowHandle, int64_t, int64_t,
                                  int64_t*);
typedef int64_t (*CreateV2Fn)(int64_t, int64_t, ControllerDeviceDescV2*, int64_t, int32_t, ControllerWindowHandle,
                              int64_t*);
typedef int64_t (*CreateV3Fn)(int64_t, int64_t, ControllerDeviceDesc*, int64_t, int32_t, ControllerWindowHandle,
                              int64_t*);
typedef void (*DeleteFn)(int64_t, ControllerWindowHandle);

static struct {
    CreateFn create;
    VantorCreateFn vantorCreate;
    CreateV2Fn createV2, vantorCreateV2;
    CreateV3Fn createV3, vantorCreateV3;
    DeleteFn destroy, destroyV2, destroyV3;
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

/* The test's own folder: settings, GenICam set-up, downloads. */
static char root[] = "/tmp/quillon_lifecycle_XXXXXX";

static int failures;

#define CHECK(condition)                                                                   \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                                                    \
        }                                                                                  \
    } while (0)

static const char kAppMarker[] = "GENICAM_LOG_CONFIG_V3_4";

/* Runs before a call whose application object is to be observed. */
static void forget_application(void) { unsetenv(kAppMarker); }
static int application_made(void) { return getenv(kAppMarker) != NULL; }

/* A modal run with no devices; whether it made an application object. */
static int modal_run_made_application(void) {
    int64_t handle = 0;
    forget_application();
    CHECK(api.vantorCreateV3(sim.sys, 0, NULL, 0, CONTROLLER_MODE_MODAL, 0, &handle) == 1);
    return application_made();
}

/* The table is empty exactly when a modal run ends with the application
 * object torn down, so that the next one makes a new one. Leaves the
 * application object torn down when it was. */
static int no_controller_left(void) {
    modal_run_made_application();
    return modal_run_made_application();
}

static ControllerDeviceDesc full_record(uint32_t kind, QOR_ID object) {
    ControllerDeviceDesc record;
    memset(&record, 0, sizeof record);
    record.DescKind = kind;
    record.Object = object;
    record.DeviceLoad = QUILLON_DATA_DIR;
    record.Version = 3;
    return record;
}

/* The first 56 bytes of the full record. */
static ControllerDeviceDescV2 short_record(uint32_t kind, QOR_ID object) {
    const ControllerDeviceDesc full = full_record(kind, object);
    ControllerDeviceDescV2 record;
    memcpy(&record, &full, sizeof record);
    return record;
}

/* ------------------------------------------------------------------ cases */

static void modal_runs(void) {
    int64_t handle = 0;
    forget_application();
    CHECK(api.vantorCreateV3(sim.sys, 3, NULL, 0, CONTROLLER_MODE_MODAL, 0, &handle) == 1);
    CHECK(handle != 0);
    CHECK(application_made());
    /* The run removed its controller, so the application object went too. */
    CHECK(modal_run_made_application());

    ControllerDeviceDesc records[2] = {full_record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       full_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.seq)};
    records[0].Label1 = "Camera";
    records[1].WindowTitle = "Quillon test";
    CHECK(api.createV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
    CHECK(records[0].NodeMap == sim.camera);
    CHECK(records[1].NodeMap != NULL);

    /* One view over a host node map, through both plain entries. */
    CHECK(api.create(sim.sys, 0, (int64_t)(intptr_t)sim.camera, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
    CHECK(api.vantorCreate(sim.sys, 0, (int64_t)(intptr_t)sim.camera, CONTROLLER_MODE_MODAL, 0, -1, -1, NULL) == 1);

    /* A modal run's handle names no live controller afterwards: deleting it
     * neither touches freed memory nor removes anything else. */
    int64_t kept = 0, ran = 0;
    CHECK(api.vantorCreateV3(sim.sys, 0, NULL, 0, 2, 0, &kept) == 0);
    CHECK(api.vantorCreateV3(sim.sys, 0, records, 1, CONTROLLER_MODE_MODAL, 0, &ran) == 1);
    CHECK(ran != 0 && ran != kept);
    api.destroy(ran, 0);
    CHECK(!modal_run_made_application()); /* `kept` still keeps it */
    api.destroy(kept, 0);
    CHECK(no_controller_left());
}

static void modeless_and_windowless(void) {
    ControllerDeviceDesc records[2] = {full_record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       full_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.sys)};
    int64_t modeless = 0, windowless = 0, closed = 0;
    forget_application();
    const int64_t window = api.vantorCreateV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODELESS, 0, &modeless);
    CHECK(window != 0);
    CHECK(modeless != 0 && modeless != window);
    CHECK(application_made());
    CHECK(records[0].NodeMap == sim.camera && records[1].NodeMap != NULL);

    /* Mode 2: no window, result 0, but a controller that lives on. */
    forget_application();
    CHECK(api.createV3(sim.sys, 0, records, 1, 2, 0, &windowless) == 0);
    CHECK(windowless != 0 && windowless != modeless);
    CHECK(!application_made());
    CHECK(api.createV3(sim.sys, 0, NULL, 0, 77, 0, &closed) == 0);
    CHECK(!modal_run_made_application());
    CHECK(!modal_run_made_application());

    /* By window handle (removed directly), by controller handle alone (the
     * close path), and through the other two names of the delete entry. */
    api.destroy(modeless, (ControllerWindowHandle)window);
    api.destroyV2(windowless, 0);
    CHECK(!modal_run_made_application()); /* one is left */
    api.destroyV3(closed, 0);
    /* Deleting leaves the application object; the next run that ends with
     * an empty table takes it. */
    CHECK(!modal_run_made_application());
    CHECK(modal_run_made_application());

    /* A user-closed modeless window stays until the host deletes it. */
    int64_t again = 0;
    const int64_t second = api.createV3(sim.sys, 1, records, 2, CONTROLLER_MODE_MODELESS, 0, &again);
    CHECK(second != 0);
    CHECK(!no_controller_left());
    api.destroy(again, 0);
    CHECK(no_controller_left());
}

static void v2_application_and_short_records(void) {
    /* Three short records and a guard after them that must stay as it is. */
    ControllerDeviceDescV2 records[4] = {short_record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                         short_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.seq),
                                         short_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.sys),
                                         short_record(9, 1234)};
    records[1].Label1 = "Sequence";
    records[3].NodeMap = &records;
    const ControllerDeviceDescV2 guard = records[3];
    int64_t handle = 0;
    forget_application();
    const int64_t window = api.vantorCreateV2(sim.sys, 0, records, 3, CONTROLLER_MODE_MODELESS, 0, &handle);
    CHECK(window != 0 && handle != 0);
    CHECK(application_made());
    CHECK(records[0].NodeMap == sim.camera);
    CHECK(records[1].NodeMap != NULL && records[2].NodeMap != NULL && records[1].NodeMap != records[2].NodeMap);
    CHECK(strcmp(records[1].Label1, "Sequence") == 0);
    CHECK(memcmp(&records[3], &guard, sizeof guard) == 0);

    /* The V2 call destroyed the application object it made although its
     * window is open: deleting now does nothing at all... */
    api.destroy(handle, (ControllerWindowHandle)window);
    /* ...the next call makes a new one, and the controller is still there. */
    CHECK(modal_run_made_application());
    CHECK(!modal_run_made_application());
    api.destroy(handle, 0);
    CHECK(no_controller_left());

    /* An application object V2 did not make stays. */
    int64_t first = 0, second = 0;
    CHECK(api.createV3(sim.sys, 0, NULL, 0, 2, 0, &first) == 0);
    CHECK(api.createV2(sim.sys, 0, records, 1, 2, 0, &second) == 0);
    api.destroy(first, 0);
    CHECK(!modal_run_made_application());
    api.destroy(second, 0);
    CHECK(no_controller_left());

    /* A V2 modal run. */
    records[0].NodeMap = NULL;
    CHECK(api.createV2(sim.sys, 0, records, 1, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
    CHECK(records[0].NodeMap == sim.camera);
}

static void deletion_edges(void) {
    int local = 0;
    /* No application object yet. */
    api.destroy(0, 0);
    api.destroy(12345, 0);
    api.destroy((int64_t)(intptr_t)&local, 42);

    int64_t handle = 0;
    forget_application();
    CHECK(api.createV3(sim.sys, 0, NULL, 0, 2, 0, &handle) == 0);
    CHECK(application_made());
    api.destroy(0, 0);
    api.destroy((int64_t)(intptr_t)&local, 0);
    api.destroy(handle + 8, 0);
    CHECK(!modal_run_made_application()); /* the controller is still there */
    api.destroy(handle, 0);
    api.destroy(handle, 0); /* a second time: unknown by now */
    CHECK(no_controller_left());
    /* Once more without an application object. */
    api.destroy(handle, 0);
}

static void bad_input(void) {
    int64_t handle = 0;
    ControllerDeviceDesc records[3] = {full_record(99, sim.dig), full_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.sys),
                                       full_record(CONTROLLER_DESC_HOST_NODE_MAP, 0)};
    records[1].DeviceLoad = "/nonexistent/";
    CHECK(api.createV3(sim.sys, 0, records, 3, 2, 0, &handle) == 0);
    CHECK(records[0].NodeMap == NULL && records[1].NodeMap == NULL);
    api.destroy(handle, 0);
    /* No records, or a negative count. */
    CHECK(api.createV3(sim.sys, 0, NULL, 5, 2, 0, &handle) == 0);
    api.destroy(handle, 0);
    CHECK(api.createV3(sim.sys, 0, records, -4, 2, 0, &handle) == 0);
    api.destroy(handle, 0);
    handle = 0;
    /* A parent handle that is no window of this process. */
    const int64_t window = api.createV3(sim.sys, 0, NULL, 0, CONTROLLER_MODE_MODELESS, 0xdeadbeef, &handle);
    CHECK(window != 0);
    api.destroy(handle, 0xdeadbeef);
    CHECK(no_controller_left());
}

/* The sanitizer's count of heap bytes in use, when it is there. */
size_t __sanitizer_get_current_allocated_bytes(void) __attribute__((weak));

static long heap_kib(void) {
    if (__sanitizer_get_current_allocated_bytes) return (long)(__sanitizer_get_current_allocated_bytes() / 1024);
    struct mallinfo2 info = mallinfo2();
    return (long)(info.uordblks / 1024);
}

static long resident_kib(void) {
    long pages = 0, resident = 0;
    FILE* statm = fopen("/proc/self/statm", "r");
    if (!statm) return -1;
    if (fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = -1;
    fclose(statm);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

static void create_delete_loop(int rounds) {
    ControllerDeviceDesc records[2] = {full_record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       full_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.seq)};
    for (int i = 0; i < rounds; ++i) {
        int64_t handle = 0;
        records[1].NodeMap = NULL;
        CHECK(api.vantorCreateV3(sim.sys, i, records, 2, 2, 0, &handle) == 0);
        CHECK(records[1].NodeMap != NULL);
        api.destroy(handle, 0);
    }
}

/* Windows as a user has them: a modeless one and a modal one per round,
 * each with a find and a download through the file access dialog. */
static void window_runs(int rounds) {
    ControllerDeviceDesc records[2] = {full_record(CONTROLLER_DESC_LIBRARY_NODE_MAP, sim.dig),
                                       full_record(CONTROLLER_DESC_LOAD_NODE_MAP, sim.dig)};
    char path[256];
    snprintf(path, sizeof path, "%s/download.bin", root);
    for (int i = 0; i < rounds; ++i) {
        int64_t handle = 0;
        const int64_t window =
            api.vantorCreateV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODELESS, 0, &handle);
        CHECK(window != 0);
        CHECK(driver.window(window, path) == 1);
        api.destroy(handle, (ControllerWindowHandle)window);
        int driven = 0;
        CHECK(driver.nextModal(path, &driven) == 1);
        CHECK(api.vantorCreateV3(sim.sys, 0, records, 2, CONTROLLER_MODE_MODAL, 0, NULL) == 1);
        CHECK(driven == 1);
    }
}

static void no_growth(void) {
    /* An application object that outlives the loops, then a warm-up. */
    int64_t anchor = 0;
    api.createV3(sim.sys, 0, NULL, 0, 2, 0, &anchor);
    create_delete_loop(50);
    const long heapBefore = heap_kib(), residentBefore = resident_kib();
    create_delete_loop(1000);
    const long heapAfter = heap_kib(), residentAfter = resident_kib();
    printf("1000 controllers: heap in use %ld KiB before, %ld KiB after; resident %ld KiB before, %ld KiB after\n",
           heapBefore, heapAfter, residentBefore, residentAfter);
    /* Nothing of a deleted controller stays on the heap. The resident size
     * may move a little with the allocator's free lists; under the sanitizer
     * it also holds the quarantine of freed blocks, unless that is off. */
    CHECK(heapAfter - heapBefore < 64);
    const char* asan = getenv("ASAN_OPTIONS");
    if (!__sanitizer_get_current_allocated_bytes || (asan && strstr(asan, "quarantine_size_mb=0")))
        CHECK(residentBefore > 0 && residentAfter - residentBefore < 16 * 1024);

    /* The driver closes the modal windows itself. Qt fills its caches
     * (fonts, styles, the file dialog's) in the first rounds. */
    setenv("QUILLON_AUTOCLOSE_MS", "0", 1);
    window_runs(2);
    driver.dropQtCaches();
    const long windowsBefore = heap_kib();
    window_runs(10);
    driver.dropQtCaches();
    const long windowsAfter = heap_kib();
    printf("10 window rounds: heap in use %ld KiB before, %ld KiB after\n", windowsBefore,
           windowsAfter);
    CHECK(windowsAfter - windowsBefore < 48);
    setenv("QUILLON_AUTOCLOSE_MS", "50", 1);
    api.destroy(anchor, 0);
}

/* ------------------------------------------------------------------ main */

static void* symbol(void* library, const char* name) {
    void* address = dlsym(library, name);
    if (!address) {
        fprintf(stderr, "libquillon.so lacks %s\n", name);
        exit(1);
    }
    return address;
}

static void prepare_environment(void) {
    /* A GenICam installation and repository of our own, so that each new
     * application object's set-up completes; settings in a home of our own;
     * windows off screen. */
    char path[256];
    if (!mkdtemp(root)) exit(1);
    snprintf(path, sizeof path, "%s/genicam", root);
    mkdir(path, 0700);
    setenv("QOR_GENICAM_PATH", path, 1);
    snprintf(path, sizeof path, "%s/genicam/v3_4", root);
    mkdir(path, 0700);
    snprintf(path, sizeof path, "%s/repository", root);
    mkdir(path, 0700);
    setenv("QOR_XML_REPOSITORY", path, 1);
    snprintf(path, sizeof path, "%s/config", root);
    setenv("XDG_CONFIG_HOME", path, 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QUILLON_AUTOCLOSE_MS", "50", 1);
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
    prepare_environment();
    void* library = dlopen(QUILLON_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    void* driverLibrary = dlopen(QUILLON_WINDOW_DRIVER, RTLD_NOW | RTLD_LOCAL);
    if (!driverLibrary) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    *(void**)&driver.window = dlsym(driverLibrary, "quillon_drive_window");
    *(void**)&driver.nextModal = dlsym(driverLibrary, "quillon_drive_next_modal");
    *(void**)&driver.dropQtCaches = dlsym(driverLibrary, "quillon_drop_qt_caches");
    void* createV2 = symbol(library, "CreateGenicamControllerV2");
    void* vantorCreateV2 = symbol(library, "VantorCreateGenicamControllerV2");
    void* createV3 = symbol(library, "CreateGenicamControllerV3");
    void* vantorCreateV3 = symbol(library, "VantorCreateGenicamControllerV3");
    void* destroy = symbol(library, "DeleteGenicamController");
    void* destroyV2 = symbol(library, "DeleteGenicamControllerV2");
    void* destroyV3 = symbol(library, "DeleteGenicamControllerV3");
    /* One body under two names. */
    CHECK(createV2 == vantorCreateV2 && createV3 == vantorCreateV3);
    CHECK(destroy == destroyV2 && destroy == destroyV3);
    /* POSIX: dlsym's object pointer converts to the function pointer. */
    *(void**)&api.create = symbol(library, "CreateGenicamController");
    *(void**)&api.vantorCreate = symbol(library, "VantorCreateGenicamController");
    *(void**)&api.createV2 = createV2;
    *(void**)&api.vantorCreateV2 = vantorCreateV2;
    *(void**)&api.createV3 = createV3;
    *(void**)&api.vantorCreateV3 = vantorCreateV3;
    *(void**)&api.destroy = destroy;
    *(void**)&api.destroyV2 = destroyV2;
    *(void**)&api.destroyV3 = destroyV3;

    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QappAlloc(QOR_TEXT(""), &sim.app);
    QsysAlloc(sim.app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sim.sys);
    QdigAlloc(sim.sys, 0, QOR_TEXT(""), Q_DEFAULT, &sim.dig);
    QseqAlloc(sim.sys, 0, 1, Q_DEFAULT, &sim.seq);
    QOR_INT64 camera = 0;
    QdigInquire(sim.dig, Q_GC_NODE_MAP, &camera);
    sim.camera = (void*)(intptr_t)camera;
    if (!sim.dig || !sim.camera) {
        fprintf(stderr, "the simulated system could not be allocated\n");
        return 1;
    }

    int ran = 0;
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        if (argc > 1 && strcmp(argv[1], cases[i].name) != 0) continue;
        const int before = failures;
        cases[i].run();
        printf("%s: %s\n", cases[i].name, failures == before ? "passed" : "FAILED");
        ++ran;
    }

    QseqFree(sim.seq);
    QdigFree(sim.dig);
    QsysFree(sim.sys);
    QappFree(sim.app);
    if (ran == 0) {
        fprintf(stderr, "no case named %s\n", argv[1]);
        return 1;
    }
    return failures ? 1 : 0;
}
