#include "widgets/Sheet.h"

#include "widgets/Controls.h"

#include <QHBoxLayout>
#include <QShortcut>
#include <QVBoxLayout>

namespace quillet {

namespace {

constexpr double kPadding = 6; ///< of the buttons, which are all of one height

} // namespace

Sheet::Sheet(const QString& title, QWidget* parent) : QDialog(parent, Qt::Sheet) {
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(12);
    column->addWidget(new TextLabel(title, TextStyle::Headline, Ink::Label, this));
    m_contents = new QVBoxLayout;
    m_contents->setSpacing(10);
    column->addLayout(m_contents, 1);
    m_buttons = new QHBoxLayout;
    m_buttons->setSpacing(10);
    m_buttons->addStretch();
    column->addLayout(m_buttons);
}

QPushButton* Sheet::addButton(const QString& text) {
    QPushButton* const button = makeButton(text, ButtonRole::Bordered, {}, this);
    setVerticalPadding(*button, kPadding);
    m_buttons->addWidget(button);
    return button;
}

QPushButton* Sheet::addCancelButton(const QString& text) { return m_cancel = addButton(text); }

QPushButton* Sheet::addDefaultButton(const QString& text) {
    QPushButton* const button = makeButton(text, ButtonRole::Prominent, {}, this);
    setVerticalPadding(*button, kPadding);
    m_buttons->addWidget(button);
    button->setDefault(true);
    auto* const anywhere = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return), this);
    connect(anywhere, &QShortcut::activated, button, [button] { button->click(); });
    return button;
}

void Sheet::reject() {
    if (m_cancel) return m_cancel->click();
    QDialog::reject();
}

} // namespace quillet
