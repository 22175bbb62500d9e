#include "summarisation/ModelReply.h"

#include "summarisation/ChatProtocol.h"
#include "summarisation/MeetingSummary.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace quillet;

void require(bool holds) {
    if (!holds) std::abort();
}

/// What is read is of the schema and reads the same again; what is unfinished has nothing of another type.
void readText(const QString& text) {
    const GenerationSchema schema = MeetingSummary::generationSchema();
    if (const auto content = readReply(text, schema)) {
        const auto summary = MeetingSummary::from(*content);
        require(summary.ok());
        const auto again = readReply(summary->promptRepresentation(), schema);
        require(again.ok() && *again == *content);
        (void)summaryTexts(*summary);
    }
    const GenerationID id = GenerationID::createUuid();
    const auto partial = MeetingSummary::PartiallyGenerated::from(readUnfinishedReply(text, schema, id));
    require(partial.ok() && partial->id == id);
}

chat::AnswerReader fed(const QByteArray& answer, qsizetype pieces) {
    chat::AnswerReader reader;
    for (qsizetype at = 0; at < answer.size(); at += pieces) reader.add(answer.mid(at, pieces));
    return reader;
}

} // namespace

// Whatever a server sends and a model says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const QByteArray answer(reinterpret_cast<const char*>(data) + 1, static_cast<qsizetype>(size) - 1);
    const auto whole = fed(answer, answer.size() + 1).finish();
    const auto inPieces = fed(answer, data[0] % 16 + 1).finish();
    require(whole.ok() == inPieces.ok());
    if (whole) {
        require(whole->text == inPieces->text && whole->isCutOff == inPieces->isCutOff);
        readText(whole->text);
    } else {
        require(whole.error() == inPieces.error());
    }
    (void)chat::faultOfStatus(400 + data[0], answer);
    readText(QString::fromUtf8(answer));
    return 0;
}
