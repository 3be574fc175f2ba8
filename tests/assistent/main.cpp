#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    ::setenv("HAINBREM_TEST", "1", 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);  // the page is drawn without a display
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    // nothing may leave this machine, not even through a proxy the environment names
    for (const char* v : {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        ::unsetenv(v);
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
