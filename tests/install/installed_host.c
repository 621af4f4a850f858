/* A C host built against the installed pkg-config files: it links the
 * browser library and the imaging library, asks for a windowless controller
 * over the simulated digitizer (kind 0: the camera's node map; kind 1: the
 * digitizer's description from the installed folder) and prints which
 * records received a node map. */
#include <stdio.h>

#include "qorvis.h"
#include "quillon.h"

int main(void) {
    QOR_ID app = 0, sys = 0, dig = 0;
    QappAlloc(QOR_TEXT(""), &app);
    QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
    QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);

    ControllerDeviceDesc records[2] = {{0}};
    records[0].DescKind = CONTROLLER_DESC_LIBRARY_NODE_MAP;
    records[0].Object = dig;
    records[0].Label1 = "Camera";
    records[0].Version = 3;
    records[1].DescKind = CONTROLLER_DESC_LOAD_NODE_MAP;
    records[1].Object = dig;
    records[1].DeviceLoad = QUILLON_DESCRIPTION_DIR;
    records[1].Label1 = "Digitizer";
    records[1].Version = 3;
    int64_t controller = 0;
    VantorCreateGenicamControllerV3(sys, 0, records, 2, 2 /* no window */, 0, &controller);
    printf("camera %s, digitizer %s\n", records[0].NodeMap ? "shown" : "missing",
           records[1].NodeMap ? "shown" : "missing");
    DeleteGenicamController(controller, 0);

    QdigFree(dig);
    QsysFree(sys);
    QappFree(app);
    return records[0].NodeMap && records[1].NodeMap ? 0 : 1;
}
