#include "templates/ui/TemplateListView.h"

#include "widgets/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

constexpr int kMargin = 6;
constexpr int kRowsInView = 6;
constexpr int kRowsAtLeast = 3;
constexpr int kLeastWidth = 110;
constexpr int kOneLineWidth = 300; ///< for a name and four buttons beside it

} // namespace

TemplateListView::TemplateListView(MakeActions makeActions, QWidget* parent)
    : QAbstractScrollArea(parent), m_makeActions(std::move(makeActions)) {
    setFrameShape(QFrame::NoFrame);
    setViewportMargins(kMargin, kMargin, kMargin, kMargin);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::ClickFocus); // none at all, and the rows could not follow it in the tab order
    viewport()->setAutoFillBackground(false);
    connect(&Theme::shared(), &Theme::changed, this, [this] { rebuild(); });
}

TemplateRowView::Form TemplateListView::rowForm() const {
    return width() < Theme::shared().scaled(kOneLineWidth) ? TemplateRowView::Form::TwoLines
                                                           : TemplateRowView::Form::OneLine;
}

int TemplateListView::rowHeight() const { return TemplateRowView::heightOf(rowForm()); }

// By rows of one line, whatever the present width asks for: a size that followed from the width would be out of date
// with each change of it.
QSize TemplateListView::sizeHint() const {
    return {Theme::shared().scaled(440),
            kRowsInView * TemplateRowView::heightOf(TemplateRowView::Form::OneLine) + 2 * kMargin};
}

QSize TemplateListView::minimumSizeHint() const {
    return {Theme::shared().scaled(kLeastWidth),
            kRowsAtLeast * TemplateRowView::heightOf(TemplateRowView::Form::OneLine) + 2 * kMargin};
}

void TemplateListView::setTemplates(std::vector<MeetingTemplate> templates) {
    m_templates = std::move(templates);
    rebuild();
}

void TemplateListView::setSelectedId(const std::optional<QUuid>& id) {
    m_selectedId = id;
    for (const auto& [index, row] : m_rows) row->setSelected(row->meetingTemplate().id == id);
    if (const QWidget* focus = QApplication::focusWidget(); focus && isAncestorOf(focus)) return;
    // Whoever comes with the Tab key comes to the active template.
    const auto active =
        std::find_if(m_templates.begin(), m_templates.end(), [&](const auto& each) { return each.id == id; });
    if (active != m_templates.end()) makeCurrent(static_cast<int>(active - m_templates.begin()));
}

void TemplateListView::rebuild() {
    const auto focused = rowOf(QApplication::focusWidget());
    for (const auto& [index, row] : std::exchange(m_rows, {})) discardRow(row);
    m_current = std::clamp(m_current, 0, std::max(0, rowCount() - 1));
    updateGeometry();
    updateScrollBar();
    showRowsInView();
    // The row that took the place of the one that had the focus takes that, too.
    if (focused && rowCount() > 0) moveTo(std::min(*focused, rowCount() - 1), 0);
}

void TemplateListView::updateScrollBar() {
    QScrollBar* const bar = verticalScrollBar();
    bar->setSingleStep(rowHeight());
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, rowCount() * rowHeight() - viewport()->height()));
}

void TemplateListView::showRowsInView() {
    if (rowCount() == 0) return;
    const int top = verticalScrollBar()->value();
    const int first = std::clamp(top / rowHeight(), 0, rowCount() - 1);
    const int last = std::clamp((top + viewport()->height()) / rowHeight(), first, rowCount() - 1);
    std::erase_if(m_rows, [&](const auto& entry) {
        const auto& [index, row] = entry;
        if ((index >= first && index <= last) || index == m_current) return false;
        discardRow(row);
        return true;
    });
    for (int index = first; index <= last; ++index) {
        if (!m_rows.contains(index)) m_rows.emplace(index, makeRow(index));
    }
    if (!m_rows.contains(m_current)) m_rows.emplace(m_current, makeRow(m_current));
    for (const auto& [index, row] : m_rows) {
        row->setForm(rowForm());
        row->setGeometry(0, index * rowHeight() - top, viewport()->width(), rowHeight());
    }
}

TemplateRowView* TemplateListView::makeRow(int index) {
    const MeetingTemplate& shown = m_templates[static_cast<std::size_t>(index)];
    auto* const row = new TemplateRowView(shown, shown.id == m_selectedId, m_makeActions(shown), viewport());
    row->setTabStop(index == m_current);
    QWidget* before = this;
    for (QAbstractButton* control : row->controls()) {
        control->installEventFilter(this);
        setTabOrder(before, control);
        before = control;
    }
    row->show();
    return row;
}

void TemplateListView::discardRow(TemplateRowView* row) {
    for (QAbstractButton* control : row->controls()) control->removeEventFilter(this);
    row->hide();
    row->setParent(nullptr); // out of reach of a test or a screen reader, at once
    row->deleteLater();      // it may be one of its own buttons that brought us here
}

std::optional<int> TemplateListView::rowOf(const QObject* control) const {
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), [control](const auto& entry) {
        return control && control->parent() == entry.second;
    });
    return found == m_rows.end() ? std::nullopt : std::optional(found->first);
}

void TemplateListView::makeCurrent(int index) {
    const int before = std::exchange(m_current, index);
    showRowsInView();
    if (const auto row = m_rows.find(before); row != m_rows.end()) row->second->setTabStop(before == index);
    m_rows.at(index)->setTabStop(true);
}

void TemplateListView::scrollTo(int index) {
    const int top = index * rowHeight();
    const int bottom = top + rowHeight();
    QScrollBar* const bar = verticalScrollBar();
    bar->setValue(std::max(std::min(bar->value(), top), bottom - viewport()->height()));
}

void TemplateListView::moveTo(int index, std::size_t control) {
    makeCurrent(index);
    const auto& controls = m_rows.at(index)->controls();
    controls[std::min(control, controls.size() - 1)]->setFocus(Qt::TabFocusReason);
}

bool TemplateListView::handleKey(int index, const QObject* control, int key) {
    const auto& controls = m_rows.at(index)->controls();
    const auto place =
        static_cast<std::size_t>(std::find(controls.begin(), controls.end(), control) - controls.begin());
    const int page = std::max(1, viewport()->height() / rowHeight() - 1);
    int target = index;
    switch (key) {
    case Qt::Key_Up:
        target = index - 1;
        break;
    case Qt::Key_Down:
        target = index + 1;
        break;
    case Qt::Key_PageUp:
        target = index - page;
        break;
    case Qt::Key_PageDown:
        target = index + page;
        break;
    case Qt::Key_Home:
        target = 0;
        break;
    case Qt::Key_End:
        target = rowCount() - 1;
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        controls[place]->click();
        return true;
    default:
        return false;
    }
    moveTo(std::clamp(target, 0, rowCount() - 1), place);
    return true;
}

bool TemplateListView::eventFilter(QObject* watched, QEvent* event) {
    const auto index = rowOf(watched);
    if (!index) return QAbstractScrollArea::eventFilter(watched, event);
    if (event->type() == QEvent::KeyPress) {
        const auto* const press = static_cast<const QKeyEvent*>(event);
        const auto plain = press->modifiers() & ~Qt::KeypadModifier;
        if (plain == Qt::NoModifier && handleKey(*index, watched, press->key())) return true;
    }
    if (event->type() == QEvent::FocusIn) {
        makeCurrent(*index);
        // Not under a mouse that is about to let go of the button.
        if (static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason) scrollTo(*index);
    }
    return QAbstractScrollArea::eventFilter(watched, event);
}

bool TemplateListView::event(QEvent* event) {
    if (event->type() == QEvent::Paint) {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Theme::shared().fill(Fill::Card));
        painter.setPen(QPen(Theme::shared().fill(Fill::Border), 1));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
        return true;
    }
    return QAbstractScrollArea::event(event);
}

void TemplateListView::focusInEvent(QFocusEvent* event) {
    if (const auto row = m_rows.find(m_current); row != m_rows.end())
        row->second->controls().front()->setFocus(event->reason());
}

void TemplateListView::resizeEvent(QResizeEvent*) {
    updateScrollBar();
    showRowsInView();
}

void TemplateListView::scrollContentsBy(int, int) { showRowsInView(); }

} // namespace quillet
