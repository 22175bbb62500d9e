#pragma once

#include "onboarding/OnboardingModel.h"

#include <QWidget>

#include <memory>

class QPushButton;

namespace quillet {

class PageDots;
class PageFlow;

/// The contents of the window of the introduction: the page, where it is among the others, and the main button. Its
/// owner closes the window when the end of the introduction is announced.
class OnboardingView final : public QWidget {
    Q_OBJECT
public:
    explicit OnboardingView(std::shared_ptr<OnboardingModel> model, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {480, 560}; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showStep();

    const std::shared_ptr<OnboardingModel> m_model;
    PageFlow* m_pages;
    PageDots* m_dots;
    QPushButton* m_next;
};

} // namespace quillet
