#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace quillet::test {

/// All that is in the file, by its path of any kind; a test failure when it cannot be read.
template <typename Path>
QByteArray contentsOf(const Path& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << file.fileName().toStdString();
    return file.readAll();
}

/// Makes the file anew, and the folders that it takes. Returns the path.
template <typename Path>
Path makeFile(const Path& path, const QByteArray& bytes = {}) {
    QFile file(path);
    QDir().mkpath(QFileInfo(file).path());
    EXPECT_TRUE(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size()) << file.fileName().toStdString();
    return path;
}

} // namespace quillet::test
