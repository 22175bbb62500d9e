#include "cli/Commands.h"
#include "cli/Summarising.h"
#include "cli/Worker.h"
#include "platform/Process.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillet::cli {
namespace {

constexpr auto kUsage = "Usage: quillet summarise TRANSCRIPT [--json]     a text file; - for standard input\n"
                        "       quillet summarise --check                whether the language model answers";

QJsonValue orNull(const std::optional<QString>& text) { return text ? QJsonValue(*text) : QJsonValue(); }

void printJson(const MeetingSummary& summary) {
    const SummaryTexts texts = summaryTexts(summary);
    const QJsonObject object{{QStringLiteral("summary"), orNull(texts.aiSummary)},
                             {QStringLiteral("decisions"), orNull(texts.keyDecisions)},
                             {QStringLiteral("actionItems"), orNull(texts.actionItems)},
                             {QStringLiteral("followUps"), orNull(texts.followUps)},
                             {QStringLiteral("topics"), QJsonArray::fromStringList(summary.topics)}};
    print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)).trimmed());
}

void printTexts(const MeetingSummary& summary) {
    const SummaryTexts texts = summaryTexts(summary);
    print(texts.aiSummary.value_or(QStringLiteral("No summary available.")));
    const std::pair<const char*, const std::optional<QString>&> lists[] = {
        {"Key decisions", texts.keyDecisions}, {"Action items", texts.actionItems}, {"Follow-ups", texts.followUps}};
    for (const auto& [title, list] : lists)
        print(QStringLiteral("\n%1\n%2").arg(QLatin1String(title), list.value_or(QStringLiteral("• None recorded"))));
}

} // namespace

int summarise(const QStringList& arguments) {
    QCommandLineParser parser;
    const QString json = QStringLiteral("json"), check = QStringLiteral("check"), help = QStringLiteral("help");
    parser.addOptions({{json, QString()}, {check, QString()}, {{QStringLiteral("h"), help}, QString()}});
    const bool isParsed = parser.parse(arguments);
    if (isParsed && parser.isSet(help)) {
        print(QString::fromLatin1(kUsage));
        return Done;
    }
    if (!isParsed || parser.positionalArguments().size() != (parser.isSet(check) ? 0 : 1)) {
        complain(isParsed ? QString::fromLatin1(kUsage) : parser.errorText());
        return WrongUsage;
    }

    // Read first: who is asked for the end while waiting for standard input ends at once.
    Result<QString, QString> transcript = QString();
    if (!parser.isSet(check)) transcript = transcriptFrom(parser.positionalArguments().constFirst());
    if (!transcript) {
        complain(transcript.error());
        return Failed;
    }
    StopSource stop;
    const TerminationRequests signals([&stop] { stop.requestStop(); });
    SummaryService service(UserDefaults::standard(), SystemLanguageModel::standard(), cloudModelKey);
    if (parser.isSet(check)) {
        return runOnWorker([&] {
            const SummaryPlan plan = service.plan();
            const auto answer = service.check(stop.token());
            if (!answer) {
                complain(answer.error());
                return Failed;
            }
            print(plan.host.isEmpty() ? QStringLiteral("The system's language model answers.")
                                      : QStringLiteral("“%1” at %2 answers.").arg(plan.model, plan.host));
            return Done;
        });
    }
    return runOnWorker([&] {
        const SummaryOutcome outcome = summariseWithProgress(service, *transcript, stop.token());
        if (!outcome.summary) {
            complain(outcome.reason);
            return Failed;
        }
        parser.isSet(json) ? printJson(*outcome.summary) : printTexts(*outcome.summary);
        return Done;
    });
}

} // namespace quillet::cli
