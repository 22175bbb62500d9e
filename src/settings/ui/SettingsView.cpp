#include "settings/ui/SettingsView.h"

#include "settings/ui/AiSection.h"
#include "settings/ui/GeneralSection.h"
#include "settings/ui/NewFolderSheet.h"
#include "settings/ui/SidebarDelegate.h"
#include "widgets/Controls.h"
#include "widgets/ScrollPane.h"

#include <QListWidget>
#include <QPainter>
#include <QShowEvent>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

constexpr int kPadding = 24;
constexpr int kSidebarLeast = 160;
constexpr int kSidebarIdeal = 180;
constexpr int kSidebarMost = 220;

/// Columns with a hairline between them.
class Columns final : public QSplitter {
public:
    explicit Columns(QWidget* parent) : QSplitter(Qt::Horizontal, parent) {
        setHandleWidth(1);
        setChildrenCollapsible(false);
    }

protected:
    QSplitterHandle* createHandle() override {
        class Hairline final : public QSplitterHandle {
        public:
            using QSplitterHandle::QSplitterHandle;

        protected:
            void paintEvent(QPaintEvent*) override {
                QPainter(this).fillRect(rect(), Theme::shared().fill(Fill::Border));
            }
        };
        return new Hairline(orientation(), this);
    }
};

} // namespace

SettingsView::SettingsView(SettingsParts parts, QWidget* parent)
    : QWidget(parent),
      m_parts(std::move(parts)),
      m_columns(new Columns(this)),
      m_side(new QWidget),
      m_sidebar(new QListWidget),
      m_pages(new QStackedWidget) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_columns);
    makeSidebar();
    auto* const sideColumn = new QVBoxLayout(m_side);
    sideColumn->setContentsMargins(0, 14, 0, 8);
    sideColumn->addWidget(m_sidebar);
    m_columns->addWidget(m_side);
    m_columns->addWidget(m_pages);
    m_columns->setStretchFactor(1, 1);
    // In the order of the sections.
    addPage(new GeneralSection(m_parts.model, m_parts.notesChoice, m_parts.soundChoice));
    addPage(new AiSection(m_parts.model));
    addPage(makeTemplates());
    fitSidebar();
    m_columns->setSizes({std::max(kSidebarIdeal, m_side->minimumWidth()), 720});
    connect(&Theme::shared(), &Theme::changed, this, [this] { fitSidebar(); });

    m_parts.model->selectedSection.subscribe(this, [this](SettingsSection section) {
        m_sidebar->setCurrentRow(static_cast<int>(section));
        m_pages->setCurrentIndex(static_cast<int>(section));
    });
    connect(m_sidebar, &QListWidget::currentRowChanged, this, [this](int row) {
        const auto section = static_cast<SettingsSection>(row);
        if (row >= 0 && section != m_parts.model->selectedSection.value()) m_parts.model->selectedSection.set(section);
    });
    m_parts.model->showNewFolderSheet.subscribe(this, [this](bool shown) { showSheet(shown); });
    m_parts.notifications.observe(Notifications::openSettingsRequested, this, [this](const QVariantMap& info) {
        const auto wanted = settingsSection(info.value(QStringLiteral("section")).toString());
        // What is being written in a sheet would be gone with its section.
        if (wanted && !hasOpenSheet()) m_parts.model->selectedSection.set(*wanted);
    });
}

SettingsView::~SettingsView() { delete m_sheet; }

void SettingsView::makeSidebar() {
    m_sidebar->setAccessibleName(tr("Sections"));
    m_sidebar->setFrameShape(QFrame::NoFrame);
    m_sidebar->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_sidebar->setItemDelegate(new SidebarDelegate(m_sidebar));
    m_sidebar->setAutoFillBackground(false);
    m_sidebar->viewport()->setAutoFillBackground(false);
    for (const SettingsSectionInfo& info : kSettingsSections) {
        auto* const item = new QListWidgetItem(tr(info.rawValue), m_sidebar);
        item->setData(SidebarDelegate::kSymbolRole, QString::fromLatin1(info.symbol));
    }
    // A click beside the sections, or with Ctrl, would take the mark off the one that is shown.
    connect(m_sidebar, &QListWidget::itemSelectionChanged, m_sidebar, [list = m_sidebar] {
        if (list->selectedItems().isEmpty() && list->currentItem()) list->currentItem()->setSelected(true);
    });
}

void SettingsView::fitSidebar() {
    const int wanted = m_sidebar->sizeHintForColumn(0);
    m_side->setMinimumWidth(std::max(kSidebarLeast, wanted));
    m_side->setMaximumWidth(std::max(kSidebarMost, wanted));
    m_sidebar->doItemsLayout();
}

QWidget* SettingsView::makeTemplates() {
    auto* const section = new QWidget;
    auto* const column = new QVBoxLayout(section);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(20);
    column->addWidget(new TextLabel(tr("Templates"), TextStyle::Title, Ink::Label, section));
    column->addWidget(m_parts.makeTemplatesTab(section), 1);
    return section;
}

void SettingsView::addPage(QWidget* section) {
    auto* const padded = new QWidget;
    auto* const layout = new QVBoxLayout(padded);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->addWidget(section);
    const auto index = static_cast<std::size_t>(m_pages->count());
    m_pages->addWidget(new ScrollPane(tr(kSettingsSections[index].rawValue), padded));
}

void SettingsView::showSheet(bool shown) {
    if (!shown) {
        if (m_sheet) m_sheet->done(QDialog::Accepted);
        return;
    }
    if (m_sheet) return m_sheet->raise();
    m_sheet = new NewFolderSheet(m_parts.model, this);
    m_sheet->open();
}

bool SettingsView::hasOpenSheet() const {
    const auto sheets = findChildren<Sheet*>();
    return std::any_of(sheets.begin(), sheets.end(), [](const Sheet* sheet) { return !sheet->isHidden(); });
}

void SettingsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous()) return; // the desktop brought the window back, which is no new appearance
    m_parts.model->appeared();
    if (m_parts.notesChoice) m_parts.notesChoice->refresh();
    if (m_parts.soundChoice) m_parts.soundChoice->refresh();
}

} // namespace quillet
