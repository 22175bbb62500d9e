#include "templates/TemplateManager.h"

#include "support/Require.h"
#include "templates/TemplateRecords.h"

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

std::optional<QUuid> defaultTemplateId() {
    const auto& builtIn = MeetingTemplate::builtInTemplates();
    const auto found = std::find_if(builtIn.begin(), builtIn.end(), [](const auto& each) { return each.isDefault; });
    return found == builtIn.end() ? std::nullopt : std::optional(found->id);
}

auto hasId(const QUuid& id) {
    return [id](const MeetingTemplate& each) { return each.id == id; };
}

MeetingContext sampleContext() {
    return MeetingContext({
        .title = QStringLiteral("Q1 Planning Meeting"),
        .formattedDate = QStringLiteral("March 1, 2026 at 10:00 AM"),
        .formattedDuration = QStringLiteral("45 minutes"),
        .attendees = QStringLiteral("• Alice Johnson\n• Bob Smith\n• Carol Williams"),
        .aiSummary = QStringLiteral(
            "The team discussed Q1 objectives, focusing on product launches and marketing campaigns. Key priorities "
            "include launching the new mobile app by end of March and increasing social media engagement by 25%."),
        .keyDecisions = QStringLiteral("• Approved Q1 budget of $50K for marketing\n"
                                       "• Mobile app launch target: March 31, 2026\n"
                                       "• New hiring freeze lifted for engineering team"),
        .actionItems = QStringLiteral("• Alice to finalize mobile app launch checklist (due: March 15)\n"
                                      "• Bob to create social media calendar (due: March 10)\n"
                                      "• Carol to post job listings for 2 engineers (due: March 5)"),
        .followUps = QStringLiteral("• Follow up with legal on app compliance\n• Schedule review meeting for March 20"),
        .transcript = QStringLiteral("[Full transcript would appear here with speaker labels...]"),
        .recordingURL = std::nullopt,
        .recordedAt = std::chrono::system_clock::now(),
    });
}

} // namespace

TemplateManager::TemplateManager(UserDefaults& defaults) : m_defaults(defaults) {
    loadCustomTemplates();
    loadSelectedTemplateId();
}

void TemplateManager::loadCustomTemplates() {
    const auto stored = m_defaults.data(DefaultsKeys::customTemplates);
    if (!stored) return customTemplates.set({});
    auto decoded = TemplateRecords::decodeList(*stored);
    customTemplates.set(decoded ? std::move(*decoded) : std::vector<MeetingTemplate>{});
}

void TemplateManager::loadSelectedTemplateId() {
    const auto stored = m_defaults.string(DefaultsKeys::selectedTemplateId);
    const auto id = stored ? TemplateRecords::parseUuid(*stored) : std::nullopt;
    selectedTemplateId.set(id ? id : defaultTemplateId());
}

void TemplateManager::saveCustomTemplates() {
    m_defaults.set(DefaultsKeys::customTemplates, TemplateRecords::encode(customTemplates.value()));
}

void TemplateManager::selectTemplate(const QUuid& id) {
    const QUuid chosen = id; // the reference may point into what the subscribers replace
    selectedTemplateId.set(chosen);
    m_defaults.set(DefaultsKeys::selectedTemplateId, TemplateRecords::uuidText(chosen));
}

void TemplateManager::addTemplate(const MeetingTemplate& meetingTemplate) { addTemplates({meetingTemplate}); }

void TemplateManager::addTemplates(const std::vector<MeetingTemplate>& added) {
    auto templates = customTemplates.value();
    templates.insert(templates.end(), added.begin(), added.end());
    customTemplates.set(std::move(templates));
    saveCustomTemplates();
}

void TemplateManager::updateTemplate(const MeetingTemplate& meetingTemplate) {
    auto templates = customTemplates.value();
    const auto found = std::find_if(templates.begin(), templates.end(), hasId(meetingTemplate.id));
    if (found == templates.end()) return;
    *found = meetingTemplate;
    customTemplates.set(std::move(templates));
    saveCustomTemplates();
}

void TemplateManager::deleteTemplate(const QUuid& id) {
    const QUuid deleted = id; // the reference may point into the list that is replaced
    auto templates = customTemplates.value();
    const auto found = std::find_if(templates.begin(), templates.end(), hasId(deleted));
    if (found == templates.end() || found->isBuiltIn) return;
    std::erase_if(templates, hasId(deleted));
    customTemplates.set(std::move(templates));
    saveCustomTemplates();
    if (selectedTemplateId.value() != deleted) return;
    const auto& builtIn = MeetingTemplate::builtInTemplates();
    require(!builtIn.empty(), "there are no built-in templates");
    selectTemplate(defaultTemplateId().value_or(builtIn.front().id));
}

QString TemplateManager::previewTemplate(const MeetingTemplate& meetingTemplate) const {
    return meetingTemplate.render(sampleContext());
}

std::vector<MeetingTemplate> TemplateManager::allTemplates() const {
    auto all = MeetingTemplate::builtInTemplates();
    all.insert(all.end(), customTemplates.value().begin(), customTemplates.value().end());
    return all;
}

} // namespace quillet
