#pragma once

#include <QDialog>

class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

namespace quillet {

/// A window-modal form over its window: a headline, contents, and a row of buttons at the end. Escape presses the
/// cancel button. It is deleted when it closes, and closes with its window.
class Sheet : public QDialog {
    Q_OBJECT
public:
    Sheet(const QString& title, QWidget* parent);

    [[nodiscard]] QVBoxLayout* contents() const { return m_contents; }
    /// Added from the leading to the trailing side. The cancel button also answers Escape; the default button Return,
    /// and Ctrl+Return from where Return means something else.
    QPushButton* addButton(const QString& text);
    QPushButton* addCancelButton(const QString& text);
    QPushButton* addDefaultButton(const QString& text);

    void reject() override;

private:
    QVBoxLayout* m_contents;
    QHBoxLayout* m_buttons;
    QPushButton* m_cancel = nullptr;
};

} // namespace quillet
