#include "storage/m4a/FinishInPlace.h"

#include "storage/m4a/MemoryFile.h"

#include <cstdint>
#include <cstdlib>
#include <span>

// Whatever a file of ours may have become: it is finished, and then is no unfinished recording any more, or it stays
// as it was.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillet;
    const auto bytes = std::as_bytes(std::span(data, size));
    const test::ByteVector before(bytes.begin(), bytes.end());
    test::MemoryFile file(before);
    if (m4a::finishInPlace(file, {}).ok()) {
        if (m4a::finishInPlace(file, {}).ok()) std::abort();
    } else if (file.disk().bytes != before) {
        std::abort();
    }
    return 0;
}
