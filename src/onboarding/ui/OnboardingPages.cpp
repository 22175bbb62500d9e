#include "onboarding/ui/OnboardingPages.h"

#include "onboarding/OnboardingModel.h"
#include "widgets/Controls.h"
#include "widgets/Symbol.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace quillet {
namespace {

constexpr int kDiscSide = 112;
constexpr int kSymbolSide = 60;

/// A page's large symbol on a disc. It keeps its size when the text grows: there is no more room on the page then.
class Emblem final : public QWidget {
public:
    Emblem(const char* symbol, QWidget* parent) : QWidget(parent), m_symbol(QString::fromLatin1(symbol)) {
        setFixedSize(kDiscSide, kDiscSide);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::shared().fill(Fill::Selection));
        painter.drawEllipse(rect());
        constexpr int kInset = (kDiscSide - kSymbolSide) / 2;
        painter.drawPixmap(kInset, kInset,
                           symbolPixmap(m_symbol, kSymbolSide, devicePixelRatioF(), Theme::shared().ink(Ink::Accent)));
    }

private:
    const QString m_symbol;
};

/// A column in the middle of the page, both ways.
class Page final : public QWidget {
public:
    explicit Page(QWidget* parent) : QWidget(parent), m_column(new QVBoxLayout(this)) {
        m_column->setContentsMargins(28, 44, 28, 8);
        m_column->setSpacing(12);
    }
    void addSymbol(const char* name) {
        m_column->addWidget(new Emblem(name, this), 0, Qt::AlignHCenter);
        m_column->addSpacing(14);
    }
    TextLabel* addText(const QString& text, TextStyle style, Ink ink) {
        auto* const label = new TextLabel(text, style, ink, this);
        label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        add(label);
        return label;
    }
    void addTitle(const QString& title) {
        addText(title, TextStyle::LargeTitle, Ink::Label);
        setAccessibleName(title);
    }
    void addBody(const QString& text) { addText(text, TextStyle::Body, Ink::Secondary); }
    void add(QWidget* widget) { m_column->addWidget(widget); }
    void addCentred(QWidget* widget) { m_column->addWidget(widget, 0, Qt::AlignHCenter); }
    /// The second one steps back behind the first.
    void addButtons(QPushButton* first, QPushButton* second) {
        addSpace(6);
        addButton(first);
        addButton(second);
    }
    void addButton(QPushButton* button) {
        button->setAutoDefault(true); // Return presses what has the focus
        addCentred(button);
    }
    void addSpace(int height) { m_column->addSpacing(height); }
    /// After the last part.
    void finish() { m_column->addStretch(); }

private:
    QVBoxLayout* m_column;
};

/// A symbol and a text in one colour, in the middle; in one line where there is room for it.
class ResultRow final : public QWidget {
public:
    ResultRow(const char* symbol, const QString& text, Ink ink, QWidget* parent)
        : QWidget(parent),
          m_symbol(new SymbolView(QString::fromLatin1(symbol), 18, ink, this)),
          m_label(new TextLabel(text, TextStyle::BodyMedium, ink, this)) {
        auto* const row = new QHBoxLayout(this);
        row->setContentsMargins(0, 6, 0, 0);
        row->setSpacing(8);
        row->addStretch();
        row->addWidget(m_symbol);
        row->addWidget(m_label);
        row->addStretch();
        m_label->setMinimumWidth(1); // it wraps before it widens the page
        connect(&Theme::shared(), &Theme::changed, this, [this] { wrapIfNeeded(); });
    }
    void show(const char* symbol, const QString& text, Ink ink) {
        m_symbol->setSymbol(QString::fromLatin1(symbol));
        m_symbol->setInk(ink);
        m_label->setText(text);
        m_label->setInk(ink);
        wrapIfNeeded();
    }

protected:
    void resizeEvent(QResizeEvent*) override { wrapIfNeeded(); }

private:
    void wrapIfNeeded() {
        const int room = width() - m_symbol->sizeHint().width() - layout()->spacing();
        m_label->setWordWrap(m_label->fontMetrics().horizontalAdvance(m_label->text()) >= room);
    }

    SymbolView* m_symbol;
    TextLabel* m_label;
};

/// A symbol at the leading edge with a text beside it.
QWidget* makePoint(const char* symbol, const QString& text, QWidget* parent) {
    auto* const point = new QWidget(parent);
    auto* const row = new QHBoxLayout(point);
    row->setContentsMargins(0, 4, 0, 4);
    row->setSpacing(16);
    row->addWidget(new SymbolView(QString::fromLatin1(symbol), 30, Ink::Accent, point), 0, Qt::AlignTop);
    row->addWidget(new TextLabel(text, TextStyle::Body, Ink::Label, point), 1);
    return point;
}

} // namespace

QWidget* OnboardingPages::makeWelcome(QWidget* parent) {
    auto* const page = new Page(parent);
    page->addSymbol("mic.circle.fill");
    page->addTitle(tr("Welcome to Quillet"));
    page->addBody(tr("Your meetings, remembered privately."));
    page->finish();
    return page;
}

QWidget* OnboardingPages::makeMicrophone(const std::shared_ptr<OnboardingModel>& model, QWidget* parent) {
    auto* const page = new Page(parent);
    page->addSymbol("mic.badge.plus");
    page->addTitle(tr("Microphone Access"));
    page->addBody(tr("Quillet needs your microphone to capture your voice during meetings. Your audio is processed "
                     "entirely on your Mac."));
    auto* const granted = new ResultRow("checkmark.circle.fill", tr("Microphone access granted"), Ink::Green, page);
    page->add(granted);
    auto* const refused = page->addText(tr("Microphone access was refused. You can allow it in System Settings → "
                                           "Privacy & Security → Microphone, now or later; until then Quillet cannot "
                                           "record."),
                                        TextStyle::Caption, Ink::Secondary);
    QPushButton* const skip = makeButton(tr("Skip"), ButtonRole::Plain, {}, page);
    page->addButton(skip);
    page->finish();
    QObject::connect(skip, &QPushButton::clicked, page, [model] { model->skipMicrophone(); });
    model->hasMicrophoneAccess.subscribe(page, [granted](bool has) { granted->setVisible(has); });
    model->microphoneWasRefused.subscribe(page, [refused, skip](bool was) {
        refused->setVisible(was);
        skip->setVisible(was);
    });
    return page;
}

QWidget* OnboardingPages::makeScreenCapture(const std::shared_ptr<OnboardingModel>& model, QWidget* parent) {
    auto* const page = new Page(parent);
    page->addSymbol("speaker.wave.3.fill");
    page->addTitle(tr("System Audio Capture"));
    page->addBody(tr("To record audio from Zoom, Teams, Google Meet, and other apps, Quillet needs Screen Capture "
                     "permission. This captures system audio — not your screen content."));
    auto* const note = page->addText(tr("You'll be redirected to System Settings to enable this."), TextStyle::Caption,
                                     Ink::Secondary);
    auto* const granted = new ResultRow("checkmark.circle.fill", tr("Screen capture access granted"), Ink::Green, page);
    page->add(granted);
    page->finish();
    model->hasScreenCaptureAccess.subscribe(page, [granted, note](bool has) {
        granted->setVisible(has);
        note->setVisible(!has);
    });
    return page;
}

QWidget* OnboardingPages::makeNotes(const std::shared_ptr<OnboardingModel>& model, QWidget* parent) {
    auto* const page = new Page(parent);
    page->addSymbol("note.text");
    page->addTitle(tr("Connect Apple Notes"));
    page->addBody(tr("Your meeting notes will appear in Apple Notes automatically."));
    QPushButton* const test = makeButton(tr("Test Connection"), ButtonRole::Bordered, {}, page);
    QPushButton* const skip = makeButton(tr("Skip"), ButtonRole::Plain, {}, page);
    page->addButtons(test, skip);
    auto* const spinner = new Spinner(tr("Testing the connection"), 20, page);
    page->addCentred(spinner);
    auto* const result = new ResultRow("circle", {}, Ink::Label, page);
    page->add(result);
    auto* const remark = page->addText(
        tr("Your notes can be reached. No folder has been chosen to look for; you can choose one in the settings."),
        TextStyle::Caption, Ink::Secondary);
    page->finish();

    QObject::connect(test, &QPushButton::clicked, page, [model] { model->testNotesConnection(); });
    QObject::connect(skip, &QPushButton::clicked, page, [model] { model->nextAction(); });
    model->notesTestInProgress.subscribe(page, [spinner, test](bool runs) {
        spinner->setVisible(runs);
        test->setEnabled(!runs);
    });
    model->notesTestSuccess.subscribe(page, [model = model.get(), result, remark](const std::optional<bool>& success) {
        result->setVisible(success.has_value());
        remark->setVisible(model->notesTestRemark() == OnboardingModel::NotesTestRemark::NotesCanBeReached);
        if (success == true)
            result->show("checkmark.circle.fill", tr("Connection successful!"), Ink::Green);
        else
            result->show("xmark.circle.fill", tr("Connection failed"), Ink::Red);
    });
    return page;
}

QWidget* OnboardingPages::makeOnDeviceAI(const std::shared_ptr<OnboardingModel>& model, QWidget* parent) {
    auto* const page = new Page(parent);
    page->addSymbol("brain.head.profile");
    page->addTitle(tr("Enable On-Device AI"));
    page->addBody(tr("Quillet can summarise your meetings entirely on your Mac using Apple Intelligence — no internet "
                     "needed, and nothing ever leaves your device."));
    page->addText(tr("If you skip, summaries will use Gemini EU (your data stays in the EU)."), TextStyle::Caption,
                  Ink::Secondary);
    QPushButton* const open = makeButton(tr("Open System Settings"), ButtonRole::Bordered, {}, page);
    QPushButton* const skip = makeButton(tr("Skip for now"), ButtonRole::Plain, {}, page);
    page->addButtons(open, skip);
    page->finish();
    QObject::connect(open, &QPushButton::clicked, page, [model] { model->openIntelligenceSettings(); });
    QObject::connect(skip, &QPushButton::clicked, page, [model] { model->nextAction(); });
    return page;
}

QWidget* OnboardingPages::makeReady(QWidget* parent) {
    auto* const page = new Page(parent);
    page->addSpace(36);
    page->addTitle(tr("You're all set!"));
    page->addSpace(24);
    auto* const points = new Group({}, page);
    points->contents()->addWidget(makePoint(
        "menubar.rectangle",
        tr("Quillet lives in your menu bar at the top of your screen. Click the icon to start recording."), points));
    points->contents()->addWidget(
        makePoint("arrow.clockwise",
                  tr("Quillet launches automatically at startup so it's always ready when you need it."), points));
    page->add(points);
    page->finish();
    return page;
}

} // namespace quillet
