#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    ::setenv("HAINBREM_TEST", "1", 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);  // also when started by hand
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");        // nothing reaches the user's desktop
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
