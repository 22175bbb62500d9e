#pragma once

#include <QCoreApplication>
#include <QWidget>

#include <memory>

namespace quillet {

class OnboardingModel;

/// The pages of the introduction, each a column of symbol, title, text and what belongs to it. They follow the model
/// and belong to their parent.
class OnboardingPages {
    Q_DECLARE_TR_FUNCTIONS(quillet::OnboardingPages)
public:
    static QWidget* makeWelcome(QWidget* parent);
    static QWidget* makeMicrophone(const std::shared_ptr<OnboardingModel>& model, QWidget* parent);
    static QWidget* makeScreenCapture(const std::shared_ptr<OnboardingModel>& model, QWidget* parent);
    static QWidget* makeNotes(const std::shared_ptr<OnboardingModel>& model, QWidget* parent);
    static QWidget* makeOnDeviceAI(const std::shared_ptr<OnboardingModel>& model, QWidget* parent);
    static QWidget* makeReady(QWidget* parent);
};

} // namespace quillet
