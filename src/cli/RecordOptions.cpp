#include "cli/RecordOptions.h"

#include "cli/Options.h"

namespace quillet::cli {
namespace {

constexpr double kLongestSeconds = 7.0 * 24 * 3600;

SourceChoice sourceChoice(const QString& text) {
    const QString prefix = QStringLiteral("file:");
    if (text.startsWith(prefix)) return {.device = {}, .file = text.mid(prefix.size())};
    return {.device = text, .file = {}};
}

QString sourceError(const QCommandLineParser& parser, const QString& option) {
    const bool empty =
        parser.isSet(option) && (parser.value(option).isEmpty() || parser.value(option) == QLatin1String("file:"));
    return empty ? QStringLiteral("--%1 needs a device name or file:PATH.").arg(option) : QString();
}

} // namespace

Result<std::variant<RecordOptions, HelpRequest>, QString> parseRecordOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Records the computer's sound and the microphone into one .m4a until Ctrl-C, the end of the files or the "
        "given duration.\nStandard output carries the path of the recording, or with --json one object."));
    const QString system = QStringLiteral("system"), microphone = QStringLiteral("microphone");
    const QString folder = QStringLiteral("folder"), duration = QStringLiteral("duration");
    const QString note = QStringLiteral("note");
    const QString fast = QStringLiteral("as-fast-as-possible"), json = QStringLiteral("json"),
                  help = QStringLiteral("help");
    parser.addOptions({
        {system, QStringLiteral("Output device to record, or file:PATH (default: what the default output plays)."),
         QStringLiteral("SOURCE")},
        {microphone, QStringLiteral("Input device to record, or file:PATH (default: the default input)."),
         QStringLiteral("SOURCE")},
        {folder, QStringLiteral("Folder for this recording (default: the recordings folder)."), QStringLiteral("DIR")},
        {duration, QStringLiteral("Stop after so many seconds."), QStringLiteral("SECONDS")},
        {fast, QStringLiteral("Take files at full speed instead of real time; both sources must be files.")},
        {note, QStringLiteral("Make a note of this recording, whatever the settings say.")},
        {json, QStringLiteral(
                   "Print one JSON object: path, frames, durationSeconds, peaks, seconds of silence, blocksDropped, "
                   "noteMade, warnings.")},
        {{QStringLiteral("h"), help}, QStringLiteral("Show this help.")},
    });
    if (!parser.parse(arguments)) return Failure{parser.errorText()};
    if (parser.isSet(help))
        return std::variant<RecordOptions, HelpRequest>(HelpRequest{helpOf(parser, arguments.constFirst())});
    if (!parser.positionalArguments().isEmpty())
        return Failure{QStringLiteral("“%1” is no option of record.").arg(parser.positionalArguments().constFirst())};
    for (const QString& option : {system, microphone}) {
        if (const QString error = sourceError(parser, option); !error.isEmpty()) return Failure{error};
    }

    RecordOptions options{.system = sourceChoice(parser.value(system)),
                          .microphone = sourceChoice(parser.value(microphone)),
                          .folder = parser.value(folder),
                          .duration = {},
                          .asFastAsPossible = parser.isSet(fast),
                          .note = parser.isSet(note),
                          .json = parser.isSet(json)};
    if (parser.isSet(folder) && options.folder.isEmpty()) return Failure{QStringLiteral("--folder needs a folder.")};
    if (parser.isSet(duration)) {
        bool isNumber = false;
        const double seconds = parser.value(duration).toDouble(&isNumber);
        if (!isNumber || !(seconds > 0) || seconds > kLongestSeconds)
            return Failure{QStringLiteral("--duration needs a number of seconds above 0, at most a week.")};
        options.duration = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
    }
    if (options.asFastAsPossible && (options.system.file.isEmpty() || options.microphone.file.isEmpty()))
        return Failure{QStringLiteral("--as-fast-as-possible needs files for both --system and --microphone.")};
    return std::variant<RecordOptions, HelpRequest>(options);
}

} // namespace quillet::cli
