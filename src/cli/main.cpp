#include "cli/Commands.h"
#include "platform/Process.h"
#include "support/Translations.h"

#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

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
    {"summarise", summarise, "summarise a transcript with the language model of the settings"},
    {"settings", settings, "read and change settings: list, get, set, unset"},
    {"templates", templates, "note templates: list, show, preview, export, import, add, delete"},
};

void printUsage(std::FILE* to) {
    QTextStream out(to);
    out << "Quillet records both sides of a meeting.\n\nUsage: quillet COMMAND [OPTIONS]\n\nCommands:\n";
    for (const Command& command : kCommands)
        out << "  " << QString::fromLatin1(command.name).leftJustified(10) << command.summary << '\n';
    out << "\nWithout a command the tray application starts, or shows itself when it runs already:\n"
           "  --toggle-recording  start or stop recording\n"
           "  --settings          open the settings\n"
           "  --quit              end the running application\n"
           "  --skip-onboarding   do not introduce the program\n"
           "  --reset-onboarding  introduce it again\n";
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
        complain(QStringLiteral("The tray application is not installed beside this program."));
        printUsage(stderr);
    } else {
        complain(QStringLiteral("There is no command “%1”. See quillet --help.").arg(first));
    }
    return WrongUsage;
}

bool asksForTheWindows(int argc, char** argv) {
    constexpr std::string_view kOptions[] = {
        "--reset-onboarding", "--skip-onboarding", "--toggle-recording", "--settings", "--quit", "--autostarted"};
    return argc < 2 || std::find(std::begin(kOptions), std::end(kOptions), argv[1]) != std::end(kOptions);
}

/// What is decoded with replacement characters would name another file, and a recording land in another folder.
bool areText(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const QString decoded = QString::fromUtf8(argv[i]);
        if (decoded.toUtf8() == argv[i]) continue;
        complain(QStringLiteral("“%1” is no valid UTF-8; such a name cannot be given as an argument.").arg(decoded));
        return false;
    }
    return true;
}

} // namespace

void print(const QString& line) { print(line.toUtf8()); }
void print(const QByteArray& line) {
    const QByteArray bytes = line + '\n';
    const auto size = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0) return;
    complain(QStringLiteral("This could not be written to standard output: ") + QString::fromUtf8(line));
}
void complain(const QString& sentence) { QTextStream(stderr) << "quillet: " << sentence << '\n'; }

} // namespace quillet::cli

int main(int argc, char** argv) {
    quillet::prepareProcess();
    // Without a command this is the tray application, a program of its own with its windows.
    if (quillet::cli::asksForTheWindows(argc, argv)) quillet::becomeCompanion("quillet-tray", argv);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillet"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLET_VERSION));
    quillet::installPlatformWording(application); // the commands speak English
    const int status =
        quillet::cli::areText(argc, argv) ? quillet::cli::run(QCoreApplication::arguments()) : quillet::cli::WrongUsage;
    // A recording that is saved counts as such, wherever its path went.
    const bool sayingIsAll = QCoreApplication::arguments().value(1) != QLatin1String("record");
    quillet::leaveProcess(status == quillet::cli::Done && sayingIsAll && std::ferror(stdout) ? quillet::cli::Failed
                                                                                             : status);
}
