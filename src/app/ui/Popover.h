#pragma once

#include "app/PopoverPlacement.h"

#include <QElapsedTimer>
#include <QWidget>

#include <functional>

class QVBoxLayout;

namespace quillet {

/// The small window under the status item, and, where no status item is to be seen, the same content as an ordinary
/// window. As a popover it has no frame, stands beside the item and hides when the user turns to something else, unless
/// its content asks for an answer. Owned by the application delegate for the life of the program; main thread.
class Popover final : public QWidget {
    Q_OBJECT
public:
    /// mayHide is asked before the popover hides by itself. The content becomes a part of the popover.
    Popover(QWidget* content, std::function<bool()> mayHide);

    /// What the ordinary window shows besides the content, such as the button for the menu; only there.
    void setWindowBar(QWidget* bar);

    [[nodiscard]] bool isShown() const { return isVisible(); }
    /// Hides, or shows beside the item. A press that has just hidden the popover does not show it again: the panel
    /// takes the focus from it before it tells of the press.
    void toggle(const PopoverAnchor& anchor);
    void showBeside(const PopoverAnchor& anchor);
    void showAsWindow();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Form { Popover, Window };
    void setForm(Form form);
    void hideUnlessNeeded();
    [[nodiscard]] QSize cardSize() const;

    QWidget* const m_content;
    const std::function<bool()> m_mayHide;
    QVBoxLayout* m_column;
    QWidget* m_windowBar = nullptr;
    Form m_form = Form::Popover;
    bool m_isTranslucent = false; ///< the window system lays windows over each other with their shadows
    QElapsedTimer m_sinceLeft;    ///< since it hid because the focus went elsewhere
};

} // namespace quillet
