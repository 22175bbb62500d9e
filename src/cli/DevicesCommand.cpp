#include "cli/Commands.h"
#include "cli/Options.h"
#include "platform/Platform.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillet::cli {
namespace {

QString kindName(SoundDevice::Kind kind) {
    return kind == SoundDevice::Kind::Output ? QStringLiteral("output") : QStringLiteral("input");
}

void printJson(const std::vector<SoundDevice>& devices) {
    QJsonArray list;
    for (const SoundDevice& device : devices) {
        list.append(QJsonObject{{QStringLiteral("kind"), kindName(device.kind)},
                                {QStringLiteral("name"), device.name},
                                {QStringLiteral("description"), device.description},
                                {QStringLiteral("default"), device.isDefault},
                                {QStringLiteral("muted"), device.isMuted}});
    }
    print(QString::fromUtf8(QJsonDocument(list).toJson(QJsonDocument::Compact)));
}

void printTable(const std::vector<SoundDevice>& devices) {
    for (const SoundDevice& device : devices) {
        QStringList remarks;
        if (device.isDefault) remarks += QStringLiteral("default");
        if (device.isMuted) remarks += QStringLiteral("muted");
        const QString remark =
            remarks.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(remarks.join(QLatin1String(", ")));
        print(
            QStringLiteral("%1  %2  %3%4").arg(kindName(device.kind), -6).arg(device.name, device.description, remark));
    }
}

} // namespace

int devices(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Lists the outputs and inputs that can be recorded, by the names that “record” takes."));
    const QString json = QStringLiteral("json");
    parser.addOption({json, QStringLiteral("Print one JSON array.")});
    if (const auto ended = parseOptions(parser, arguments)) return *ended;
    const auto found = makeSoundDevices()->list();
    if (!found) {
        complain(QStringLiteral("The devices cannot be listed: %1.").arg(found.error().description));
        return Failed;
    }
    parser.isSet(json) ? printJson(*found) : printTable(*found);
    return Done;
}

} // namespace quillet::cli
