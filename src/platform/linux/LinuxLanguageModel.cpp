#include "platform/LanguageModel.h"

namespace quillet {
namespace {

class NoLanguageModel final : public SystemLanguageModel {
public:
    [[nodiscard]] bool isOfferedBySystem() override { return false; }
    [[nodiscard]] std::shared_ptr<LanguageModel> model() override { return nullptr; }
};

} // namespace

SystemLanguageModel& SystemLanguageModel::standard() {
    static NoLanguageModel none;
    return none;
}

} // namespace quillet
