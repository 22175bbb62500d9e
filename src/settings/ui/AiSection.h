#pragma once

#include "settings/SettingsModel.h"
#include "widgets/Controls.h"

#include <memory>

namespace quillet {

class SymbolView;

/// The settings on summaries, and what the user should know about where sound and texts go.
class AiSection final : public QWidget {
    Q_OBJECT
public:
    explicit AiSection(std::shared_ptr<SettingsModel> model, QWidget* parent = nullptr);

private:
    [[nodiscard]] QWidget* makeTranscription();
    [[nodiscard]] QWidget* makeSummaries();
    void showSummaries();
    void showMaker(const SettingsModel::SummaryStatus& status);

    const std::shared_ptr<SettingsModel> m_model;
    QCheckBox* m_useLocal = nullptr;
    SymbolView* m_symbol = nullptr;
    TextLabel* m_status = nullptr;
    TextLabel* m_fallback = nullptr;
};

} // namespace quillet
