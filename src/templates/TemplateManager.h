#pragma once

#include "support/Published.h"
#include "support/UserDefaults.h"
#include "templates/MeetingTemplate.h"

#include <optional>
#include <vector>

namespace quillet {

/// Keeps the user's own templates and the choice of the active one, and stores both at once with every change. What
/// is stored is read when the manager is made and never again. The composition root makes the one of the program on
/// first use. Main thread only. Nothing fails here: stored templates that cannot be read count as none (and stay
/// stored until the next change), and an unknown id changes nothing.
class TemplateManager {
public:
    /// The defaults must outlive it.
    explicit TemplateManager(UserDefaults& defaults);

    /// In the order in which they were added.
    Published<std::vector<MeetingTemplate>> customTemplates;
    /// Built-in or custom. It may name no template: built-in ones have a new id in every process.
    Published<std::optional<QUuid>> selectedTemplateId;

    void selectTemplate(const QUuid& id);
    void addTemplate(const MeetingTemplate& meetingTemplate);
    /// Any number, stored once.
    void addTemplates(const std::vector<MeetingTemplate>& added);
    /// Replaces the first custom template with the same id.
    void updateTemplate(const MeetingTemplate& meetingTemplate);
    /// Removes every custom template with this id; when it was the active one, the default becomes active.
    void deleteTemplate(const QUuid& id);

    /// Rendered with the facts of a made-up meeting.
    [[nodiscard]] QString previewTemplate(const MeetingTemplate& meetingTemplate) const;
    /// The built-in templates, then the custom ones.
    [[nodiscard]] std::vector<MeetingTemplate> allTemplates() const;

private:
    void loadCustomTemplates();
    void loadSelectedTemplateId();
    void saveCustomTemplates();

    UserDefaults& m_defaults;
};

} // namespace quillet
