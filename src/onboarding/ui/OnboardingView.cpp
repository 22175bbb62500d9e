#include "onboarding/ui/OnboardingView.h"

#include "onboarding/ui/OnboardingPages.h"
#include "onboarding/ui/PageDots.h"
#include "onboarding/ui/PageFlow.h"
#include "widgets/Controls.h"

#include <QShowEvent>
#include <QVBoxLayout>

#include <utility>

namespace quillet {

OnboardingView::OnboardingView(std::shared_ptr<OnboardingModel> model, QWidget* parent)
    : QWidget(parent), m_model(std::move(model)), m_pages(new PageFlow(this)), m_dots(new PageDots(this)) {
    // In the order of OnboardingModel::Page.
    m_pages->addPage(OnboardingPages::makeWelcome(nullptr));
    m_pages->addPage(OnboardingPages::makeMicrophone(m_model, nullptr));
    m_pages->addPage(OnboardingPages::makeScreenCapture(m_model, nullptr));
    m_pages->addPage(OnboardingPages::makeNotes(m_model, nullptr));
    m_pages->addPage(OnboardingPages::makeOnDeviceAI(m_model, nullptr));
    m_pages->addPage(OnboardingPages::makeReady(nullptr));

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 24);
    column->setSpacing(18);
    column->addWidget(m_pages, 1);
    column->addWidget(m_dots, 0, Qt::AlignHCenter);
    m_next = makeButton({}, ButtonRole::Prominent, {}, this);
    m_next->setDefault(true);
    m_next->setAutoDefault(true);
    m_next->setMinimumSize(260, 40);
    column->addWidget(m_next, 0, Qt::AlignHCenter);
    // A second press on the way to the next page was meant for the page before.
    connect(m_next, &QPushButton::clicked, this, [this] {
        if (!m_pages->isMoving()) m_model->nextAction();
    });
    m_next->setFocus();

    for (Published<bool>* const changing :
         {&m_model->hasMicrophoneAccess, &m_model->hasScreenCaptureAccess, &m_model->shouldShowAIStep})
        changing->subscribe(this, [this](bool) { showStep(); });
    m_model->currentStep.subscribe(this, [this](int) { showStep(); });
}

void OnboardingView::showStep() {
    m_pages->showPage(static_cast<int>(m_model->page()));
    m_dots->setPage(m_model->currentStep.value(), m_model->pageCount());
    m_next->setText(tr(m_model->buttonTitle()));
    // The button keeps the keyboard from page to page: whoever does not see the page hears from it that there is
    // another.
    m_next->setAccessibleDescription(m_pages->pageName());
}

void OnboardingView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous() && !m_model->aiCheckComplete.value()) m_model->appeared();
}

} // namespace quillet
