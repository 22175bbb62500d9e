#pragma once

#include "platform/LanguageModel.h"

namespace quillet::test {

/// A system that has a language model of its own, or none.
class FakeSystemModel final : public SystemLanguageModel {
public:
    bool offers = false;
    int asked = 0;
    bool isOfferedBySystem() override {
        ++asked;
        return offers;
    }
    std::shared_ptr<LanguageModel> model() override { return nullptr; }
};

} // namespace quillet::test
