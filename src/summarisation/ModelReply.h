#pragma once

#include "support/GeneratedContent.h"

#include <QString>

namespace quillet {

/// What is wrong with a model's reply.
enum class ReplyFault {
    NoObject,  ///< prose, or nothing
    CutOff,    ///< an object that does not end
    WrongShape ///< an object, but not of the schema
};

/// Reads the text of a reply as an object of the schema. Servers that do not know schemas let their models talk: an
/// object in a code fence, behind a train of thought or inside another object is found, and a field of another type is
/// taken where it can only mean one thing, such as null or one text for a list. Nothing is made up: a field that is
/// missing is a fault. The time taken is proportional to the text's length.
[[nodiscard]] Result<GeneratedContent, ReplyFault> readReply(const QString& text, const GenerationSchema& schema);

/// What there is of the object in a reply that is still being written; the last text or list may be half of itself.
[[nodiscard]] GeneratedContent readUnfinishedReply(const QString& text, const GenerationSchema& schema,
                                                   const GenerationID& id);

} // namespace quillet
