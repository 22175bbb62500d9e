#pragma once

#include "support/GeneratedContent.h"
#include "support/Result.h"
#include "support/StopToken.h"

#include <QString>

#include <functional>
#include <memory>

namespace quillet {

/// Why a model gave no answer. The reason is a sentence for the user, without secrets and without the server's words.
struct ModelError {
    enum class Kind {
        Unavailable,    ///< there is no model, or nobody answers
        ContextTooLong, ///< the request does not fit into what the model can hold
        Refused,        ///< by the model's guardrails, or by the service for want of a right
        TimedOut,
        Unreadable, ///< an answer that is not what was asked for
        Failed,     ///< anything else on the model's side
        Cancelled
    };
    Kind kind = Kind::Failed;
    QString reason;
};

/// What a model is asked: it answers with one object of the schema.
struct ModelRequest {
    QString instructions;
    QString prompt;
    GenerationSchema schema;
};

/// A language model: the system's own, one behind a server on this machine, or one in the cloud. A request blocks its
/// caller, on a worker, for as long as the model takes; asked to stop it comes back soon with Cancelled. One request at
/// a time. Each request stands for itself, the model remembers nothing. Nothing throws.
class LanguageModel {
public:
    /// Called on the requesting thread with what there is of the object so far; all snapshots of one reply have one id.
    using Snapshots = std::function<void(const GeneratedContent& snapshot)>;
    using Reply = Result<GeneratedContent, ModelError>;

    virtual ~LanguageModel() = default;

    /// From what is known without asking it: a request to a model that is available can still fail.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /// How much instructions, prompt and answer may take together.
    [[nodiscard]] virtual int contextTokens() const = 0;

    /// The answer as a whole.
    [[nodiscard]] virtual Reply respond(const ModelRequest& request, const StopToken& stop) = 0;
    /// The same, with snapshots while it is being written.
    [[nodiscard]] virtual Reply streamResponse(const ModelRequest& request, const Snapshots& snapshots,
                                               const StopToken& stop) = 0;
};

/// The operating system's own language model.
class SystemLanguageModel {
public:
    virtual ~SystemLanguageModel() = default;

    /// Whether this version of the system has one; opens a session on it, without tools and instructions, and closes it
    /// at once. Whether the model is switched on, loaded or made for this machine is not asked. Main thread.
    [[nodiscard]] virtual bool isOfferedBySystem() = 0;
    /// Null where the system has none.
    [[nodiscard]] virtual std::shared_ptr<LanguageModel> model() = 0;

    /// That of the running system.
    static SystemLanguageModel& standard();
};

} // namespace quillet
