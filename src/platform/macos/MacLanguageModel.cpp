#include "platform/apple/FoundationLanguageModel.h"

namespace quillet {
namespace {

constexpr apple::FoundationModelCalls kCalls{.opensSession = quillet_model_opens_session,
                                             .isReady = quillet_model_is_ready,
                                             .request = quillet_model_request,
                                             .cancel = quillet_model_cancel,
                                             .release = quillet_model_release};

class FoundationModels final : public SystemLanguageModel {
public:
    bool isOfferedBySystem() override { return kCalls.opensSession(); }
    std::shared_ptr<LanguageModel> model() override {
        return isOfferedBySystem() ? std::make_shared<apple::FoundationLanguageModel>(kCalls) : nullptr;
    }
};

} // namespace

SystemLanguageModel& SystemLanguageModel::standard() {
    static FoundationModels models;
    return models;
}

} // namespace quillet
