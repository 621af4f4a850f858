/* Compiled as C11: qorvis.h must stay a valid C header, and its functions
 * callable from C. api_test.cpp runs qorvis_c_api_check(). */
#include <string.h>

#include "qorvis.h"

/* 0 when every step behaved. */
int qorvis_c_api_check(void);

int qorvis_c_api_check(void) {
    QOR_ID app = Q_NULL, sys = Q_NULL, dig = Q_NULL;
    QOR_INT64 value = 0;
    QOR_TEXT_CHAR vendor[64] = "", function[256] = "";
    int ok = 1;

    QappAlloc(QOR_TEXT("C"), &app);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QsysAlloc(app, Q_SYSTEM_SIMULATED, Q_DEFAULT, Q_DEFAULT, &sys);
    QdigAlloc(sys, Q_DEFAULT, QOR_TEXT(""), Q_DEFAULT, &dig);
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 1234.0);
    ok &= QdigInquire(dig, Q_DIG_GRAB_TIMEOUT, &value) == 1234 && value == 1234;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, QOR_TEXT("DeviceVendorName"), Q_TYPE_STRING, vendor);
    ok &= strcmp(vendor, "Torvex") == 0;
    QdigControl(dig, 987654, 0);
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_FCT + Q_TEXT, function);
    ok &= QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, Q_NULL) == Q_ERR_INVALID_CONTROL_TYPE &&
          strcmp(function, "QdigControl") == 0;
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    QsysFree(sys);
    QappFree(app);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    return ok && QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, Q_NULL) == 0 ? 0 : 1;
}
