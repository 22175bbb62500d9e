#include "templates/ui/TemplateRowView.h"

#include "templates/TemplateNames.h"
#include "widgets/Controls.h"
#include "widgets/Symbol.h"
#include "widgets/Theme.h"

#include <QAbstractButton>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QStyleOptionFocusRect>

#include <algorithm>

namespace quillet {
namespace {

Theme& theme() { return Theme::shared(); }

/// The leading part of a row: selection mark, name and badges, all of it one button.
class SelectButton final : public QAbstractButton {
public:
    SelectButton(const QString& name, const QStringList& badges, QWidget* parent)
        : QAbstractButton(parent), m_line(templateNameForOneLine(name, kShownCharacters)) {
        setCheckable(true);
        setAttribute(Qt::WA_Hover);
        setAccessibleName(name);
        setAccessibleDescription(badges.join(QLatin1String(", ")));
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        setTextStyle(*this, TextStyle::SubheadlineMedium);
        for (const QString& text : badges) {
            m_badges.push_back(new Badge(text, this));
            m_badges.back()->setAttribute(Qt::WA_TransparentForMouseEvents);
        }
    }

    [[nodiscard]] QSize sizeHint() const override {
        return {theme().scaled(160), std::max(markSide(), fontMetrics().height()) + 2 * theme().scaled(7)};
    }

protected:
    /// The mark tells the active template, which a click alone does not decide.
    void nextCheckState() override {}

    void resizeEvent(QResizeEvent*) override { layOut(); }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (underMouse() || isDown()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme().fill(isDown() ? Fill::ControlPressed : Fill::Control));
            const double radius = theme().scaled(6);
            painter.drawRoundedRect(rect(), radius, radius);
        }
        const QPixmap mark =
            symbolPixmap(isChecked() ? QStringLiteral("checkmark.circle.fill") : QStringLiteral("circle"), markSide(),
                         devicePixelRatioF(), theme().ink(isChecked() ? Ink::Accent : Ink::Secondary));
        painter.drawPixmap(visual({margin(), (height() - markSide()) / 2, markSide(), markSide()}).topLeft(), mark);
        painter.setPen(theme().ink(Ink::Label));
        const QRect place = visual({textStart(), 0, nameWidth(), height()});
        painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine,
                         fontMetrics().elidedText(m_line, Qt::ElideRight, place.width()));
        if (hasFocus()) {
            QStyleOptionFocusRect option;
            option.initFrom(this);
            style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
        }
    }

    bool event(QEvent* event) override {
        if (event->type() == QEvent::FontChange) layOut();
        return QAbstractButton::event(event);
    }

private:
    static constexpr int kShownCharacters = 300; ///< more than any window shows; measuring text takes time

    static int margin() { return theme().scaled(8); }
    static int gap() { return theme().scaled(6); }
    static int markSide() { return theme().scaled(16); }
    static int textStart() { return margin() + markSide() + theme().scaled(8); }

    [[nodiscard]] int availableWidth() const { return std::max(0, width() - textStart() - margin()); }
    [[nodiscard]] int shownBadgesWidth() const {
        int all = 0;
        for (const Badge* badge : m_badges) all += badge->isHidden() ? 0 : gap() + badge->sizeHint().width();
        return all;
    }
    [[nodiscard]] int wholeNameWidth() const { return fontMetrics().horizontalAdvance(m_line) + 2; }
    [[nodiscard]] int nameWidth() const {
        return std::clamp(wholeNameWidth(), 0, std::max(0, availableWidth() - shownBadgesWidth()));
    }
    [[nodiscard]] QRect visual(const QRect& logical) const {
        return QStyle::visualRect(layoutDirection(), rect(), logical);
    }
    void layOut() {
        // A badge gives way to the name: most of the room is the name's when both do not fit.
        int room = availableWidth() - std::min(wholeNameWidth(), availableWidth() * 3 / 5);
        for (Badge* badge : m_badges) {
            room -= gap() + badge->sizeHint().width();
            badge->setVisible(room >= 0);
        }
        int x = textStart() + nameWidth() + gap();
        for (Badge* badge : m_badges) {
            const QSize size = badge->sizeHint();
            badge->setGeometry(visual({x, (height() - size.height()) / 2, size.width(), size.height()}));
            x += size.width() + gap();
        }
    }

    const QString m_line;
    std::vector<Badge*> m_badges;
};

} // namespace

TemplateRowView::TemplateRowView(const MeetingTemplate& meetingTemplate, bool isSelected,
                                 const TemplateRowActions& actions, QWidget* parent)
    : QWidget(parent), m_template(meetingTemplate), m_isSelected(isSelected) {
    setAccessibleName(m_template.name);
    m_lines = new QBoxLayout(QBoxLayout::LeftToRight, this);
    m_lines->setContentsMargins(0, 0, theme().scaled(4), 0);
    m_lines->setSpacing(theme().scaled(2));

    QStringList badges;
    if (m_template.isDefault) badges.append(tr("Default"));
    if (m_template.isBuiltIn) badges.append(tr("Built-in"));
    auto* const select = new SelectButton(m_template.name, badges, this);
    select->setChecked(isSelected);
    connect(select, &QAbstractButton::clicked, this, actions.onSelect);
    m_lines->addWidget(select, 1);
    m_controls.push_back(select);
    m_icons = new QHBoxLayout;
    m_icons->setSpacing(m_lines->spacing());
    m_icons->addStretch();
    m_lines->addLayout(m_icons);

    addIconButton(tr("Preview"), QStringLiteral("eye"), actions.onPreview);
    if (!m_template.isBuiltIn) {
        addIconButton(tr("Edit"), QStringLiteral("pencil"), actions.onEdit);
        addIconButton(tr("Export"), QStringLiteral("square.and.arrow.up"), actions.onExport);
        addIconButton(tr("Delete"), QStringLiteral("trash"), actions.onDelete);
    }
    setTabStop(false);
}

void TemplateRowView::addIconButton(const QString& name, const QString& symbol, const std::function<void()>& action) {
    QPushButton* const button = makeIconButton(name, symbol, this);
    button->setAccessibleDescription(m_template.name);
    connect(button, &QPushButton::clicked, this, action);
    m_icons->addWidget(button);
    m_controls.push_back(button);
}

void TemplateRowView::setForm(Form form) {
    m_lines->setDirection(form == Form::OneLine ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
}

int TemplateRowView::heightOf(Form form) {
    const int text = QFontMetrics(theme().font(TextStyle::SubheadlineMedium)).height();
    const int line = std::max(text, theme().scaled(16)) + 2 * theme().scaled(8);
    return form == Form::OneLine ? line : 2 * line;
}

void TemplateRowView::setSelected(bool isSelected) {
    m_isSelected = isSelected;
    m_controls.front()->setChecked(isSelected);
    update();
}

void TemplateRowView::setTabStop(bool isTabStop) {
    for (QAbstractButton* control : m_controls) control->setFocusPolicy(isTabStop ? Qt::StrongFocus : Qt::ClickFocus);
}

void TemplateRowView::paintEvent(QPaintEvent*) {
    if (!m_isSelected) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().fill(Fill::Selection));
    const double radius = theme().scaled(6);
    painter.drawRoundedRect(rect(), radius, radius);
}

} // namespace quillet
