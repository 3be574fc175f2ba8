#include <gtest/gtest.h>

#include <QCoreApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    ::setenv("HAINBREM_TEST", "1", 1);
    // never the user's own bus or settings: notifications that slip through go nowhere
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
