#pragma once

#include "platform/LanguageModel.h"
#include "support/Published.h"
#include "support/UserDefaults.h"

#include <QString>

namespace quillet {

/// The user's choice between summaries made on this device and in the cloud, and whether the system's own model can
/// make them here. The choices are read from and written to the settings at every access, so that a change made
/// elsewhere is seen at once. Whether the system has a model is a matter of its version only; a request to a model that
/// counts as available may still fail. Main thread; the settings and the system must outlive it. Nothing fails.
class SummarisationManager {
public:
    explicit SummarisationManager(UserDefaults& defaults,
                                  SystemLanguageModel& system = SystemLanguageModel::standard());
    SummarisationManager(const SummarisationManager&) = delete;
    SummarisationManager& operator=(const SummarisationManager&) = delete;

    [[nodiscard]] bool useLocal() const;
    void setUseLocal(bool useLocal);
    /// Whether the cloud may be used when this device cannot.
    [[nodiscard]] bool cloudFallback() const;
    void setCloudFallback(bool cloudFallback);

    Published<QString> localAvailabilityStatus{QStringLiteral("checking")};
    Published<bool> localAvailable{false};

    /// Settles the two above before it returns.
    void checkLocalAvailability();

private:
    UserDefaults& m_defaults;
    SystemLanguageModel& m_system;
};

} // namespace quillet
