#include "widgets/Style.h"

#include "widgets/Controls.h"
#include "widgets/Symbol.h"
#include "widgets/Theme.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>

namespace quillet {
namespace {

constexpr int kLeastMargin = 2; ///< beside a button's text, which is cut before

Theme& theme() { return Theme::shared(); }

/// What a button's role means for its form; lengths at the normal text size.
struct ButtonForm {
    double radius;
    double horizontalPadding;
    double verticalPadding;
};

ButtonForm form(ButtonRole role) {
    switch (role) {
    case ButtonRole::Bordered:
        return {8, 12, 5};
    case ButtonRole::Prominent:
        return {8, 14, 8};
    case ButtonRole::Plain:
        return {5, 4, 2};
    case ButtonRole::Icon:
        return {6, 5, 5};
    }
    return {};
}

QColor faded(QColor color, bool enabled) {
    if (!enabled) color.setAlphaF(color.alphaF() * 0.38F);
    return color;
}

/// Grounds for white text: at least 4.5:1.
QColor tintGround(Tint tint) { return tint == Tint::Record ? QColor(0xc9282a) : QColor(0x0a63da); }

/// Along the inner edge, so that what has the focus lines up with what has none.
void drawFocusRing(QPainter& painter, QRectF rect, double radius, Ink ink = Ink::Accent) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme().ink(ink), 2));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
}

bool showsFocus(const QStyleOption& option) {
    return (option.state & QStyle::State_HasFocus) && (option.state & QStyle::State_KeyboardFocusChange);
}

QColor controlFill(QStyle::State state) {
    if (!(state & QStyle::State_Enabled)) return theme().fill(Fill::Control);
    if (state & QStyle::State_Sunken) return theme().fill(Fill::ControlPressed);
    if (state & QStyle::State_MouseOver) return theme().fill(Fill::ControlHover);
    return theme().fill(Fill::Control);
}

int iconSide(const QStyleOptionButton& option) { return option.icon.isNull() ? 0 : option.fontMetrics.height(); }

int iconGap(const QStyleOptionButton& option) {
    return option.icon.isNull() || option.text.isEmpty() ? 0 : theme().scaled(6);
}

} // namespace

Style::Style() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

void Style::polish(QWidget* widget) {
    if (qobject_cast<QAbstractButton*>(widget) || qobject_cast<QComboBox*>(widget) || qobject_cast<QScrollBar*>(widget))
        widget->setAttribute(Qt::WA_Hover);
    QProxyStyle::polish(widget);
}

void Style::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                        const QWidget* widget) const {
    if (element == CE_PushButtonBevel) {
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option))
            return drawButton(*button, *painter, widget);
    }
    if (element == CE_PushButtonLabel) {
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option))
            return drawButtonLabel(*button, *painter, widget);
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void Style::drawButton(const QStyleOptionButton& option, QPainter& painter, const QWidget* widget) const {
    const ButtonRole role = buttonRole(widget);
    const double radius = theme().scaled(form(role).radius);
    const QRectF rect(option.rect);
    const bool enabled = option.state & State_Enabled;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (role == ButtonRole::Prominent) {
        QColor ground = tintGround(buttonTint(widget));
        if (option.state & State_Sunken)
            ground = ground.darker(116);
        else if (option.state & State_MouseOver)
            ground = ground.lighter(106);
        painter.setBrush(faded(ground, enabled));
        painter.drawRoundedRect(rect, radius, radius);
    } else if (role == ButtonRole::Bordered || (option.state & (State_MouseOver | State_Sunken) && enabled)) {
        painter.setBrush(controlFill(option.state));
        painter.drawRoundedRect(rect, radius, radius);
        if (role == ButtonRole::Bordered) {
            const bool isDefault = option.features & QStyleOptionButton::DefaultButton && enabled;
            painter.setBrush(Qt::NoBrush);
            painter.setPen(
                QPen(isDefault ? theme().ink(Ink::Accent) : theme().fill(Fill::Border), isDefault ? 1.5 : 1));
            painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
        }
    }
    if (showsFocus(option)) {
        if (role == ButtonRole::Prominent)
            drawFocusRing(painter, rect.adjusted(2, 2, -2, -2), radius - 2, Ink::OnTint);
        else
            drawFocusRing(painter, rect, radius);
    }
    painter.restore();
}

void Style::drawButtonLabel(const QStyleOptionButton& option, QPainter& painter, const QWidget* widget) const {
    const ButtonRole role = buttonRole(widget);
    const bool enabled = option.state & State_Enabled;
    QColor ink = theme().ink(role == ButtonRole::Prominent ? Ink::OnTint : Ink::Label);
    if (role == ButtonRole::Icon) ink = theme().ink(Ink::Secondary);
    if (role == ButtonRole::Icon && option.state & State_MouseOver) ink = theme().ink(Ink::Label);
    ink = faded(ink, enabled || role == ButtonRole::Prominent);

    const int side = iconSide(option);
    const int gap = iconGap(option);
    const int available = std::max(0, option.rect.width() - 2 * kLeastMargin - side - gap);
    const QString text = option.fontMetrics.elidedText(option.text, Qt::ElideRight, available, Qt::TextShowMnemonic);
    const int textWidth = option.fontMetrics.size(Qt::TextShowMnemonic, text).width();
    int x = option.rect.x() + (option.rect.width() - side - gap - textWidth) / 2;
    painter.save();
    if (side > 0) {
        const int y = option.rect.y() + (option.rect.height() - side) / 2;
        const QString symbol = option.icon.name();
        if (symbol.isEmpty()) {
            option.icon.paint(&painter, QRect(x, y, side, side));
        } else {
            painter.drawPixmap(x, y, symbolPixmap(symbol, side, painter.device()->devicePixelRatioF(), ink));
        }
        x += side + gap;
    }
    painter.setPen(ink);
    painter.drawText(QRect(x, option.rect.y(), textWidth + 2, option.rect.height()),
                     Qt::AlignVCenter | Qt::AlignLeft | Qt::TextShowMnemonic, text);
    painter.restore();
}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                          const QWidget* widget) const {
    switch (element) {
    case PE_IndicatorCheckBox:
        return drawIndicator(*option, *painter, widget);
    case PE_PanelLineEdit: {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const double radius = theme().scaled(6);
        const bool focused = option->state & State_HasFocus;
        painter->setBrush(theme().fill(Fill::Card));
        painter->setPen(QPen(focused ? theme().ink(Ink::Accent) : theme().fill(Fill::Border), focused ? 2 : 1));
        const double inset = focused ? 1 : 0.5;
        painter->drawRoundedRect(QRectF(option->rect).adjusted(inset, inset, -inset, -inset), radius, radius);
        return painter->restore();
    }
    case PE_FrameFocusRect: {
        // Push buttons draw their own, which fits their form.
        if (!(option->state & State_KeyboardFocusChange) || buttonRoleOrNone(widget)) return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        if (isSwitch(widget)) {
            // Over the whole of it, and seen on either ground.
            const bool on = option->state & State_On;
            const double inset = on ? 1 : -1;
            const QRectF whole = QRectF(option->rect).adjusted(inset, inset, -inset, -inset);
            drawFocusRing(*painter, whole, whole.height() / 2, on ? Ink::OnTint : Ink::Accent);
        } else {
            drawFocusRing(*painter, QRectF(option->rect), theme().scaled(5));
        }
        return painter->restore();
    }
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void Style::drawIndicator(const QStyleOption& option, QPainter& painter, const QWidget* widget) const {
    const bool on = option.state & State_On;
    const bool enabled = option.state & State_Enabled;
    const QRectF rect = QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // Off, too, it has to be found, without a text beside it.
    QColor outline = theme().ink(Ink::Secondary);
    outline.setAlphaF(isSwitch(widget) ? 0.45F : 0.75F);
    painter.setBrush(faded(on ? tintGround(Tint::Accent) : outline, enabled));
    painter.setPen(on || isSwitch(widget) ? Qt::NoPen : QPen(faded(outline, enabled), 1));
    if (isSwitch(widget)) {
        const double radius = rect.height() / 2;
        painter.drawRoundedRect(rect, radius, radius);
        const double knob = rect.height() - 4;
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        const bool atRight = on == (option.direction == Qt::LeftToRight);
        painter.drawEllipse(QRectF(atRight ? rect.right() - knob - 2 : rect.left() + 2, rect.top() + 2, knob, knob));
    } else {
        const double radius = rect.height() * 0.28;
        if (!on) painter.setBrush(theme().fill(Fill::Card));
        painter.drawRoundedRect(rect, radius, radius);
        if (on) {
            QPainterPath mark;
            mark.moveTo(rect.left() + rect.width() * 0.24, rect.top() + rect.height() * 0.53);
            mark.lineTo(rect.left() + rect.width() * 0.43, rect.top() + rect.height() * 0.72);
            mark.lineTo(rect.left() + rect.width() * 0.77, rect.top() + rect.height() * 0.30);
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(Qt::white, rect.width() * 0.12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.drawPath(mark);
        }
    }
    painter.restore();
}

void Style::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                               const QWidget* widget) const {
    if (control == CC_ComboBox) {
        if (const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option); box && !box->editable)
            return drawComboBox(*box, *painter);
    }
    if (control == CC_ScrollBar) {
        if (const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option))
            return drawScrollBar(*bar, *painter, widget);
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

void Style::drawComboBox(const QStyleOptionComboBox& option, QPainter& painter) const {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = theme().scaled(form(ButtonRole::Bordered).radius);
    const QRectF rect(option.rect);
    painter.setPen(Qt::NoPen);
    painter.setBrush(controlFill(option.state & ~State_Sunken));
    painter.drawRoundedRect(rect, radius, radius);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme().fill(Fill::Border), 1));
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    if (showsFocus(option)) drawFocusRing(painter, rect, radius);

    const QRectF arrow(subControlRect(CC_ComboBox, &option, SC_ComboBoxArrow, nullptr));
    const double unit = theme().scaled(4);
    const QPointF middle = arrow.center();
    painter.setPen(QPen(faded(theme().ink(Ink::Secondary), option.state & State_Enabled), 1.6, Qt::SolidLine,
                        Qt::RoundCap, Qt::RoundJoin));
    for (const double side : {-1.0, 1.0}) { // up and down: a menu of choices
        QPainterPath chevron;
        chevron.moveTo(middle.x() - unit * 0.8, middle.y() + side * unit * 0.55);
        chevron.lineTo(middle.x(), middle.y() + side * unit * 1.25);
        chevron.lineTo(middle.x() + unit * 0.8, middle.y() + side * unit * 0.55);
        painter.drawPath(chevron);
    }
    painter.restore();
}

void Style::drawScrollBar(const QStyleOptionSlider& option, QPainter& painter, const QWidget* widget) const {
    const QRect slider = subControlRect(CC_ScrollBar, &option, SC_ScrollBarSlider, widget);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (!widget || !widget->parentWidget() || !widget->parentWidget()->testAttribute(Qt::WA_TranslucentBackground))
        painter.fillRect(option.rect, Qt::transparent);
    QColor color = theme().ink(Ink::Label);
    color.setAlphaF(option.state & (State_MouseOver | State_Sunken) ? 0.42F : 0.24F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    const QRectF bar = QRectF(slider).adjusted(3, 3, -3, -3);
    const double radius = std::min(bar.width(), bar.height()) / 2;
    if (option.maximum > option.minimum) painter.drawRoundedRect(bar, radius, radius);
    painter.restore();
}

QSize Style::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                              const QWidget* widget) const {
    if (type == CT_PushButton) {
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option)) {
            const ButtonForm shape = form(buttonRole(widget));
            const int text = button->fontMetrics.size(Qt::TextShowMnemonic, button->text).width();
            const int width = iconSide(*button) + iconGap(*button) + text;
            const int height = button->fontMetrics.height();
            return {width + 2 * theme().scaled(shape.horizontalPadding),
                    height + 2 * theme().scaled(verticalPadding(widget).value_or(shape.verticalPadding))};
        }
    }
    if (type == CT_ComboBox) {
        const QSize base = QProxyStyle::sizeFromContents(type, option, contents, widget);
        return {base.width() + theme().scaled(12), option->fontMetrics.height() + 2 * theme().scaled(5)};
    }
    if (type == CT_LineEdit) {
        const QSize base = QProxyStyle::sizeFromContents(type, option, contents, widget);
        return {base.width(), option->fontMetrics.height() + 2 * theme().scaled(6)};
    }
    return QProxyStyle::sizeFromContents(type, option, contents, widget);
}

QRect Style::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    const int margin = theme().scaled(5);
    return element == SE_LineEditContents ? rect.adjusted(margin, 0, -margin, 0) : rect;
}

QRect Style::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                            const QWidget* widget) const {
    if (control == CC_ComboBox) {
        const int arrow = theme().scaled(20);
        const QRect rect = option->rect;
        if (part == SC_ComboBoxArrow)
            return visualRect(option->direction, rect,
                              QRect(rect.right() - arrow - 3, rect.top(), arrow, rect.height()));
        if (part == SC_ComboBoxEditField)
            return visualRect(option->direction, rect, rect.adjusted(theme().scaled(10), 2, -arrow - 6, -2));
    }
    if (control == CC_ScrollBar) {
        if (part == SC_ScrollBarAddLine || part == SC_ScrollBarSubLine) return {};
        if (part == SC_ScrollBarGroove) return option->rect;
        if (const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option)) {
            const bool horizontal = bar->orientation == Qt::Horizontal;
            const int length = horizontal ? bar->rect.width() : bar->rect.height();
            const qint64 range = qint64(bar->maximum) - bar->minimum;
            const int least = std::min(length, theme().scaled(28));
            int slider = length;
            if (range > 0)
                slider =
                    std::max<int>(least, static_cast<int>(qint64(length) * bar->pageStep / (range + bar->pageStep)));
            const int start = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition, length - slider,
                                                      bar->upsideDown);
            const QRect r = bar->rect;
            if (part == SC_ScrollBarSlider)
                return horizontal ? QRect(r.x() + start, r.y(), slider, r.height())
                                  : QRect(r.x(), r.y() + start, r.width(), slider);
            if (part == SC_ScrollBarSubPage)
                return horizontal ? QRect(r.x(), r.y(), start, r.height()) : QRect(r.x(), r.y(), r.width(), start);
            if (part == SC_ScrollBarAddPage)
                return horizontal ? QRect(r.x() + start + slider, r.y(), length - start - slider, r.height())
                                  : QRect(r.x(), r.y() + start + slider, r.width(), length - start - slider);
        }
    }
    return QProxyStyle::subControlRect(control, option, part, widget);
}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
    case PM_IndicatorWidth:
        return theme().scaled(isSwitch(widget) ? 36 : 16);
    case PM_IndicatorHeight:
        return theme().scaled(isSwitch(widget) ? 20 : 16);
    case PM_CheckBoxLabelSpacing:
        return theme().scaled(7);
    case PM_ScrollBarExtent:
        return 12;
    case PM_ScrollView_ScrollBarSpacing:
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    case PM_SmallIconSize:
    case PM_ButtonIconSize:
        return theme().scaled(16);
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int Style::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const {
    switch (hint) {
    case SH_ComboBox_Popup:
    case SH_EtchDisabledText:
    case SH_DitherDisabledText:
    case SH_UnderlineShortcut:
    case SH_ScrollBar_Transient:
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, data);
    }
}

} // namespace quillet
