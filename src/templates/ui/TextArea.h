#pragma once

#include <QPlainTextEdit>

namespace quillet {

/// Several lines of text in the monospaced style, framed like the other fields. The Tab key leaves it. Owned by its
/// form; main thread.
class TextArea final : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit TextArea(const QString& accessibleName, QWidget* parent = nullptr);

protected:
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
};

} // namespace quillet
