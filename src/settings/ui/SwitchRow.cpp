#include "settings/ui/SwitchRow.h"

#include "widgets/Controls.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace quillet {

QCheckBox* addSwitchRow(QVBoxLayout& column, const QString& title, const QString& explanation, QWidget* parent) {
    auto* const row = new QHBoxLayout;
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(new TextLabel(title, TextStyle::Body, Ink::Label, parent));
    if (!explanation.isEmpty())
        texts->addWidget(new TextLabel(explanation, TextStyle::Caption, Ink::Secondary, parent));
    row->addLayout(texts, 1);
    QCheckBox* const box = makeSwitch({}, parent);
    box->setAccessibleName(title);
    box->setAccessibleDescription(explanation);
    row->addWidget(box, 0, Qt::AlignVCenter);
    column.addLayout(row);
    return box;
}

} // namespace quillet
