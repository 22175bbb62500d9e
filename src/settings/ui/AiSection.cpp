#include "settings/ui/AiSection.h"

#include "settings/ui/SwitchRow.h"
#include "support/Characters.h"
#include "support/ShownText.h"
#include "widgets/Symbol.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>

namespace quillet {
namespace {

constexpr int kLongestWord = 16; ///< that the smallest window has room for with the largest text

/// A symbol and, beside it, texts one below the other.
struct SymbolRow {
    QWidget* widget;
    SymbolView* symbol;
    QVBoxLayout* texts;
};

SymbolRow makeSymbolRow(const QString& symbol, Ink ink, QWidget* parent) {
    constexpr double kSide = 18; // of all, so that the texts line up
    auto* const widget = new QWidget(parent);
    auto* const row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    auto* const view = new SymbolView(symbol, kSide, ink, widget);
    row->addWidget(view, 0, Qt::AlignTop);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    row->addLayout(texts, 1);
    return {widget, view, texts};
}

} // namespace

AiSection::AiSection(std::shared_ptr<SettingsModel> model, QWidget* parent)
    : QWidget(parent), m_model(std::move(model)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(20);
    column->addWidget(new TextLabel(tr("AI & Privacy"), TextStyle::Title, Ink::Label, this));
    column->addWidget(makeTranscription());
    column->addWidget(makeSummaries());
    column->addStretch();

    m_model->services().summarisation->localAvailable.subscribe(this, [this](bool) { showSummaries(); });
}

QWidget* AiSection::makeTranscription() {
    auto* const group = new Group(tr("Transcription"), this);
    const SymbolRow what = makeSymbolRow(QStringLiteral("waveform"), Ink::Purple, group);
    what.texts->addWidget(
        new TextLabel(tr("On-device with WhisperKit"), TextStyle::BodyMedium, Ink::Label, what.widget));
    what.texts->addWidget(
        new TextLabel(tr("Speech-to-text runs entirely on your Mac. Your audio never leaves your device."),
                      TextStyle::Caption, Ink::Secondary, what.widget));
    group->contents()->addWidget(what.widget);
    const SymbolRow promise = makeSymbolRow(QStringLiteral("checkmark.circle.fill"), Ink::Green, group);
    promise.texts->addWidget(
        new TextLabel(tr("Always local — no internet required"), TextStyle::Caption, Ink::Green, promise.widget));
    group->contents()->addWidget(promise.widget);
    return group;
}

QWidget* AiSection::makeSummaries() {
    auto* const group = new Group(tr("Meeting Summaries"), this);
    group->contents()->addWidget(
        new TextLabel(tr("Choose how Quillet generates your structured meeting notes from the transcript."),
                      TextStyle::Caption, Ink::Secondary, group));
    m_useLocal = addSwitchRow(*group->contents(), tr("On-device AI (Apple Intelligence)"),
                              tr("Summaries are generated locally. Nothing leaves your Mac."), group);

    const SymbolRow status = makeSymbolRow({}, Ink::Green, group);
    m_symbol = status.symbol;
    m_status = new TextLabel({}, TextStyle::Caption, Ink::Label, status.widget);
    status.texts->addWidget(m_status);
    group->contents()->addWidget(status.widget);
    m_fallback = new TextLabel({}, TextStyle::Caption, Ink::Secondary, group);
    group->contents()->addWidget(m_fallback);

    connect(m_useLocal, &QCheckBox::clicked, this, [this](bool useLocal) {
        m_model->setUseLocal(useLocal);
        showSummaries();
    });
    return group;
}

void AiSection::showSummaries() {
    const SettingsModel::SummaryStatus status = m_model->summaryStatus();
    m_useLocal->setChecked(m_model->useLocal());
    showMaker(status);
    using Meanwhile = SettingsModel::SummaryStatus::Meanwhile;
    m_fallback->setVisible(status.meanwhile != Meanwhile::None);
    m_fallback->setText(
        status.meanwhile == Meanwhile::CloudService
            ? tr("Until on-device AI becomes available, your transcript text is sent to %1, a cloud service.")
                  .arg(breakable(status.host, kLongestWord))
            : tr("Summaries will automatically use Gemini EU as fallback until on-device AI becomes available."));
}

void AiSection::showMaker(const SettingsModel::SummaryStatus& status) {
    const auto show = [this](const char* symbol, Ink symbolInk, const QString& text, Ink textInk) {
        m_symbol->setSymbol(QString::fromLatin1(symbol));
        m_symbol->setInk(symbolInk);
        m_status->setText(text);
        m_status->setInk(textInk);
    };
    using Maker = SettingsModel::SummaryStatus::Maker;
    switch (status.maker) {
    case Maker::LocalServer:
        return show("checkmark.circle.fill", Ink::Green,
                    tr("Summaries are made on this computer by %1 at %2.")
                        .arg(breakable(status.model, kLongestWord), breakable(status.host, kLongestWord)),
                    Ink::Green);
    case Maker::SystemModel:
        return show("checkmark.circle.fill", Ink::Green, tr("Apple Intelligence is available"), Ink::Green);
    case Maker::Unavailable:
        return show("exclamationmark.triangle.fill", Ink::Orange,
                    shownText(m_model->services().summarisation->localAvailabilityStatus.value()), Ink::Orange);
    case Maker::CloudService:
        return show("cloud.fill", Ink::Blue,
                    tr("Using %1 — your transcript text is sent to this cloud service.")
                        .arg(breakable(status.host, kLongestWord)),
                    Ink::Secondary);
    case Maker::SystemCloud:
        return show("cloud.fill", Ink::Blue,
                    tr("Using Gemini EU — your transcript text is sent to Google's EU servers. Data stays in the EU."),
                    Ink::Secondary);
    }
}

} // namespace quillet
