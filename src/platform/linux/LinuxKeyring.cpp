#include "platform/Keyring.h"

#include <QElapsedTimer>
#include <QProcess>

namespace quillet {
namespace {

constexpr int kPatienceMs = 60'000;
constexpr int kStepMs = 100;
constexpr qsizetype kLongestSecret = 4096;

} // namespace

// The desktop's own tool: it knows sessions, locked collections and their prompts.
std::optional<QString> keyringSecret(const QString& purpose, const StopToken& stop) {
    QProcess tool;
    tool.setStandardErrorFile(QProcess::nullDevice());
    tool.start(QStringLiteral("secret-tool"), {QStringLiteral("lookup"), QStringLiteral("application"),
                                               QStringLiteral("quillet"), QStringLiteral("purpose"), purpose});
    QElapsedTimer timer;
    timer.start();
    while (!tool.waitForFinished(kStepMs)) {
        const bool isRunning = tool.state() != QProcess::NotRunning;
        if (isRunning && !stop.stopRequested() && timer.elapsed() < kPatienceMs) continue;
        tool.kill();
        tool.waitForFinished();
        return std::nullopt;
    }
    if (tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) return std::nullopt;
    const QString secret = QString::fromUtf8(tool.read(kLongestSecret)).trimmed();
    if (secret.isEmpty()) return std::nullopt;
    return secret;
}

QString keyringAdvice(const QString& purpose) {
    return QStringLiteral("Keep it with: secret-tool store --label=Quillet application quillet purpose %1")
        .arg(purpose);
}

} // namespace quillet
