#pragma once

#include "Catalogue.h"
#include "support/ShownTexts.h"
#include "support/Widgets.h"
#include "widgets/Controls.h"

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QCoreApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QTranslator>

#include <algorithm>
#include <set>

namespace quillet::test {

/// Puts every text that is asked for in marks, and remembers what was asked. Texts of the toolkit stay as they are, and
/// so do messages of which the catalogues do not know.
class MarkingTranslator final : public QTranslator {
public:
    MarkingTranslator() { QCoreApplication::installTranslator(this); }
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char* context, const char* source, const char* comment, int) const override {
        const QString from = QString::fromUtf8(context);
        const QString text = QString::fromUtf8(source);
        if (from == QLatin1String("Messages")) {
            const auto known = shownTexts();
            if (std::none_of(known.begin(), known.end(),
                             [&](const char* each) { return text == QString::fromUtf8(each); }))
                return {};
        } else if (from != QLatin1String("Placeholders") && !from.startsWith(QLatin1String("quillet::"))) {
            return {};
        }
        m_asked.insert({from, text, QString::fromUtf8(comment)});
        return u'«' + text + u'»';
    }
    [[nodiscard]] const std::set<Catalogue::Key>& asked() const { return m_asked; }

private:
    mutable std::set<Catalogue::Key> m_asked;
};

/// What the user reads or is read out: texts, names, tool tips, prompts and entries of menus of the visible widgets.
inline QStringList textsOf(QWidget& root) {
    QStringList all;
    QList<QWidget*> widgets = root.findChildren<QWidget*>();
    widgets.prepend(&root);
    for (QWidget* const widget : widgets) {
        if (!widget->isVisible()) continue;
        all << widget->toolTip() << widget->accessibleName() << widget->accessibleDescription();
        if (widget->isWindow()) all << widget->windowTitle();
        if (auto* const label = qobject_cast<QLabel*>(widget)) all << label->text();
        if (auto* const button = qobject_cast<QAbstractButton*>(widget)) all << button->text();
        if (auto* const field = qobject_cast<QLineEdit*>(widget)) all << field->placeholderText();
        if (auto* const box = qobject_cast<QComboBox*>(widget)) {
            for (int i = 0; i < box->count(); ++i) all << box->itemText(i);
        }
        if (auto* const list = qobject_cast<QListWidget*>(widget)) {
            for (int i = 0; i < list->count(); ++i) all << list->item(i)->text();
        }
    }
    all.removeAll(QString());
    return all;
}

/// Each text of the window is translated, unless it is the user's or a placeholder, a path or a time.
inline void expectAllMarked(QWidget& root, const QStringList& data) {
    static const QRegularExpression marked(u"^«.*»$"_s, QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression plain(u"^(\\{\\{\\w+\\}\\}|[/~].*|\\d+:\\d\\d)$"_s);
    const QStringList texts = textsOf(root);
    EXPECT_FALSE(texts.isEmpty());
    for (const QString& text : texts) {
        const bool isData = data.contains(text) || plain.match(text).hasMatch();
        EXPECT_TRUE(isData || marked.match(text).hasMatch()) << "not translatable: " << text.toStdString();
    }
}

/// Up to the window, or to what scrolls.
inline bool liesInsideItsParents(QWidget& widget) {
    for (QWidget* parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto* const area = qobject_cast<QAbstractScrollArea*>(parent->parentWidget()))
            return area->viewport() != parent || area->horizontalScrollBar()->maximum() == 0;
        if (!parent->rect().contains(QRect(widget.mapTo(parent, QPoint(0, 0)), widget.size()))) return false;
        if (parent->isWindow()) break;
    }
    return true;
}

inline void expectNoScrolling(QWidget& root) {
    for (QScrollArea* const area : root.findChildren<QScrollArea*>()) {
        EXPECT_TRUE(!area->isVisible() || area->verticalScrollBar()->maximum() == 0)
            << "by " << area->verticalScrollBar()->maximum();
    }
}

inline void expectNothingCut(QWidget& root) {
    int looked = 0;
    for (QWidget* const widget : root.findChildren<QWidget*>()) {
        auto* const label = qobject_cast<QLabel*>(widget);
        const bool isButton = qobject_cast<QPushButton*>(widget) || qobject_cast<QCheckBox*>(widget);
        if (!widget->isVisible()) continue;
        // Whatever wraps has room for all its lines, also what draws its text by itself.
        EXPECT_GE(widget->height(), widget->hasHeightForWidth() ? widget->heightForWidth(widget->width())
                                                                : widget->minimumSizeHint().height())
            << widget->metaObject()->className() << ' ' << accessibleName(*widget).toStdString();
        if (!label && !isButton) continue;
        ++looked;
        SCOPED_TRACE(testing::Message() << "text: " << (label ? label->text() : accessibleName(*widget)).toStdString());
        EXPECT_TRUE(liesInsideItsParents(*widget));
        if (isButton || !label->wordWrap()) {
            EXPECT_GE(widget->width(), widget->sizeHint().width());
            EXPECT_GE(widget->height(), widget->sizeHint().height());
        }
    }
    EXPECT_GT(looked, 0);
}

} // namespace quillet::test
