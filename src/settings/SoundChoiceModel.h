#pragma once

#include "platform/SoundDevices.h"
#include "support/Published.h"
#include "support/SerialQueue.h"
#include "support/UserDefaults.h"

#include <QString>

#include <memory>
#include <vector>

namespace quillet {

/// Which output and which microphone are recorded. Without a choice the system's own is followed, and that is what
/// removes the setting. The devices are listed on a worker, because the sound server may take seconds to answer; the
/// list that is shown stays meanwhile. Owned by the settings window. Main thread; when the server does not tell, the
/// list is empty and the reason published, and the choice stays what it was.
class SoundChoiceModel final : public std::enable_shared_from_this<SoundChoiceModel> {
public:
    using Kind = SoundDevice::Kind;
    /// One entry to choose from. The name is empty for "follow the system".
    struct Option {
        QString name;
        QString label;          ///< the device's own description; empty for "follow the system"
        bool isMissing = false; ///< chosen, but the server lists others only
        friend bool operator==(const Option&, const Option&) = default;
    };

    SoundChoiceModel(std::shared_ptr<SoundDevices> devices, UserDefaults& defaults);

    Published<std::vector<SoundDevice>> devices;
    Published<bool> isLoading{false};
    /// Why there is no list; empty when there is one.
    Published<QString> problem;
    /// The last choice was not stored: what was chosen before goes on counting.
    Published<bool> wasNotStored{false};

    void refresh();
    /// Following the system first, then a chosen device that is not there, then those that are.
    [[nodiscard]] std::vector<Option> options(Kind kind) const;
    /// The name of the device; empty while the system is followed.
    [[nodiscard]] QString chosen(Kind kind) const;
    void choose(Kind kind, const QString& name);

private:
    const std::shared_ptr<SoundDevices> m_devices;
    UserDefaults& m_defaults;
    /// Each listing holds the queue, so that the end of the model does not wait for the server.
    const std::shared_ptr<SerialQueue> m_worker = std::make_shared<SerialQueue>("quillet.sound-devices");
};

} // namespace quillet
