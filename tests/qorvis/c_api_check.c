/* Compiled as C11: qorvis.h must stay a valid C header, and its functions
 * callable from C. c_api_test.cpp runs qorvis_c_api_check(). */
#include <string.h>

#include "qorvis.h"

static QOR_INT countCalls(void* data) {
    ++*(int*)data;
    return 0;
}

/* Returns 0 when every step behaved, else the number of the failing step. */
int qorvis_c_api_check(void);

int qorvis_c_api_check(void) {
    QOR_ID app = Q_NULL, sys = Q_NULL, dig = Q_NULL, thread = Q_NULL;
    QOR_INT64 value = 0, print = 0;
    QOR_TEXT_CHAR vendor[64];
    QOR_TEXT_CHAR function[256];
    int calls = 0;
    int failed = 0;

    if (QappAlloc(QOR_TEXT("C"), &app) == Q_NULL) return 1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    if (QsysAlloc(app, Q_SYSTEM_SIMULATED, Q_DEFAULT, Q_DEFAULT, &sys) == Q_NULL) failed = 2;
    if (!failed && QdigAlloc(sys, Q_DEFAULT, QOR_TEXT(""), Q_DEFAULT, &dig) == Q_NULL) failed = 3;
    if (!failed) {
        QobjInquire(dig, Q_OBJECT_TYPE, &value);
        if (value != Q_DIGITIZER_OBJECT) failed = 4;
    }
    if (!failed) {
        QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 1234.0);
        if (QdigInquire(dig, Q_DIG_GRAB_TIMEOUT, &value) != 1234 || value != 1234) failed = 5;
    }
    if (!failed) {
        QdigInquireFeature(dig, Q_FEATURE_VALUE, QOR_TEXT("DeviceVendorName"), Q_TYPE_STRING, vendor);
        if (strcmp(vendor, "Torvex") != 0) failed = 6;
    }
    if (!failed) {
        QdigControl(dig, 987654, 0);
        QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_FCT + Q_TEXT, function);
        if (QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, Q_NULL) != Q_ERR_INVALID_CONTROL_TYPE ||
            strcmp(function, "QdigControl") != 0)
            failed = 7;
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    }
    if (!failed) {
        QthrAlloc(sys, countCalls, &calls, &thread);
        QthrWait(thread, Q_THREAD_WAIT_END);
        QthrFree(thread);
        if (calls != 1) failed = 8;
    }
    QdigFree(dig);
    QsysFree(sys);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, print);
    QappFree(app);
    if (!failed && QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, Q_NULL) != 0) failed = 9;
    return failed;
}
