#include "cli/Summarising.h"

#include "cli/Commands.h"
#include "platform/Process.h"

#include <QFile>
#include <QTextStream>

#include <cstdio>

namespace quillet::cli {
namespace {

QString line(const SummaryProgress& progress) {
    using Step = SummaryProgress::Step;
    QString text = progress.step == Step::Merging
                       ? QStringLiteral("merging")
                       : QStringLiteral("reading part %1 of %2").arg(progress.part).arg(progress.parts);
    if (progress.step == Step::Merging && progress.parts > 1)
        text += QStringLiteral(" %1 of %2").arg(progress.part).arg(progress.parts);
    if (const auto& written = progress.written) {
        qsizetype points = 0;
        for (const auto* list : {&written->decisions, &written->actionItems, &written->nextSteps, &written->topics})
            points += *list ? (*list)->size() : 0;
        text += QStringLiteral(", %1 points written").arg(points);
    }
    return text;
}

/// On a terminal a line that is rewritten; elsewhere a line for each part.
class ProgressPrinter {
public:
    ~ProgressPrinter() {
        if (m_isOpen) QTextStream(stderr) << "\r\033[K";
    }
    void show(const SummaryProgress& progress) {
        if (m_rewrites) {
            QTextStream(stderr) << "\r\033[K" << line(progress);
            m_isOpen = true;
        } else if (!progress.written) {
            QTextStream(stderr) << line(progress) << '\n';
        }
    }

private:
    const bool m_rewrites = standardErrorIsTerminal();
    bool m_isOpen = false;
};

} // namespace

Result<QString, QString> transcriptFrom(const QString& path) {
    const bool isInput = path == QLatin1String("-");
    const QString name = isInput ? QStringLiteral("The standard input") : path;
    QFile file(path);
    if (!(isInput ? file.open(stdin, QFile::ReadOnly) : file.open(QFile::ReadOnly)))
        return Failure{QStringLiteral("%1 cannot be read: %2.").arg(name, file.errorString())};
    const auto transcript = readTranscript(file);
    if (!transcript) return Failure{name + u' ' + transcript.error()};
    if (transcript->isGuessed)
        complain(QStringLiteral("%1 is not UTF-8 and was read as Latin-1; letters may be wrong.").arg(name));
    return transcript->text;
}

SummaryOutcome summariseWithProgress(SummaryService& service, const QString& transcript, const StopToken& stop) {
    const SummaryPlan plan = service.plan();
    if (plan.path == SummaryPath::Cloud)
        complain(
            QStringLiteral("The transcript is sent to %1 (%2), which is not this machine.").arg(plan.host, plan.model));
    ProgressPrinter printer;
    return service.summarise(
        transcript, [&printer](const SummaryProgress& progress) { printer.show(progress); }, stop);
}

} // namespace quillet::cli
