#pragma once

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillet::test {

/// Every test program runs beside an application object and in folders of its own, so that no test reads or writes what
/// belongs to the user who runs it.
template <typename Application>
int runTests(int argc, char** argv) {
    const QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, (home.path() + QLatin1Char('/') + QLatin1String(variable)).toLocal8Bit());
    const Application application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

} // namespace quillet::test
