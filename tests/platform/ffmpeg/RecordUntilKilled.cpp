#include "platform/linux/ffmpeg/M4aAssetWriter.h"
#include "storage/m4a/TestRecordings.h"

#include <chrono>
#include <thread>
#include <unistd.h>

// Records into the file it is given, in real time, and writes a byte to its output for each block that the writer has
// taken. Whoever started it kills it in the middle.
int main(int argc, char** argv) {
    using namespace quillet;
    constexpr std::int64_t kBlocks = 2000;
    M4aAssetWriterFactory factory;
    const auto writer = factory.makeWriter(argc > 1 ? argv[1] : "");
    if (!writer || !(*writer)->addInput({}) || !(*writer)->startWriting()) return 1;
    (*writer)->startSession({0, kSampleRateHz});

    const std::vector<float> sound = test::testSound(kBlocks);
    const auto start = std::chrono::steady_clock::now();
    for (std::int64_t i = 0; i < kBlocks; ++i) {
        const std::int64_t frame = i * kBlockFrames;
        std::this_thread::sleep_until(start + std::chrono::nanoseconds(frame * 1'000'000'000 / kSampleRateHz));
        const auto samples = std::span(sound).subspan(static_cast<std::size_t>(frame) * 2, 2 * kBlockFrames);
        if (!(*writer)->append(
                {std::as_bytes(samples), &kInterleavedStereoFloat, {frame, kSampleRateHz}, kBlockFrames}))
            return 1;
        if (write(STDOUT_FILENO, ".", 1) != 1) return 1;
    }
    return 0;
}
