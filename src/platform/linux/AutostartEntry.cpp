#include "platform/linux/AutostartEntry.h"

#include "platform/StandardFolders.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace quillet {
namespace {

constexpr const char* kFileName = "com.corvane.Quillet.desktop";
constexpr qint64 kLargestEntry = 64 * 1024; ///< a desktop file is a page of text

QString qtPath(const std::filesystem::path& path) { return QFile::decodeName(path.c_str()); }

std::filesystem::path runningProgram() {
    // Inside an AppImage the program runs from a mount that is gone at the next login.
    if (const char* image = std::getenv("APPIMAGE"); image && image[0] == '/') return image;
    return QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString();
}

/// A value of type "string": what would end the line or begin an escape is escaped.
QByteArray stringValue(QByteArray text) {
    return text.replace('\\', "\\\\").replace('\n', "\\n").replace('\r', "\\r").replace('\t', "\\t");
}

/// One argument of an Exec line: quoted, and its percent signs are no field codes. The whole is then a string value.
QByteArray execArgument(const QByteArray& text) {
    QByteArray quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '`' || character == '$' || character == '\\') quoted += '\\';
        if (character == '%') quoted += '%';
        quoted += character;
    }
    return stringValue(quoted + '"');
}

/// Some desktops look for the program itself before they undo its percent signs, which downloads like to have.
QByteArray starterOf(const QByteArray& path) { return path.contains('%') ? "env " : ""; }

QByteArray entryFor(const QByteArray& path) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Quillet\n"
           "Comment=Records both sides of a meeting\n"
           "Comment[de]=Nimmt beide Seiten einer Besprechung auf\n"
           "Icon=com.corvane.Quillet\n"
           "TryExec=" +
           stringValue(path) +
           "\n"
           "Exec=" +
           starterOf(path) + execArgument(path) + ' ' + kStartedAtLoginArgument +
           "\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

/// The value of a key in the entry's own group; empty when it is not there.
QByteArray value(const QByteArray& contents, const QByteArray& key) {
    bool isInGroup = false;
    for (const QByteArray& each : contents.split('\n')) {
        const QByteArray line = each.trimmed();
        if (line.startsWith('[')) isInGroup = line == "[Desktop Entry]";
        const auto equals = line.indexOf('=');
        if (isInGroup && equals > 0 && line.left(equals).trimmed() == key) return line.mid(equals + 1).trimmed();
    }
    return {};
}

/// The entry as it is, but for the program, as long as both places name it as we write it.
QByteArray withProgram(QByteArray contents, const QByteArray& old, const QByteArray& path) {
    const auto tried = [](const QByteArray& program) { return "\nTryExec=" + stringValue(program) + '\n'; };
    if (!contents.contains(tried(old)) || !contents.contains(execArgument(old)) || !starterOf(path).isEmpty())
        return entryFor(path);
    return contents.replace(tried(old), tried(path)).replace(execArgument(old), execArgument(path));
}

bool isOn(const QByteArray& contents) {
    return !value(contents, "Exec").isEmpty() && value(contents, "Hidden") != "true" &&
           value(contents, "X-GNOME-Autostart-enabled") != "false";
}

} // namespace

std::unique_ptr<LoginItem> makeLoginItem() {
    return std::make_unique<AutostartEntry>(standardSettingsFile().parent_path().parent_path() / "autostart",
                                            runningProgram);
}

AutostartEntry::AutostartEntry(std::filesystem::path folder, std::function<std::filesystem::path()> program)
    : m_folder(std::move(folder)), m_file(m_folder / kFileName), m_program(std::move(program)) {}

std::optional<QByteArray> AutostartEntry::read() const {
    QFile file(qtPath(m_file));
    if (!QFileInfo(file).isFile() || !file.open(QFile::ReadOnly)) return std::nullopt;
    return file.read(kLargestEntry);
}

Result<std::filesystem::path> AutostartEntry::usableProgram() const {
    const std::filesystem::path program = m_program();
    if (!program.is_absolute()) return Failure{PlatformError::fromErrno(ENOENT)};
    if (access(program.c_str(), X_OK) != 0) return Failure{PlatformError::fromErrno(errno)};
    return program;
}

bool AutostartEntry::isEnabled() const {
    const auto contents = read();
    return contents && isOn(*contents);
}

Result<void> AutostartEntry::registerItem() {
    const auto program = usableProgram();
    if (!program) return Failure{program.error()};
    return write(entryFor(QByteArray::fromStdString(program->string())));
}

Result<void> AutostartEntry::unregisterItem() {
    if (unlink(m_file.c_str()) != 0 && errno != ENOENT) return Failure{PlatformError::fromErrno(errno)};
    return {};
}

void AutostartEntry::followProgram() {
    std::error_code error;
    if (std::filesystem::is_symlink(m_file, error)) return; // whoever keeps the file behind it keeps that in order
    const auto contents = read();
    const auto program = usableProgram();
    if (!contents || !program || !isOn(*contents)) return;
    const QByteArray old = value(*contents, "TryExec").replace("\\\\", "\\");
    if (!old.startsWith('/')) return;               // its user has made another entry of it
    if (access(old.constData(), X_OK) == 0) return; // it was chosen, and this one may just be tried
    static_cast<void>(write(withProgram(*contents, old, QByteArray::fromStdString(program->string()))).ok());
}

Result<void> AutostartEntry::write(const QByteArray& contents) const {
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (error) return Failure{PlatformError::fromErrno(error.value())};
    // Moved into its place, because a link to the application's launcher would be followed.
    std::filesystem::path fresh = m_file;
    fresh += ".new";
    QSaveFile file(qtPath(fresh));
    if (!file.open(QFile::WriteOnly) || file.write(contents) != contents.size() || !file.commit())
        return Failure{PlatformError{EIO, file.errorString()}};
    if (rename(fresh.c_str(), m_file.c_str()) == 0) return {};
    const auto failure = PlatformError::fromErrno(errno);
    unlink(fresh.c_str());
    return Failure{failure};
}

} // namespace quillet
