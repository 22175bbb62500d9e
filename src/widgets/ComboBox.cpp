#include "widgets/ComboBox.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QStyleOptionComboBox>
#include <QWheelEvent>

namespace quillet {
namespace {

/// Its one child is the list of the choices, in which the present one is selected, as readers of the value expect.
class AccessibleComboBox final : public QAccessibleWidget {
public:
    explicit AccessibleComboBox(ComboBox* box) : QAccessibleWidget(box, QAccessible::ComboBox) {}

    [[nodiscard]] int childCount() const override { return 1; }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(list()) : nullptr;
    }
    [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        return child->object() == box()->view() ? 0 : -1;
    }

    [[nodiscard]] QString text(QAccessible::Text part) const override {
        return part == QAccessible::Value ? box()->currentText() : QAccessibleWidget::text(part);
    }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.expandable = true;
        state.expanded = box()->view()->isVisible();
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }
    void doAction(const QString& action) override {
        if (!actionNames().contains(action)) return QAccessibleWidget::doAction(action);
        if (box()->view()->isVisible())
            box()->hidePopup();
        else
            box()->showPopup();
    }

private:
    [[nodiscard]] ComboBox* box() const { return static_cast<ComboBox*>(object()); }
    /// The toolkit selects the present choice only when the list opens.
    [[nodiscard]] QAbstractItemView* list() const {
        QAbstractItemView* const list = box()->view();
        if (!list->isVisible())
            list->setCurrentIndex(box()->model()->index(box()->currentIndex(), box()->modelColumn()));
        return list;
    }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* const box = qobject_cast<ComboBox*>(object);
    return box ? new AccessibleComboBox(box) : nullptr;
}

} // namespace

ComboBox::ComboBox(QWidget* parent) : QComboBox(parent) {
    setFocusPolicy(Qt::StrongFocus);
    static const bool installed = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    static_cast<void>(installed);
}

void ComboBox::initStyleOption(QStyleOptionComboBox* option) const {
    QComboBox::initStyleOption(option);
    const QRect field = style()->subControlRect(QStyle::CC_ComboBox, option, QStyle::SC_ComboBoxEditField, this);
    option->currentText = fontMetrics().elidedText(option->currentText, Qt::ElideRight, field.width() - 2);
}

void ComboBox::wheelEvent(QWheelEvent* event) { event->ignore(); }

} // namespace quillet
