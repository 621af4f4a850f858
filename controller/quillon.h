/* Quillon: the feature browser's entry points for host applications of the
 * imaging library. Usable from C and C++; libquillon.so exports exactly the
 * functions declared here.
 *
 * A host describes each device view by a ControllerDeviceDesc record and asks
 * for a controller: one browser window over all the records' node maps. The
 * window runs modally (the call returns when the user closes it) or modeless
 * (the host gets its window handle and ends it with DeleteGenicamController),
 * or no window is made at all.
 *
 * Node maps handed back in a record (offset 16) for kinds 0 and 1:
 * - kind 0: the imaging library's own node map of the object; it lives as
 *   long as the object does.
 * - kind 1: loaded by the controller, which owns it (with its port). It is
 *   valid until the controller is destroyed: for a modal run before the
 *   call returns, otherwise until DeleteGenicamController removes the
 *   controller. The host must not release it.
 * Node maps the host brings (kinds 2 and 3) stay the host's and must outlive
 * the controller.
 *
 * All entry points run on the host's GUI thread (the one that owns, or will
 * own, the process's QApplication). A modeless window is served by that
 * thread's Qt (or GLib) event loop. Failures inside the browser never reach
 * the host: a create call that fails returns 0. A call the library cannot
 * even begin (a V2 record count too large to allocate) ends the process. */
#ifndef QUILLON_H
#define QUILLON_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(QUILLON_BUILDING_LIBRARY)
#define QUILLON_EXPORT __attribute__((visibility("default")))
#else
#define QUILLON_EXPORT
#endif

/* Seen from C++ the entry points throw nothing: GenICam failures become a 0
 * result, and any other exception (a broken call) ends the process. */
#ifdef __cplusplus
#define QUILLON_NOTHROW noexcept
#else
#define QUILLON_NOTHROW
#endif

/* A window handle: QWidget::winId() of a window of this process, 0 for none. */
typedef uintptr_t ControllerWindowHandle;

/* How a record's node map is obtained (DescKind). */
#define CONTROLLER_DESC_LIBRARY_NODE_MAP 0 /* the imaging library's node map of Object (inquire 6906) */
#define CONTROLLER_DESC_LOAD_NODE_MAP 1    /* loaded from Object's description in the DeviceLoad folder */
#define CONTROLLER_DESC_HOST_NODE_MAP 2    /* the host's NodeMap, for the library object Object (may be 0) */
#define CONTROLLER_DESC_HOST_ONLY 3        /* the host's NodeMap, no library object */

/* Modes of the create calls. */
#define CONTROLLER_MODE_MODAL 0    /* runs the window to its end; returns 1 */
#define CONTROLLER_MODE_MODELESS 1 /* opens the window; returns its handle */
/* Any other mode makes no window; the call returns 0 and the controller lives
 * until DeleteGenicamController. */

/* The full descriptor record (96 bytes). */
typedef struct ControllerDeviceDesc {
    uint32_t DescKind;       /*  0: CONTROLLER_DESC_*; any other value skips the record */
    uint32_t Reserved;       /*  4: padding */
    int64_t Object;          /*  8: the imaging-library object (QOR_ID) */
    void* NodeMap;           /* 16: GenApi::INodeMap*; in for kinds 2 and 3, out for kinds 0 and 1 */
    const char* DeviceLoad;  /* 24: kind 1: folder of the description files, ending with '/' */
    const char* Label1;      /* 32: optional; the entry's caption in the tree */
    int64_t Value1;          /* 40: optional, used when non-zero */
    int64_t Value2;          /* 48: optional, used when non-zero */
    int64_t Version;         /* 56: 3; only record 0's is read: 4 or more marks every entry extended */
    const char* WindowTitle; /* 64: optional; the window's title (a later record's replaces it) */
    const char* Label2;      /* 72: optional */
    const char* Label3;      /* 80: optional */
    const char* Label4;      /* 88: optional */
} ControllerDeviceDesc;

/* The short record of the V2 and plain entries: the first 56 bytes. */
typedef struct ControllerDeviceDescV2 {
    uint32_t DescKind;
    uint32_t Reserved;
    int64_t Object;
    void* NodeMap;
    const char* DeviceLoad;
    const char* Label1;
    int64_t Value1;
    int64_t Value2;
} ControllerDeviceDescV2;

#ifdef __cplusplus
#define QUILLON_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
#define QUILLON_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

/* The records cross the boundary: every offset is part of the contract. */
QUILLON_STATIC_ASSERT(sizeof(void*) == 8, "the records are laid out for 64-bit pointers");
QUILLON_STATIC_ASSERT(sizeof(ControllerDeviceDesc) == 96, "full record size");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, DescKind) == 0, "DescKind");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Object) == 8, "Object");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, NodeMap) == 16, "NodeMap");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, DeviceLoad) == 24, "DeviceLoad");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Label1) == 32, "Label1");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Value1) == 40, "Value1");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Value2) == 48, "Value2");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Version) == 56, "Version");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, WindowTitle) == 64, "WindowTitle");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Label2) == 72, "Label2");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Label3) == 80, "Label3");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDesc, Label4) == 88, "Label4");
QUILLON_STATIC_ASSERT(sizeof(ControllerDeviceDescV2) == 56, "short record size");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, DescKind) == 0, "DescKind");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, Object) == 8, "Object");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, NodeMap) == 16, "NodeMap");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, DeviceLoad) == 24, "DeviceLoad");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, Label1) == 32, "Label1");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, Value1) == 40, "Value1");
QUILLON_STATIC_ASSERT(offsetof(ControllerDeviceDescV2, Value2) == 48, "Value2");

/* The create calls: system is the imaging library's system identifier; index
 * the device number the default title shows; handle, when not null, receives
 * the controller's handle before the window runs. Result: mode 0: 1 once the
 * window has ended; mode 1: the window handle (0 if it could not be made);
 * other modes: 0. 0 also when the controller could not be created. */

/* One view over a host node map (a kind-2 record without object). */
QUILLON_EXPORT int64_t CreateGenicamController(int64_t system, int32_t index, int64_t nodeMap, int32_t mode,
                                               ControllerWindowHandle parent, int64_t* handle) QUILLON_NOTHROW;
/* As above; reserved1 and reserved2 are ignored. */
QUILLON_EXPORT int64_t VantorCreateGenicamController(int64_t system, int32_t index, int64_t nodeMap, int32_t mode,
                                                     ControllerWindowHandle parent, int64_t reserved1,
                                                     int64_t reserved2, int64_t* handle) QUILLON_NOTHROW;

/* Short records: each is widened to a full one (version 3, no title, no
 * further labels) and its first 56 bytes are copied back afterwards. The
 * application object this call creates is destroyed again before it
 * returns, whatever the mode. */
QUILLON_EXPORT int64_t CreateGenicamControllerV2(int64_t system, int64_t index, ControllerDeviceDescV2* records,
                                                 int64_t count, int32_t mode, ControllerWindowHandle parent,
                                                 int64_t* handle) QUILLON_NOTHROW;
QUILLON_EXPORT int64_t VantorCreateGenicamControllerV2(int64_t system, int64_t index, ControllerDeviceDescV2* records,
                                                       int64_t count, int32_t mode, ControllerWindowHandle parent,
                                                       int64_t* handle) QUILLON_NOTHROW;

/* Full records, used in place. The application object goes when a call ends
 * with no controller left. */
QUILLON_EXPORT int64_t CreateGenicamControllerV3(int64_t system, int64_t index, ControllerDeviceDesc* records,
                                                 int64_t count, int32_t mode, ControllerWindowHandle parent,
                                                 int64_t* handle) QUILLON_NOTHROW;
QUILLON_EXPORT int64_t VantorCreateGenicamControllerV3(int64_t system, int64_t index, ControllerDeviceDesc* records,
                                                       int64_t count, int32_t mode, ControllerWindowHandle parent,
                                                       int64_t* handle) QUILLON_NOTHROW;

/* Ends a controller: its window is closed (or, when window is its handle and
 * the controller is not modal, removed without closing) and the controller
 * destroyed once nothing uses it. An unknown or zero handle, or a call while
 * no application object exists, does nothing. */
QUILLON_EXPORT void DeleteGenicamController(int64_t controller, ControllerWindowHandle window) QUILLON_NOTHROW;
QUILLON_EXPORT void DeleteGenicamControllerV2(int64_t controller, ControllerWindowHandle window) QUILLON_NOTHROW;
QUILLON_EXPORT void DeleteGenicamControllerV3(int64_t controller, ControllerWindowHandle window) QUILLON_NOTHROW;

#ifdef __cplusplus
}
#endif

#endif
