// The camera tests run in a private network namespace of their own (each
// test is a process of its own under ctest, so their cameras never meet).
#include <gtest/gtest.h>

#include <cstdlib>

#include "camera_support.h"

#ifdef QUILLON_HAVE_GUI
#include <QApplication>
#endif

int main(int argc, char** argv) {
    camera_test::EnterPrivateNetwork(argv);
    ::testing::InitGoogleTest(&argc, argv);
#ifdef QUILLON_HAVE_GUI
    if (!GTEST_FLAG_GET(list_tests)) {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        QApplication application(argc, argv);
        return RUN_ALL_TESTS();
    }
#endif
    return RUN_ALL_TESTS();
}
