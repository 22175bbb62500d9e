#include "settings/ui/Picker.h"

#include <QSignalBlocker>
#include <QStyleOptionComboBox>

#include <algorithm>

namespace quillet {
namespace {

constexpr int kMostLetters = 16; ///< of the width that is asked for
constexpr int kMostItems = 200;  ///< that are looked at for it

} // namespace

Picker::Picker(QWidget* parent) : ComboBox(parent) {
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

TextLabel* Picker::makeLabel(const QString& text) {
    auto* const label = new TextLabel(text, TextStyle::Body, Ink::Label, parentWidget());
    label->setWordWrap(false);
    label->setBuddy(this);
    setAccessibleName(text);
    return label;
}

void Picker::setItems(const std::vector<Item>& items, const QString& chosen) {
    const QSignalBlocker quiet(this);
    int same = 0;
    const auto isSame = [&](const Item& item) {
        const int index = same++;
        return itemText(index) == item.text && itemData(index).toString() == item.data;
    };
    if (count() != static_cast<int>(items.size()) || !std::all_of(items.begin(), items.end(), isSame)) {
        clear();
        for (const Item& item : items) addItem(item.text, item.data);
    }
    setCurrentIndex(std::max(0, findData(chosen)));
}

QSize Picker::minimumSizeHint() const {
    const int most = fontMetrics().averageCharWidth() * kMostLetters;
    int widest = most / 3;
    for (int item = 0; item < std::min(count(), kMostItems) && widest < most; ++item)
        widest = std::max(widest, std::min(most, fontMetrics().horizontalAdvance(itemText(item))));
    QStyleOptionComboBox option;
    QComboBox::initStyleOption(&option);
    return style()->sizeFromContents(QStyle::CT_ComboBox, &option, {widest + 4, fontMetrics().height()}, this);
}

void alignLabels(std::initializer_list<QLabel*> labels) {
    const auto align = [all = std::vector<QLabel*>(labels)] {
        int widest = 0;
        for (QLabel* const label : all) {
            label->setMinimumWidth(0);
            widest = std::max(widest, label->sizeHint().width());
        }
        for (QLabel* const label : all) label->setMinimumWidth(widest);
    };
    align();
    QObject::connect(&Theme::shared(), &Theme::changed, *labels.begin(), align);
}

} // namespace quillet
