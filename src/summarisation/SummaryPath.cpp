#include "summarisation/SummaryPath.h"

#include "summarisation/SummariseOperation.h"
#include "support/ServiceAddress.h"

namespace quillet {
namespace {

struct Keys {
    const QString& address;
    const QString& model;
    const QString& context;
};

Result<ChatEndpoint, QString> endpoint(const UserDefaults& defaults, const Keys& keys, const QString& what,
                                       Result<QUrl, QString> (*check)(const QString&), int usualContext) {
    const QString address = defaults.string(keys.address).value_or(QString()).trimmed();
    const QString model = defaults.string(keys.model).value_or(QString()).trimmed();
    if (address.isEmpty() || model.isEmpty())
        return Failure{QStringLiteral("No %1 is set up (%2 and %3).").arg(what, keys.address, keys.model)};
    const auto url = check(address);
    if (!url) return Failure{QStringLiteral("The %1 cannot be used: %2 (%3)").arg(what, url.error(), keys.address)};
    const auto context = numberFrom(defaults.string(keys.context).value_or(QString()), DefaultsValues::kContextTokens);
    return ChatEndpoint{.address = *url, .model = model, .contextTokens = context.value_or(usualContext)};
}

bool mayUseCloud(const SummaryChoice& choice) { return !choice.useLocal || choice.cloudFallback; }

/// With what would have to be set up.
QString whyNoPath(const SummaryChoice& choice, const Result<ChatEndpoint, QString>& local,
                  const Result<ChatEndpoint, QString>& cloud) {
    QString sentences = choice.useLocal ? QStringLiteral("This device has no language model for summaries")
                                        : QStringLiteral("Summaries on this device are switched off");
    sentences += mayUseCloud(choice) ? QStringLiteral(", and no cloud service is set up.")
                                     : QStringLiteral(", and the cloud may not be used instead.");
    if (choice.useLocal && !local) sentences += u' ' + local.error();
    if (mayUseCloud(choice) && !cloud) sentences += u' ' + cloud.error();
    return sentences;
}

} // namespace

SummaryPath summaryPath(const SummaryChoice& choice) {
    if (choice.useLocal && choice.hasLocalServer) return SummaryPath::LocalServer;
    if (choice.useLocal && choice.hasSystemModel) return SummaryPath::SystemModel;
    return mayUseCloud(choice) && choice.hasCloud ? SummaryPath::Cloud : SummaryPath::None;
}

Result<ChatEndpoint, QString> localEndpoint(const UserDefaults& defaults) {
    auto found = endpoint(
        defaults, {DefaultsKeys::localModelAddress, DefaultsKeys::localModelName, DefaultsKeys::localModelContext},
        QStringLiteral("local language model"), localServiceAddress, DefaultsValues::kUsualLocalContext);
    // A small model that loses itself would go on for as long as its context lasts.
    if (found) found->replyTokens = longestReply(found->contextTokens);
    return found;
}

Result<ChatEndpoint, QString> cloudEndpoint(const UserDefaults& defaults) {
    auto found = endpoint(
        defaults, {DefaultsKeys::cloudModelAddress, DefaultsKeys::cloudModelName, DefaultsKeys::cloudModelContext},
        QStringLiteral("cloud language model"), cloudServiceAddress, DefaultsValues::kUsualCloudContext);
    // A proxy would carry what is meant for this machine out of it.
    if (found && !localServiceAddress(found->address.toString())) found->proxy = ChatEndpoint::Proxy::AsTheSystemSays;
    return found;
}

SummaryPlan summaryPlan(const UserDefaults& defaults, bool hasSystemModel) {
    const auto local = localEndpoint(defaults);
    const auto cloud = cloudEndpoint(defaults);
    const SummaryChoice choice{.useLocal = defaults.boolean(DefaultsKeys::useLocalSummarisation, true),
                               .cloudFallback = defaults.boolean(DefaultsKeys::cloudFallbackEnabled, true),
                               .hasLocalServer = local.ok(),
                               .hasSystemModel = hasSystemModel,
                               .hasCloud = cloud.ok()};
    SummaryPlan plan{.path = summaryPath(choice)};
    const bool isLocal = plan.path == SummaryPath::LocalServer;
    if (plan.path == SummaryPath::None) plan.reason = whyNoPath(choice, local, cloud);
    if (isLocal || plan.path == SummaryPath::Cloud) {
        plan.host = hostText((isLocal ? local : cloud)->address);
        plan.model = (isLocal ? local : cloud)->model;
    }
    return plan;
}

} // namespace quillet
