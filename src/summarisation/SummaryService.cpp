#include "summarisation/SummaryService.h"

#include "platform/Keyring.h"

namespace quillet {
namespace {

constexpr auto kKeyVariable = "QUILLET_CLOUD_KEY";
const QString kKeyPurpose = QStringLiteral("summaries");

} // namespace

SummaryService::SummaryService(const UserDefaults& defaults, SystemLanguageModel& system, KeySource cloudKey,
                               ChatLimits limits)
    : m_defaults(defaults),
      m_system(system),
      m_hasSystemModel(system.isOfferedBySystem()),
      m_cloudKey(std::move(cloudKey)),
      m_limits(limits) {}

Result<SummaryService::Way, QString> SummaryService::way(const StopToken& stop) {
    const SummaryPlan now = plan();
    switch (now.path) {
    case SummaryPath::LocalServer: {
        auto endpoint = localEndpoint(m_defaults);
        if (!endpoint) return Failure{endpoint.error()}; // changed meanwhile
        return Way{std::make_shared<ChatCompletionsModel>(std::move(*endpoint), QString(), m_limits), &m_local};
    }
    case SummaryPath::SystemModel:
        if (auto model = m_system.model()) return Way{std::move(model), &m_local};
        return Failure{QStringLiteral("The system's language model is not available.")};
    case SummaryPath::Cloud: {
        auto endpoint = cloudEndpoint(m_defaults);
        if (!endpoint) return Failure{endpoint.error()};
        const auto key = m_cloudKey(stop);
        if (stop.stopRequested()) return Failure{QStringLiteral("The summary was cancelled.")};
        if (!key)
            return Failure{QStringLiteral("There is no key for the cloud language model: neither in %1 nor in the "
                                          "keyring. %2")
                               .arg(QLatin1String(kKeyVariable), keyringAdvice(kKeyPurpose))};
        return Way{std::make_shared<ChatCompletionsModel>(std::move(*endpoint), *key, m_limits), &m_cloud};
    }
    case SummaryPath::None:
        break;
    }
    return Failure{now.reason};
}

SummaryOutcome SummaryService::summarise(const QString& transcript, const SummaryObserver& observer,
                                         const StopToken& stop) {
    const auto found = way(stop);
    if (!found) return {.reason = found.error(), .isCancelled = stop.stopRequested()};
    auto result = found->summariser->summariseAndWait(*found->model, transcript, observer, stop);
    if (!result)
        return {.reason = result.error().reason, .isCancelled = result.error().kind == ModelError::Kind::Cancelled};
    return {.summary = std::move(*result)};
}

Result<void, QString> SummaryService::check(const StopToken& stop) {
    const auto found = way(stop);
    if (!found) return Failure{found.error()};
    const auto response = found->summariser->checkAndWait(*found->model, stop);
    if (!response) return Failure{response.error().reason};
    return {};
}

std::optional<QString> cloudModelKey(const StopToken& stop) {
    if (const QString given = qEnvironmentVariable(kKeyVariable).trimmed(); !given.isEmpty()) return given;
    return keyringSecret(kKeyPurpose, stop);
}

} // namespace quillet
