// The camera tests run in a private network namespace of their own (each
// test is a process of its own under ctest, so their cameras never meet).
#include "camera_support.h" // GLib's headers before Qt's keywords

#include <QApplication>

#include "../support/private_network.h"

int main(int argc, char** argv) {
    camera_test::noPrivateNetwork = quillon_test_support::EnterPrivateNetwork(argv);
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication application(argc, argv); // the window test's
    return RUN_ALL_TESTS();
}
