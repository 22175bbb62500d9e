#include "cli/Options.h"

#include "cli/Commands.h"

namespace quillet::cli {

bool asksForHelp(const QStringList& arguments) {
    return arguments.contains(QLatin1String("--help")) || arguments.contains(QLatin1String("-h"));
}

std::optional<int> parseOptions(QCommandLineParser& parser, const QStringList& arguments) {
    const QString& command = arguments.constFirst();
    const QString help = QStringLiteral("help");
    parser.addOption({{QStringLiteral("h"), help}, QStringLiteral("Show this help.")});
    if (!parser.parse(arguments)) {
        complain(parser.errorText());
        return WrongUsage;
    }
    if (parser.isSet(help)) {
        print(helpOf(parser, command));
        return Done;
    }
    if (parser.positionalArguments().isEmpty()) return std::nullopt;
    complain(QStringLiteral("“%1” is no option of %2.").arg(parser.positionalArguments().constFirst(), command));
    return WrongUsage;
}

QString helpOf(const QCommandLineParser& parser, const QString& command) {
    return parser.helpText().replace(QLatin1String(" [options]"),
                                     QLatin1Char(' ') + command + QLatin1String(" [options]"));
}

} // namespace quillet::cli
