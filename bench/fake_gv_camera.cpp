// Aravis's fake GigE Vision camera on 127.0.0.1 until killed: the camera the
// whole-process comparison (camera_process_bench.sh) talks to. Run it only
// inside a private network namespace.
#include <arv.h>
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
    ArvGvFakeCamera* camera =
        arv_gv_fake_camera_new_full("127.0.0.1", "GV01", argc > 1 ? argv[1] : nullptr);
    if (!camera || !arv_gv_fake_camera_is_running(camera)) {
        std::fputs("fake_gv_camera: the camera could not start on 127.0.0.1\n", stderr);
        return 1;
    }
    std::puts("fake_gv_camera: serving on 127.0.0.1");
    std::fflush(stdout);
    pause();
    return 0;
}
