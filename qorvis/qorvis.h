/* Qorvis: the imaging library's device-access API, as the browser and the
 * code it generates use it. Usable from C and C++.
 *
 * Objects are identified by QOR_ID values. Every object family has an
 * inquire and a control operation taking a 64-bit type number; the library
 * keeps a table of control types per object kind whose values persist.
 * Failures never return error codes: they set the library's pending error
 * (function name, error code, sub-messages), print it when error printing is
 * on, and leave the output untouched. */
#ifndef QORVIS_H
#define QORVIS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- basic types */
typedef int64_t QOR_ID;
typedef int64_t QOR_INT;
typedef int64_t QOR_INT64;
typedef int32_t QOR_INT32;
typedef double QOR_DOUBLE;
typedef int64_t QOR_BOOL;
typedef uint8_t QOR_UINT8;
typedef char QOR_TEXT_CHAR;
typedef QOR_TEXT_CHAR* QOR_TEXT_PTR;
typedef const QOR_TEXT_CHAR* QOR_CONST_TEXT_PTR;
#define QOR_TEXT(quoted) quoted

#define Q_NULL 0
#define Q_TRUE 1
#define Q_FALSE 0
/* The default marker: "use the default" in controls, "no answer" in inquires. */
#define Q_DEFAULT 0x10000000
#define Q_DEFAULT_APPLICATION ((QOR_ID)0)

/* Strings travel through the double-valued control operations as their
 * pointer's bits. */
QOR_DOUBLE Q_PTR_TO_DOUBLE(const void* pointer);

/* ---- inquire types of every object (QobjInquire) */
#define Q_OBJECT_TYPE 29             /* the object's kind, one of Q_*_OBJECT */
#define Q_OBJECT_GENERIC 136         /* a further identifier of the object */
#define Q_OWNER_SYSTEM 1101          /* the system that owns the object */
#define Q_SYSTEM_OBJECT 0x800000
#define Q_DIGITIZER_OBJECT 0x100000
#define Q_SEQUENCE_OBJECT 0x40000000000LL
#define Q_APPLICATION_OBJECT 0x1
#define Q_THREAD_OBJECT 0x2

/* ---- system inquire types */
#define Q_SYSTEM_TYPE 2000           /* the board family's type number */
#define Q_SYSTEM_SUBTYPE 2014        /* tells apart two boards of one type number */
#define Q_SYSTEM_ERROR_CLEAR 2099    /* control: clears the object's own error state */

#define Q_SYSTEM_TYPE_SIMULATED 1000 /* Q_SYSTEM_TYPE of the simulated board */
#define Q_SYSTEM_TYPE_CAMERAS 1001   /* Q_SYSTEM_TYPE of the camera system */
/* The simulated board's system settings (see docs/qorvis.md for ranges). */
#define Q_SYS_SYSTEM_NUMBER 1049     /* read-only */
#define Q_SYS_DIGITIZER_COUNT 1102   /* read-only: digitizers allocated on the system */
#define Q_SYS_DIGITIZER_PORTS 1103   /* read-only: device numbers the board offers */
#define Q_SYS_SEQUENCE_COUNT 1104    /* read-only */
#define Q_SYS_INTERRUPT_TIMEOUT 3101 /* ms */
#define Q_SYS_TEMPERATURE 3110       /* read-only, 0.1 degree Celsius */
#define Q_SYS_TEMPERATURE_LIMIT 3111 /* 0.1 degree Celsius */
#define Q_SYS_TIMESTAMP_RESET 3120   /* control 1: restarts Q_SYS_TIMESTAMP */
#define Q_SYS_UPTIME 5136            /* read-only, ms, 64-bit */
#define Q_SYS_HOST_BUFFER_QUOTA 6647 /* bytes, 64-bit */
#define Q_SYS_WATCHDOG_TIMEOUT 6701  /* ms; Q_DEFAULT: no watchdog */
#define Q_SYS_FAN_SPEED 6702         /* percent; Q_DEFAULT: regulated by temperature */
#define Q_SYS_MEMORY_SIZE 7301       /* read-only, bytes, 64-bit */
#define Q_SYS_MEMORY_FREE 7302       /* read-only, bytes, 64-bit */
#define Q_SYS_BOARD_NAME 7701        /* string, read-only */
#define Q_SYS_SERIAL_NUMBER 7702     /* string, read-only */
#define Q_SYS_FIRMWARE_VERSION 7703  /* string, read-only */
#define Q_SYS_USER_LABEL 7704        /* string */
#define Q_SYS_DRIVER_VERSION 10320   /* string, read-only */
#define Q_SYS_TIMESTAMP 133100       /* read-only, ns, 64-bit */

/* The camera system's settings (see docs/qorvis.md). Its camera list is what
 * the last discovery found: discovery runs when Q_SYS_CAMERA_DISCOVERY is set
 * to 1, and when QdigAlloc needs the list. */
#define Q_SYS_CAMERA_COUNT 3200      /* read-only: cameras the last discovery found */
#define Q_SYS_CAMERA_SELECTOR 3201   /* which camera Q_SYS_CAMERA_ID ... describe, 0 to count - 1 */
#define Q_SYS_CAMERA_DISCOVERY 3202  /* control 1: runs discovery (about a second); reads 0 */
#define Q_SYS_CAMERA_ID 7710         /* string, read-only: the selected camera's identifier */
#define Q_SYS_CAMERA_VENDOR 7711     /* string, read-only */
#define Q_SYS_CAMERA_MODEL 7712      /* string, read-only */
#define Q_SYS_CAMERA_SERIAL_NUMBER 7713 /* string, read-only */
#define Q_SYS_CAMERA_PROTOCOL 7714   /* string, read-only: "GigEVision" or "USB3Vision" */
#define Q_SYS_CAMERA_ADDRESS 7715    /* string, read-only: IP address, or the USB bus address */
#define Q_SYS_CAMERA_PHYSICAL_ADDRESS 7716 /* string, read-only: MAC address, or the USB GUID */

/* ---- digitizer inquire types */
#define Q_GC_NODE_MAP 6906           /* the camera's GenApi INodeMap pointer */
#define Q_GC_COMMAND_COMPLETION 4813 /* Q_GC_COMMAND_ASYNCHRONOUS when commands complete later */
#define Q_GC_COMMAND_ASYNCHRONOUS 0x20000
#define Q_GC_POLLING 2097            /* control/inquire: feature polling enabled (Q_TRUE/Q_FALSE) */
/* The simulated board's digitizer settings (see docs/qorvis.md for ranges). */
#define Q_DIG_DEVICE_NUMBER 1049     /* read-only */
#define Q_DIG_SIZE_X 1102            /* read-only: the camera's Width */
#define Q_DIG_SIZE_Y 1103            /* read-only: the camera's Height */
#define Q_DIG_SIZE_BIT 1104          /* read-only: bits per pixel in memory */
#define Q_DIG_SIZE_BAND 1105         /* read-only */
#define Q_DIG_GRAB_MODE 3000         /* Q_GRAB_SYNCHRONOUS ... */
#define Q_GRAB_SYNCHRONOUS 1
#define Q_GRAB_ASYNCHRONOUS 2
#define Q_GRAB_ASYNCHRONOUS_QUEUED 3
#define Q_DIG_GRAB_TIMEOUT 3001      /* ms */
#define Q_DIG_CHANNEL 3002           /* 0 to 3 */
#define Q_DIG_GRAB_SCALE 3003        /* 1, 2 or 4 */
#define Q_DIG_BAYER_CONVERSION 3004  /* Q_TRUE/Q_FALSE */
#define Q_DIG_CHANNEL_COUNT 3005     /* read-only */
#define Q_DIG_CAMERA_PRESENT 5328    /* read-only */
#define Q_DIG_FRAME_COUNTER 6001     /* read-only, 64-bit: frames delivered while the camera acquired */
#define Q_DIG_USER_DATA 6650         /* 64-bit, free for the application */
#define Q_DIG_TRIGGER_ACTIVATION 6701 /* Q_DEFAULT, 1 rising, 2 falling, 3 any edge */
#define Q_DIG_TIMER_DELAY 6702       /* ns; Q_DEFAULT: none */
#define Q_DIG_EXPOSURE_OVERRIDE 6710 /* us; Q_DEFAULT: the camera's own exposure */
#define Q_DIG_LAST_GRAB_STATUS 6712  /* read-only; Q_DEFAULT: no grab has ended */
#define Q_DIG_USER_LABEL 7701        /* string */
#define Q_DIG_CAMERA_VENDOR 7710     /* string, read-only */
#define Q_DIG_CAMERA_MODEL 7711      /* string, read-only */
#define Q_DIG_CAMERA_SERIAL_NUMBER 7712 /* string, read-only */
#define Q_DIG_FORMAT 7720            /* string, read-only: QdigAlloc's format */
#define Q_DIG_MAXIMUM_BANDWIDTH 240000 /* bytes/s, 64-bit */
#define Q_DIG_GRAB_BUFFER_SIZE 0x400000 /* read-only, bytes, 64-bit */

/* The camera system's digitizer settings (see docs/qorvis.md). */
#define Q_DIG_DESCRIPTION_SIZE 3010  /* read-only: bytes of the description the camera served */
#define Q_DIG_DESCRIPTION_ZIPPED 3011 /* read-only: Q_TRUE when it was served zipped */
#define Q_DIG_CAMERA_READS 6002      /* read-only, 64-bit: register reads sent to the camera */
#define Q_DIG_CAMERA_WRITES 6003     /* read-only, 64-bit: register writes sent to the camera */
#define Q_DIG_CAMERA_ID 7713         /* string, read-only: the discovery identifier, or the name it was opened by */
#define Q_DIG_CAMERA_PROTOCOL 7714   /* string, read-only */
#define Q_DIG_CAMERA_ADDRESS 7715    /* string, read-only */
#define Q_DIG_CAMERA_USER_NAME 7716  /* string, read-only: the name the user gave the camera */
#define Q_DIG_CAMERA_PHYSICAL_ADDRESS 7717 /* string, read-only: MAC address, or the USB GUID */
#define Q_DIG_DESCRIPTION_URL 7721   /* string, read-only: where the camera keeps its description */
#define Q_DIG_CAMERA_STATE 7722      /* string, read-only: "Answering", or why the camera is lost */

/* ---- sequence inquire types */
#define Q_SEQUENCE_FORMAT 1540       /* bit Q_SEQUENCE_BOARD_SPECIFIC: the description names the board */
#define Q_SEQUENCE_BOARD_SPECIFIC 0x200
/* The simulated board's sequence settings (see docs/qorvis.md for ranges). */
#define Q_SEQ_FRAME_COUNT 3000       /* read-only */
#define Q_SEQ_FRAME_COUNT_LIMIT 3001 /* 0: no limit */
#define Q_SEQ_BUFFER_COUNT 3002
#define Q_SEQ_SIZE_X 3003
#define Q_SEQ_SIZE_Y 3004
#define Q_SEQ_PIXEL_DEPTH 3005       /* 8 or 16 */
#define Q_SEQ_COMPRESSION 3006       /* 0 none, 1 lossless, 2 lossy */
#define Q_SEQ_STATE 3007             /* read-only: 0 idle */
#define Q_SEQ_BOARD_BUFFERING 3100   /* Q_TRUE/Q_FALSE */
#define Q_SEQ_DMA_CHANNEL 3101
#define Q_SEQ_MAXIMUM_FILE_SIZE 3712 /* bytes, 64-bit */
#define Q_SEQ_FILE_NAME 3904         /* string */
#define Q_SEQ_BYTES_WRITTEN 6607     /* read-only, 64-bit */
#define Q_SEQ_FRAME_RATE 6701        /* frames/s; Q_DEFAULT: the source's rate */
#define Q_SEQ_COMPRESSION_QUALITY 6702 /* 1 to 100; Q_DEFAULT: the codec's */

/* ---- string types: add Q_STRING_SIZE to a string type to inquire its size
 * (in characters, terminator included; 0 for an empty string, whose text
 * inquire still writes the terminator) */
#define Q_STRING_SIZE 0x1000000000000LL

/* ---- application error state (QappInquire / QappControl on Q_DEFAULT_APPLICATION) */
#define Q_ERROR_PRINT 15000          /* Q_PRINT_ENABLE or Q_PRINT_DISABLE */
#define Q_PRINT_ENABLE 1
#define Q_PRINT_DISABLE 0
#define Q_ERROR_EXCEPTION 15001      /* the error-exception setting; -9999 records only */
#define Q_ERROR_MODE 15044           /* < 1: errors are per application; >= 1: per thread */
#define Q_ERROR_RESET 15002          /* control: clears the pending error */
#define Q_APP_VERSION 15100          /* read-only: major * 100 + minor */
#define Q_APP_VERSION_TEXT 15101     /* string, read-only */
#define Q_APP_INIT_FLAGS 15102       /* string, read-only: QappAlloc's initFlags */
#define Q_APP_SYSTEM_COUNT 15110     /* read-only */
#define Q_APP_THREAD_COUNT 15111     /* read-only */
#define Q_APP_OBJECT_COUNT 15112     /* read-only: every allocated object */
#define Q_APP_PROCESSING_THREADS 15120 /* 0: one per core */
#define Q_APP_TIMESTAMP 15130        /* read-only, ns since the library was loaded */
/* QappGetError codes */
#define Q_CURRENT 2                  /* the pending error code (0: none) */
#define Q_GLOBAL 0xe0000             /* the same, for the thread-wide error mode */
#define Q_CURRENT_FCT 0x30000        /* + text: the failing function's name */
#define Q_CURRENT_SUB_NB 0x40000     /* number of sub-messages */
#define Q_CURRENT_SUB_1 0x50000      /* + text: sub-message 1 (2, 3: +1, +2) */
#define Q_TEXT 0x1000000             /* add to a code to receive text */
#define Q_CURRENT_SUB_2 0x50001
#define Q_CURRENT_SUB_3 0x50002
/* Error codes (QappGetError with Q_CURRENT): what kind of failure is pending. */
#define Q_ERR_INVALID_IDENTIFIER 1   /* no object of the expected kind has that identifier */
#define Q_ERR_INVALID_CONTROL_TYPE 2 /* the object kind has no such control or inquire type */
#define Q_ERR_READ_ONLY 3            /* the type can only be inquired */
#define Q_ERR_WRITE_ONLY 4           /* the type can only be controlled */
#define Q_ERR_OUT_OF_RANGE 5         /* the value is outside the type's range or allowed set */
#define Q_ERR_INVALID_PARAMETER 6    /* a null pointer, an unknown descriptor, flag or data type */
#define Q_ERR_ALLOCATION 7           /* an object could not be made */
#define Q_ERR_FEATURE 8              /* a GenICam feature access failed */
#define Q_ERR_THREAD 9               /* a thread could not be started or waited for */
#define Q_ERR_CAMERA 10              /* a camera refused an access or stopped answering */

/* ---- feature access (Q*InquireFeature / Q*ControlFeature) */
#define Q_FEATURE_VALUE 0x1
#define Q_FEATURE_EXECUTE 0x2
#define Q_FEATURE_SIZE 0x3           /* a register feature's length in bytes */
#define Q_TYPE_INT64 0x100
#define Q_TYPE_DOUBLE 0x200
#define Q_TYPE_BOOLEAN 0x300
#define Q_TYPE_STRING 0x400
#define Q_TYPE_QOR_INT 0x500
#define Q_TYPE_UINT8 0x600

/* ---- threads and time */
typedef QOR_INT (*QOR_THREAD_FUNCTION)(void* userData);
#define Q_THREAD_WAIT_END 1

/* ---- the library's objects */
QOR_ID QappAlloc(QOR_CONST_TEXT_PTR initFlags, QOR_ID* appId);
void QappFree(QOR_ID appId);
QOR_INT QappInquire(QOR_ID appId, QOR_INT64 inquireType, void* userVarPtr);
void QappControl(QOR_ID appId, QOR_INT64 controlType, QOR_INT64 value);
/* The pending error: with Q_CURRENT/Q_GLOBAL returns its code (0: none);
 * with Q_CURRENT_FCT + Q_TEXT or Q_CURRENT_SUB_n + Q_TEXT fills text (at most
 * 256 characters with terminator) and returns its length. */
QOR_INT QappGetError(QOR_ID appId, QOR_INT64 errorType, void* userVarPtr);
/* Error contexts: a saved context holds the pending error and the error
 * settings; restoring puts them back exactly. */
QOR_ID QappErrorContextSave(void);
void QappErrorContextRestore(QOR_ID context);

/* systemDescriptor: "Q_SYSTEM_SIMULATED" (the default), or "Q_SYSTEM_CAMERAS":
 * the GigE Vision and USB3 Vision cameras of the machine, whose digitizers
 * each open one camera (QdigAlloc: device number N is the Nth camera in
 * discovery order; a format names one camera by its identifier, serial
 * number, user name, IP address or MAC address). */
#define Q_SYSTEM_SIMULATED QOR_TEXT("Q_SYSTEM_SIMULATED")
#define Q_SYSTEM_CAMERAS QOR_TEXT("Q_SYSTEM_CAMERAS")
QOR_ID QsysAlloc(QOR_ID appId, QOR_CONST_TEXT_PTR systemDescriptor, QOR_INT systemNum, QOR_INT64 initFlag,
                 QOR_ID* sysId);
void QsysFree(QOR_ID sysId);
QOR_INT QsysInquire(QOR_ID sysId, QOR_INT64 inquireType, void* userVarPtr);
void QsysControl(QOR_ID sysId, QOR_INT64 controlType, QOR_DOUBLE value);
void QsysControlInt64(QOR_ID sysId, QOR_INT64 controlType, QOR_INT64 value);

QOR_ID QdigAlloc(QOR_ID sysId, QOR_INT devNum, QOR_CONST_TEXT_PTR format, QOR_INT64 initFlag, QOR_ID* digId);
void QdigFree(QOR_ID digId);
QOR_INT QdigInquire(QOR_ID digId, QOR_INT64 inquireType, void* userVarPtr);
void QdigControl(QOR_ID digId, QOR_INT64 controlType, QOR_DOUBLE value);
void QdigControlInt64(QOR_ID digId, QOR_INT64 controlType, QOR_INT64 value);

QOR_ID QseqAlloc(QOR_ID sysId, QOR_INT devNum, QOR_INT64 sequenceType, QOR_INT64 initFlag, QOR_ID* seqId);
void QseqFree(QOR_ID seqId);
QOR_INT QseqInquire(QOR_ID seqId, QOR_INT64 inquireType, void* userVarPtr);
void QseqControl(QOR_ID seqId, QOR_INT64 controlType, QOR_DOUBLE value);
void QseqControlInt64(QOR_ID seqId, QOR_INT64 controlType, QOR_INT64 value);

/* The digitizer's camera register space, as the camera's node map reads it:
 * length bytes at address, in the camera's own byte order. A camera that
 * refuses the access or does not answer sets the pending error (Q_ERR_CAMERA);
 * one that stopped answering fails every later access at once. */
void QdigReadCamera(QOR_ID digId, QOR_INT64 address, QOR_INT64 length, void* buffer);
void QdigWriteCamera(QOR_ID digId, QOR_INT64 address, QOR_INT64 length, const void* buffer);

/* Any object: Q_OBJECT_TYPE, Q_OBJECT_GENERIC, Q_OWNER_SYSTEM. */
QOR_INT QobjInquire(QOR_ID objectId, QOR_INT64 inquireType, void* userVarPtr);

/* ---- GenICam features of an object: a digitizer's camera, or the
 * object's own description */
void QdigControlFeature(QOR_ID digId, QOR_INT64 controlFlag, QOR_CONST_TEXT_PTR featureName, QOR_INT64 userVarType,
                        const void* userVarPtr);
void QdigInquireFeature(QOR_ID digId, QOR_INT64 inquireType, QOR_CONST_TEXT_PTR featureName, QOR_INT64 userVarType,
                        void* userVarPtr);
void QsysControlFeature(QOR_ID sysId, QOR_INT64 controlFlag, QOR_CONST_TEXT_PTR featureName, QOR_INT64 userVarType,
                        const void* userVarPtr);
void QsysInquireFeature(QOR_ID sysId, QOR_INT64 inquireType, QOR_CONST_TEXT_PTR featureName, QOR_INT64 userVarType,
                        void* userVarPtr);

/* ---- threads and time */
QOR_ID QthrAlloc(QOR_ID sysId, QOR_THREAD_FUNCTION function, void* userData, QOR_ID* threadId);
void QthrWait(QOR_ID threadId, QOR_INT64 waitType);
void QthrFree(QOR_ID threadId);
void QappSleep(QOR_DOUBLE seconds);

#ifdef __cplusplus
}
#endif

#endif
