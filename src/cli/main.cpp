#include "cli/Commands.h"
#include "platform/Process.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace quillet::cli {
namespace {

struct Command {
    const char* name;
    int (*run)(const QStringList& arguments);
    const char* summary;
};

constexpr Command kCommands[] = {
    {"record", record, "record a meeting: the computer's sound and the microphone into one .m4a"},
    {"devices", devices, "list what can be recorded"},
    {"recover", recover, "finish recordings that a crash or a power cut left unfinished"},
    {"notes", notes, "notes of recordings: status, folders, test, create, authorise"},
    {"settings", settings, "read and change settings: list, get, set, unset"},
};

void printUsage(std::FILE* to) {
    QTextStream out(to);
    out << "Quillet records both sides of a meeting.\n\nUsage: quillet COMMAND [OPTIONS]\n\nCommands:\n";
    for (const Command& command : kCommands)
        out << "  " << QString::fromLatin1(command.name).leftJustified(10) << command.summary << '\n';
    out << "\nquillet COMMAND --help tells the options of a command; --version the version.\n";
}

int run(const QStringList& arguments) {
    const QString first = arguments.value(1);
    if (first == QLatin1String("--help") || first == QLatin1String("-h")) {
        printUsage(stdout);
        return Done;
    }
    if (first == QLatin1String("--version") || first == QLatin1String("-v")) {
        print(QStringLiteral("quillet ") + QCoreApplication::applicationVersion());
        return Done;
    }
    for (const Command& command : kCommands) {
        if (first == QLatin1String(command.name)) return command.run(arguments.mid(1));
    }
    if (first.isEmpty()) {
        printUsage(stderr);
    } else {
        complain(QStringLiteral("There is no command “%1”. See quillet --help.").arg(first));
    }
    return WrongUsage;
}

} // namespace

void print(const QString& line) { QTextStream(stdout) << line << '\n'; }
void complain(const QString& sentence) { QTextStream(stderr) << "quillet: " << sentence << '\n'; }

} // namespace quillet::cli

int main(int argc, char** argv) {
    quillet::keepNewFilesPrivate();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillet"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLET_VERSION));
    return quillet::cli::run(QCoreApplication::arguments());
}
