#pragma once

#include "templates/MeetingTemplate.h"
#include "widgets/Sheet.h"

#include <QString>

#include <functional>
#include <optional>

class QLineEdit;
class QVBoxLayout;

namespace quillet {

class TextArea;

/// The form for a template's name and content, with a button for each placeholder. Return saves, in the content
/// Ctrl+Return; Escape cancels. It decides nothing: the owner is told what was entered and closes the sheet. What was
/// not edited comes back exactly as it was given.
class TemplateEditorSheet : public Sheet {
    Q_OBJECT
public:
    using OnSave = std::function<void(const QString& name, const QString& content)>;

    [[nodiscard]] QString name() const;
    [[nodiscard]] QString content() const;

protected:
    TemplateEditorSheet(const QString& title, const QString& name, const QString& content, const OnSave& onSave,
                        const std::function<void()>& onCancel, QWidget* parent);

private:
    QVBoxLayout& addCaptioned(const QString& caption);
    void addFields();
    void addPlaceholders();
    void addButtons(const OnSave& onSave, const std::function<void()>& onCancel);
    void append(const QString& placeholder);

    const QString m_givenName;
    const QString m_givenContent;
    QString m_shownName; ///< what the fields make of the given texts
    QString m_shownContent;
    QLineEdit* m_name;
    TextArea* m_content;
};

/// Starts with the body of the default template.
class NewTemplateSheet final : public TemplateEditorSheet {
    Q_OBJECT
public:
    NewTemplateSheet(const OnSave& onSave, const std::function<void()>& onCancel, QWidget* parent);
};

/// Starts with the template's own texts, or empty.
class EditTemplateSheet final : public TemplateEditorSheet {
    Q_OBJECT
public:
    EditTemplateSheet(const std::optional<MeetingTemplate>& meetingTemplate, const OnSave& onSave,
                      const std::function<void()>& onCancel, QWidget* parent);
};

} // namespace quillet
