#include "summarisation/SummarisationManager.h"

namespace quillet {

SummarisationManager::SummarisationManager(UserDefaults& defaults, SystemLanguageModel& system)
    : m_defaults(defaults), m_system(system) {
    checkLocalAvailability();
}

bool SummarisationManager::useLocal() const { return m_defaults.boolean(DefaultsKeys::useLocalSummarisation, true); }

void SummarisationManager::setUseLocal(bool useLocal) { m_defaults.set(DefaultsKeys::useLocalSummarisation, useLocal); }

bool SummarisationManager::cloudFallback() const {
    return m_defaults.boolean(DefaultsKeys::cloudFallbackEnabled, true);
}

void SummarisationManager::setCloudFallback(bool cloudFallback) {
    m_defaults.set(DefaultsKeys::cloudFallbackEnabled, cloudFallback);
}

void SummarisationManager::checkLocalAvailability() {
    const bool isOffered = m_system.isOfferedBySystem();
    localAvailabilityStatus.set(isOffered ? QStringLiteral("available") : QStringLiteral("Requires macOS 26.0+"));
    localAvailable.set(isOffered);
}

} // namespace quillet
