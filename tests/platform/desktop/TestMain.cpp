#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// As for every test program, private folders; beside them a toolkit without a screen and no bus of the user's.
int main(int argc, char** argv) {
    QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, (home.path() + QLatin1Char('/') + QLatin1String(variable)).toLocal8Bit());
    for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) qputenv(bus, "disabled:");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
