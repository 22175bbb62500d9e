#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Every test program runs beside an event loop's application object and in folders of its own, so that no test reads or
// writes what belongs to the user who runs it.
int main(int argc, char** argv) {
    QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, (home.path() + QLatin1Char('/') + QLatin1String(variable)).toLocal8Bit());
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
