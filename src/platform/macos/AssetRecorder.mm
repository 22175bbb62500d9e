#include "platform/macos/AssetRecorder.h"

#include "platform/RecordingFiles.h"
#include "platform/common/QueuedAssetWriter.h"
#import "platform/macos/MacSupport.h"
#import "platform/macos/SampleBuffers.h"

#import <AVFoundation/AVFoundation.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <thread>

namespace quillet {
namespace {

using namespace std::chrono_literals;

/// Blocks that are handed to the asset writer at a time: half a second of sound.
constexpr std::size_t kBlocksPerBatch = 24;
constexpr auto kEncoderPause = 5ms;
/// The queue before the recorder holds 15 s; an encoder that takes nothing for longer has stopped for good.
constexpr auto kMostPatience = 30s;

constexpr int kFirstFragmentSeconds = 1;
constexpr int kFragmentSeconds = 2;
constexpr std::int64_t kFirstFragmentFrames = std::int64_t{kFirstFragmentSeconds} * kSampleRateHz;
constexpr std::int64_t kFragmentFrames = std::int64_t{kFragmentSeconds} * kSampleRateHz;

NSDictionary<NSString*, id>* toDictionary(const AudioOutputSettings& settings) {
    return @{
        AVFormatIDKey : @(settings.formatID),
        AVSampleRateKey : @(settings.sampleRateHz),
        AVNumberOfChannelsKey : @(settings.channelCount),
        AVEncoderBitRateKey : @(settings.bitRate),
    };
}

class AssetRecorder final : public BlockRecorder {
public:
    static Result<std::unique_ptr<AssetRecorder>> create(const std::filesystem::path& url) {
        NSError* error = nil;
        AVAssetWriter* const writer = [[AVAssetWriter alloc] initWithURL:toFileURL(url)
                                                                fileType:AVFileTypeAppleM4A
                                                                   error:&error];
        if (!writer) return Failure{toPlatformError(error)};
        AVAssetWriterInput* const input =
            [[AVAssetWriterInput alloc] initWithMediaType:AVMediaTypeAudio
                                           outputSettings:toDictionary(AudioOutputSettings{})];
        input.expectsMediaDataInRealTime = YES;
        auto format = makeBlockFormat();
        if (!format || ![writer canAddInput:input])
            return Failure{PlatformError{ENOTSUP, QStringLiteral("the encoder cannot be had")}};
        [writer addInput:input];
        writer.initialMovieFragmentInterval = CMTimeMake(kFirstFragmentSeconds, 1);
        writer.movieFragmentInterval = CMTimeMake(kFragmentSeconds, 1);
        // A folder that cannot be written to shows only here, and the caller has another one to try.
        if (![writer startWriting]) return Failure{toPlatformError(writer.error)};
        [writer startSessionAtSourceTime:CMTimeMake(0, kSampleRateHz)];
        auto mark = markAsBeingWritten(url);
        return std::unique_ptr<AssetRecorder>(
            new AssetRecorder(writer, input, std::move(format), mark ? std::move(*mark) : nullptr));
    }

    Result<void> write(const StereoBlock& block) override {
        @autoreleasepool {
            if (auto ready = waitUntilReady(); !ready) return ready;
            for (std::size_t i = 0; i < block.left.size(); ++i) {
                m_interleaved[2 * i] = block.left[i];
                m_interleaved[2 * i + 1] = block.right[i];
            }
            const auto buffer = makePCMSampleBuffer(m_interleaved, m_frames, m_format.get());
            m_frames += kBlockFrames; // what cannot be built is left out, and what follows keeps its place
            if (buffer && ![m_input appendSampleBuffer:buffer.get()] && m_writer.status == AVAssetWriterStatusFailed)
                return fail(toPlatformError(m_writer.error));
            return {};
        }
    }

    Result<void> flush() override { return {}; } // the asset writer sees to its fragments
    Result<void> drain() override { return {}; }
    std::int64_t framesWritten() const override { return m_frames; }

    /// Of a file that could not be finished only the whole fragments count, and the last of them may not be there yet.
    std::int64_t framesStored() const override {
        if (!m_failed) return m_frames;
        const std::int64_t more = (m_frames - kFirstFragmentFrames) / kFragmentFrames - 1;
        return more >= 0 ? kFirstFragmentFrames + more * kFragmentFrames : 0;
    }

    Result<std::int64_t> finish() override {
        @autoreleasepool {
            if (m_writer.status != AVAssetWriterStatusWriting) {
                m_failed = true;
                // The whole fragments play as they are, and no repair could add to them.
                if (const std::int64_t stored = framesStored(); stored > 0) return stored;
                return fail(toPlatformError(m_writer.error));
            }
            [m_input markAsFinished];
            const dispatch_semaphore_t done = dispatch_semaphore_create(0);
            [m_writer finishWritingWithCompletionHandler:^{
              dispatch_semaphore_signal(done);
            }];
            dispatch_semaphore_wait(done, DISPATCH_TIME_FOREVER);
            if (m_writer.status == AVAssetWriterStatusCompleted) return m_frames;
            return fail(toPlatformError(m_writer.error));
        }
    }

    void remove() override {
        if (m_writer.status == AVAssetWriterStatusWriting) [m_writer cancelWriting]; // removes the file
        if (m_mark) m_mark->remove();
    }

private:
    AssetRecorder(AVAssetWriter* writer, AVAssetWriterInput* input, Owned<CMAudioFormatDescriptionRef> format,
                  std::unique_ptr<RecordingFile> mark)
        : m_writer(writer), m_input(input), m_format(std::move(format)), m_mark(std::move(mark)) {}

    Result<void> waitUntilReady() {
        const auto deadline = std::chrono::steady_clock::now() + kMostPatience;
        while (!m_input.readyForMoreMediaData) {
            if (m_writer.status != AVAssetWriterStatusWriting) return fail(toPlatformError(m_writer.error));
            if (std::chrono::steady_clock::now() > deadline)
                return fail({ETIMEDOUT, QStringLiteral("the encoder takes no more sound")});
            std::this_thread::sleep_for(kEncoderPause);
        }
        return {};
    }

    Failure<PlatformError> fail(PlatformError error) {
        m_failed = true;
        return Failure{std::move(error)};
    }

    AVAssetWriter* const m_writer;
    AVAssetWriterInput* const m_input;
    const Owned<CMAudioFormatDescriptionRef> m_format;
    const std::unique_ptr<RecordingFile> m_mark;      ///< null where the volume has no locks
    std::array<float, kBlockSamples> m_interleaved{}; ///< of the latest block
    std::int64_t m_frames = 0;
    bool m_failed = false;
};

} // namespace

Result<std::shared_ptr<AssetWriter>> MacAssetWriterFactory::makeWriter(const std::filesystem::path& url,
                                                                       const TellSetAside& tell) {
    if (auto aside = setAsideEarlierRecording(url, tell); !aside) return Failure{aside.error()};
    auto recorder = AssetRecorder::create(url);
    if (!recorder) return Failure{recorder.error()};
    return makeQueuedAssetWriter(std::move(*recorder), kBlocksPerBatch);
}

} // namespace quillet
