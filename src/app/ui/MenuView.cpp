#include "app/ui/MenuView.h"

#include "app/ui/MenuParts.h"
#include "support/Characters.h"
#include "support/ShownText.h"
#include "widgets/Symbol.h"

#include <QFile>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimerEvent>
#include <QVBoxLayout>

namespace quillet {
namespace {

constexpr double kSide = 280; ///< of the square popover, in points
constexpr int kMargin = 12;   ///< around each section
constexpr int kMeterMs = 100; ///< between two looks at the levels
constexpr int kRowSpacing = 10;
constexpr int kRecordHeight = 52; ///< of the one button that matters, at least
constexpr int kTallestRecord = 84;

QString nameOf(const std::filesystem::path& file) { return QFile::decodeName(file.filename().c_str()); }

QVBoxLayout* makeColumn(QWidget* section) {
    auto* const column = new QVBoxLayout(section);
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->setSpacing(kRowSpacing);
    return column;
}

} // namespace

PermissionRow::PermissionRow(const QString& title, std::function<void()> action, QWidget* parent) : QWidget(parent) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(new TextLabel(title, TextStyle::Subheadline, Ink::Label, this), 1);
    QPushButton* const allow = makeButton(tr("Allow"), ButtonRole::Bordered, {}, this);
    allow->setAccessibleDescription(title);
    connect(allow, &QPushButton::clicked, this, [action = std::move(action)] { action(); });
    row->addWidget(allow);
}

MenuView::MenuView(std::unique_ptr<MenuModel> model, QWidget* parent) : QWidget(parent), m_model(std::move(model)) {
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    m_scroll = new QScrollArea(this);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    whole->addWidget(m_scroll);

    auto* const content = new QWidget;
    content->setAutoFillBackground(false);
    auto* const sections = new QVBoxLayout(content);
    sections->setContentsMargins(0, 0, 0, 0);
    m_permissions = makePermissionsSection();
    m_record = makeRecordSection();
    sections->addWidget(m_permissions, 1);
    sections->addWidget(m_record, 1);
    m_scroll->setWidget(content);
    content->setAutoFillBackground(false); // setWidget() fills it

    m_model->observe(this, [this] { refresh(); });
    m_model->observeAlerts(this, [this](const std::optional<AppAlert>& alert) { presentAlert(alert); });
    connect(&Theme::shared(), &Theme::changed, this, [this] { updateGeometry(); });
}

MenuView::~MenuView() = default;

QSize MenuView::sizeHint() const {
    const int side = Theme::shared().scaled(kSide);
    return {side, side};
}

QWidget* MenuView::makePermissionsSection() {
    auto* const section = new QWidget;
    QVBoxLayout* const column = makeColumn(section);
    column->addStretch();
    column->addWidget(new TextLabel(tr("This app runs in macOS's App Sandbox. To record meetings, allow access for:"),
                                    TextStyle::Caption, Ink::Secondary));
    m_screenCaptureRow = new PermissionRow(tr("Screen Capture"), [this] { m_model->allowScreenCapture(); });
    m_microphoneRow = new PermissionRow(tr("Microphone"), [this] { m_model->allowMicrophone(); });
    column->addWidget(m_screenCaptureRow);
    column->addWidget(m_microphoneRow);
    column->addStretch();
    return section;
}

QWidget* MenuView::makeRecordSection() {
    auto* const section = new QWidget;
    QVBoxLayout* const column = makeColumn(section);

    // What there is to say and do stands in the middle above the footer, around a button that takes much of the room.
    column->addStretch(1);
    m_elapsed = new ElapsedTimeView(section);
    column->addWidget(m_elapsed);

    m_meters = new QWidget(section);
    auto* const meters = new QHBoxLayout(m_meters);
    meters->setContentsMargins(0, 0, 0, 0);
    meters->setSpacing(kMargin);
    m_systemMeter = new LevelMeter(tr("Other side"), m_meters);
    m_microphoneMeter = new LevelMeter(tr("Microphone"), m_meters);
    meters->addWidget(m_systemMeter);
    meters->addWidget(m_microphoneMeter);
    column->addWidget(m_meters);

    m_error = new TextLabel({}, TextStyle::Caption, Ink::Red, section);
    m_error->setMinimumWidth(1); // it wraps before it widens what lies beside it
    column->addWidget(m_error);

    m_latest = makeLatestBlock();
    column->addWidget(m_latest);

    m_recordButton = makeButton(tr("Record"), ButtonRole::Prominent, QStringLiteral("record.circle"), section);
    setTextStyle(*m_recordButton, TextStyle::Headline);
    m_recordButton->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
    const auto fit = [this] {
        m_recordButton->setMinimumHeight(Theme::shared().scaled(kRecordHeight));
        m_recordButton->setMaximumHeight(Theme::shared().scaled(kTallestRecord));
    };
    fit();
    connect(&Theme::shared(), &Theme::changed, m_recordButton, fit);
    connect(m_recordButton, &QPushButton::clicked, this, [this] { m_model->pressRecordButton(); });
    m_recordButton->installEventFilter(this);
    column->addWidget(m_recordButton, 4);

    m_autoCreateNote = new QCheckBox(tr("Auto-create Note"), section);
    setTextStyle(*m_autoCreateNote, TextStyle::Caption);
    connect(m_autoCreateNote, &QCheckBox::clicked, this, [this](bool on) {
        m_model->setAutoCreateNote(on);
        readAutoCreateNote(); // it may not have been stored
    });
    column->addWidget(m_autoCreateNote);
    column->addStretch(1);

    QPushButton* const folder =
        makeButton(tr("Open Recordings Folder"), ButtonRole::Bordered, QStringLiteral("folder"), section);
    setTextStyle(*folder, TextStyle::Caption);
    setVerticalPadding(*folder, 6);
    connect(folder, &QPushButton::clicked, this, [this] { m_model->openRecordingsFolder(); });
    column->addWidget(folder);
    return section;
}

QWidget* MenuView::makeLatestBlock() {
    auto* const block = new QWidget;
    auto* const column = new QVBoxLayout(block);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(3);
    column->addWidget(new TextLabel(tr("Latest"), TextStyle::Caption2, Ink::Secondary, block));
    m_latestName = new ElidedLabel({}, TextStyle::Caption, Ink::Label, block);
    column->addWidget(m_latestName);
    QPushButton* const show = makeButton(tr("Show Last Recording in Finder"), ButtonRole::Bordered, {}, block);
    setTextStyle(*show, TextStyle::Caption);
    setVerticalPadding(*show, 4);
    connect(show, &QPushButton::clicked, this, [this] { m_model->showLatestRecording(); });
    column->addWidget(show);
    return block;
}

void MenuView::refresh() {
    const bool mayRecord = m_model->hasRequiredPermissions();
    m_permissions->setVisible(!mayRecord);
    m_screenCaptureRow->setVisible(m_model->needsScreenCapture());
    m_microphoneRow->setVisible(m_model->needsMicrophone());
    m_record->setVisible(mayRecord);
    refreshRecordSection();
}

void MenuView::refreshRecordSection() {
    const bool recording = m_model->isRecording();
    m_elapsed->setStartDate(m_model->recordingStartDate());
    m_meters->setVisible(recording);
    const std::optional<QString> error = m_model->lastError();
    m_error->setText(error ? breakable(shownText(*error)) : QString());
    m_error->setVisible(error.has_value());
    const auto latest = m_model->latestRecording();
    if (latest) m_latestName->setText(nameOf(*latest));
    m_latest->setVisible(latest.has_value());
    m_recordButton->setText(recording ? tr("Stop") : tr("Record"));
    m_recordButton->setIcon(
        symbolIcon(recording ? QStringLiteral("stop.circle.fill") : QStringLiteral("record.circle")));
    setButtonTint(*m_recordButton, recording ? Tint::Record : Tint::Accent);
    readAutoCreateNote();
    keepMeteringWhileSeen();
}

void MenuView::readAutoCreateNote() { m_autoCreateNote->setChecked(m_model->autoCreateNote()); }

void MenuView::keepMeteringWhileSeen() {
    const bool wanted = isVisible() && m_model->isRecording();
    if (wanted && m_meterTimer == 0) m_meterTimer = startTimer(kMeterMs);
    if (!wanted && m_meterTimer != 0) killTimer(std::exchange(m_meterTimer, 0));
}

void MenuView::timerEvent(QTimerEvent*) {
    const MenuModel::Levels levels = m_model->levels();
    m_systemMeter->setLevel(levels.system);
    m_microphoneMeter->setLevel(levels.microphone);
}

bool MenuView::isPresentingAlert() const { return m_alert != nullptr; }

void MenuView::presentAlert(const std::optional<AppAlert>& alert) {
    if (m_alert) {
        m_alert->hide();
        m_alert->deleteLater(); // this may be the answer of one of its buttons
        m_alert = nullptr;
    }
    m_scroll->setEnabled(!alert.has_value());
    if (!alert) return;
    m_alert = new AlertCard(*alert,
                            {.dismiss = [this] { m_model->dismissAlert(); },
                             .openSettings = [this] { m_model->openAutomationPreferences(); }},
                            this);
    m_alert->setGeometry(rect());
    m_alert->show();
    m_alert->raise();
}

bool MenuView::eventFilter(QObject* recordButton, QEvent* event) {
    // Recording may begin between the two presses of a double click, and the second would end it: nobody means that.
    return event->type() == QEvent::MouseButtonDblClick || QWidget::eventFilter(recordButton, event);
}

bool MenuView::event(QEvent* event) {
    // A popover is shown each time; to an open window the user just comes back, maybe from allowing what was missing.
    if (event->type() == QEvent::WindowDeactivate) m_wasLeft = true;
    if (event->type() == QEvent::WindowActivate && m_wasLeft) lookAgain();
    return QWidget::event(event);
}

void MenuView::lookAgain() {
    m_wasLeft = false; // so that being shown and then activated is one appearance
    m_model->appeared();
    readAutoCreateNote(); // another process may have changed it
}

void MenuView::showEvent(QShowEvent*) {
    lookAgain();
    m_scroll->verticalScrollBar()->setValue(0);
    if (!m_alert) m_recordButton->setFocus(Qt::ActiveWindowFocusReason);
    keepMeteringWhileSeen();
}

void MenuView::hideEvent(QHideEvent*) { keepMeteringWhileSeen(); }

void MenuView::resizeEvent(QResizeEvent*) {
    if (m_alert) m_alert->setGeometry(rect());
}

} // namespace quillet
