#include "settings/SoundChoiceModel.h"

#include "support/MainThread.h"

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

const QString& keyOf(SoundDevice::Kind kind) {
    return kind == SoundDevice::Kind::Output ? DefaultsKeys::systemAudioDevice : DefaultsKeys::microphoneDevice;
}

} // namespace

SoundChoiceModel::SoundChoiceModel(std::shared_ptr<SoundDevices> soundDevices, UserDefaults& defaults)
    : m_devices(std::move(soundDevices)), m_defaults(defaults) {}

void SoundChoiceModel::refresh() {
    if (isLoading.value()) return;
    isLoading.set(true);
    m_worker->async([worker = m_worker, source = m_devices, weak = weak_from_this()] {
        const auto found = source->list();
        MainThread::postWeakly<SoundChoiceModel>(weak, [found](SoundChoiceModel& self) {
            self.problem.set(found ? QString() : found.error().description);
            self.devices.set(found ? found.value() : std::vector<SoundDevice>());
            self.isLoading.set(false);
        });
    });
}

QString SoundChoiceModel::chosen(Kind kind) const { return m_defaults.string(keyOf(kind)).value_or(QString()); }

void SoundChoiceModel::choose(Kind kind, const QString& name) {
    wasNotStored.set(!(name.isEmpty() ? m_defaults.remove(keyOf(kind)) : m_defaults.set(keyOf(kind), name)));
}

std::vector<SoundChoiceModel::Option> SoundChoiceModel::options(Kind kind) const {
    std::vector<Option> options{{}};
    const auto isSameLabel = [kind](const QString& label) {
        return [kind, label](const SoundDevice& device) { return device.kind == kind && device.description == label; };
    };
    const auto& all = devices.value();
    for (const SoundDevice& device : all) {
        if (device.kind != kind) continue;
        // Two headsets of one make are told apart by the server's names.
        const bool isAmbiguous = std::count_if(all.begin(), all.end(), isSameLabel(device.description)) > 1;
        const QString label = device.description.isEmpty() ? device.name : device.description;
        options.push_back({device.name, isAmbiguous ? QStringLiteral("%1 (%2)").arg(label, device.name) : label});
    }
    const QString name = chosen(kind);
    const auto isChosen = [&name](const Option& option) { return option.name == name; };
    if (std::none_of(options.begin(), options.end(), isChosen))
        options.insert(options.begin() + 1, {.name = name, .label = name, .isMissing = !all.empty()});
    return options;
}

} // namespace quillet
