#pragma once

#include "platform/FileServices.h"

#include <functional>
#include <string>
#include <vector>

namespace quillet::test {

/// Folders below a temporary one, a volume that says what the test wants, and bookmarks that can break.
class FakeFileServices final : public FileServices {
public:
    std::optional<std::filesystem::path> support;
    std::optional<std::filesystem::path> home;
    Result<std::optional<std::int64_t>> free = std::optional<std::int64_t>(1'000'000'000);
    bool creates = true;
    bool resolves = true;
    bool stale = false;
    bool grantsAccess = true;
    std::function<void(const std::filesystem::path& folder)> whileAskedForSpace;
    std::vector<std::string> journal;

    std::optional<std::filesystem::path> applicationSupportDirectory() const override { return support; }
    std::optional<std::filesystem::path> homeDirectory() const override { return home; }
    Result<void> createDirectories(const std::filesystem::path& folder) override {
        if (!creates) return Failure{PlatformError{13, QStringLiteral("Permission denied")}};
        return real.createDirectories(folder);
    }
    Result<std::optional<std::int64_t>> freeBytes(const std::filesystem::path& folder) override {
        if (whileAskedForSpace) whileAskedForSpace(folder);
        return free;
    }
    Result<QByteArray> makeBookmark(const std::filesystem::path& folder) override {
        return QByteArray("bookmark:" + QByteArray(folder.c_str()));
    }
    Result<ResolvedBookmark> resolveBookmark(const QByteArray& bookmark) override {
        if (!resolves || !bookmark.startsWith("bookmark:")) return Failure{PlatformError{1, {}}};
        return ResolvedBookmark{bookmark.mid(9).toStdString(), stale};
    }
    bool startAccess(const std::filesystem::path& folder) override {
        if (grantsAccess) journal.push_back("start " + folder.filename().string());
        return grantsAccess;
    }
    void stopAccess(const std::filesystem::path& folder) override {
        journal.push_back("stop " + folder.filename().string());
    }
    void openInFileManager(const std::filesystem::path& folder) override {
        journal.push_back("open " + folder.filename().string());
    }
    void revealInFileManager(const std::filesystem::path& file) override {
        journal.push_back("reveal " + file.filename().string());
    }

private:
    FileServices& real = FileServices::standard();
};

} // namespace quillet::test
