#pragma once

#include "platform/LanguageModel.h"
#include "platform/apple/FoundationModelCalls.h"

#include <memory>

namespace quillet::apple {

/// The ways into the system's language model, as the Swift side offers them; a test has its own.
struct FoundationModelCalls {
    bool (*opensSession)() = nullptr;
    bool (*isReady)() = nullptr;
    void* (*request)(const QuilletModelRequest* request, void* context, QuilletModelAnswer answer) = nullptr;
    void (*cancel)(void* handle) = nullptr;
    void (*release)(void* handle) = nullptr;
};

/// The system's language model behind the interface of all language models: hands a request over, waits for its answer
/// and reads it by the schema. No handle: the model is not there.
class FoundationLanguageModel final : public LanguageModel {
public:
    explicit FoundationLanguageModel(const FoundationModelCalls& calls) : m_calls(calls) {}

    [[nodiscard]] bool isAvailable() const override { return m_calls.isReady(); }
    [[nodiscard]] int contextTokens() const override { return 4096; }
    [[nodiscard]] Reply respond(const ModelRequest& request, const StopToken& stop) override;
    [[nodiscard]] Reply streamResponse(const ModelRequest& request, const Snapshots& snapshots,
                                       const StopToken& stop) override;

private:
    const FoundationModelCalls m_calls;
};

/// The fields of a schema in their order, as the Swift side reads them.
[[nodiscard]] QByteArray propertiesJson(const GenerationSchema& schema);

} // namespace quillet::apple
