#include "capture/DeliveryPool.h"
#include "platform/AudioFileReader.h"
#import "platform/macos/MacSupport.h"
#import "platform/macos/SampleBuffers.h"

#import <AVFoundation/AVFoundation.h>
#include <algorithm>
#include <vector>

namespace quillet {
namespace {

/// Files on a server that has gone away are not waited for longer than this.
constexpr int64_t kMostPatienceNs = 10 * static_cast<int64_t>(NSEC_PER_SEC);

Failure<PlatformError> failure(const QString& clause) { return Failure{PlatformError{0, clause}}; }

NSDictionary<NSString*, id>* floatSettings(int channels) {
    return @{
        AVFormatIDKey : @(kAudioFormatLinearPCM),
        AVSampleRateKey : @(kSampleRateHz),
        AVNumberOfChannelsKey : @(channels),
        AVLinearPCMBitDepthKey : @32,
        AVLinearPCMIsFloatKey : @YES,
        AVLinearPCMIsBigEndianKey : @NO,
        AVLinearPCMIsNonInterleaved : @NO,
    };
}

class AssetFileReader final : public AudioFileReader {
public:
    AssetFileReader(AVAssetReader* reader, AVAssetReaderTrackOutput* output, int channels)
        : m_reader(reader), m_output(output), m_channels(channels) {}
    ~AssetFileReader() override { [m_reader cancelReading]; }

    int channels() const override { return m_channels; }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(m_channels);
        const std::size_t wanted = interleaved.size() / channels * channels;
        std::size_t done = 0;
        while (done < wanted && (m_taken < m_ready.size() || refill())) {
            const std::size_t part = std::min(m_ready.size() - m_taken, wanted - done);
            std::copy_n(m_ready.begin() + static_cast<std::ptrdiff_t>(m_taken), part,
                        interleaved.begin() + static_cast<std::ptrdiff_t>(done));
            m_taken += part;
            done += part;
        }
        copySanitized(interleaved.first(done), interleaved.first(done));
        return done / channels;
    }

    std::optional<PlatformError> readError() const override {
        if (!m_reader.error) return std::nullopt;
        return toPlatformError(m_reader.error);
    }

private:
    /// Until there is something to take; false at the end.
    bool refill() {
        @autoreleasepool {
            m_taken = 0;
            m_ready.clear();
            while (m_ready.empty()) {
                const Owned<CMSampleBufferRef> buffer([m_output copyNextSampleBuffer]);
                if (!buffer) return false;
                withSamples(buffer.get(), [this](const apple::NativeAudio& audio) {
                    if (!apple::readInterleaved(audio, m_channels, m_ready)) m_ready.clear();
                });
            }
            return true;
        }
    }

    AVAssetReader* const m_reader;
    AVAssetReaderTrackOutput* const m_output;
    const int m_channels;
    std::vector<float> m_ready;
    std::size_t m_taken = 0;
};

/// The file's sound, waiting for it.
Result<AVAssetTrack*> soundTrack(AVURLAsset* asset) {
    __block NSArray<AVAssetTrack*>* tracks = nil;
    __block NSError* failed = nil;
    const dispatch_semaphore_t done = dispatch_semaphore_create(0);
    [asset loadTracksWithMediaType:AVMediaTypeAudio
                 completionHandler:^(NSArray<AVAssetTrack*>* found, NSError* error) {
                   tracks = found;
                   failed = error;
                   dispatch_semaphore_signal(done);
                 }];
    if (dispatch_semaphore_wait(done, dispatch_time(DISPATCH_TIME_NOW, kMostPatienceNs)) != 0)
        return failure(QStringLiteral("it cannot be read in reasonable time"));
    if (failed) return Failure{toPlatformError(failed)};
    AVAssetTrack* const track = tracks.firstObject;
    if (!track) return failure(QStringLiteral("it holds no sound"));
    return track;
}

int channelsOf(AVAssetTrack* track) {
    const id first = track.formatDescriptions.firstObject;
    if (!first) return 2;
    const auto format = (__bridge CMAudioFormatDescriptionRef)first;
    const AudioStreamBasicDescription* const description = CMAudioFormatDescriptionGetStreamBasicDescription(format);
    return description && description->mChannelsPerFrame == 1 ? 1 : 2;
}

} // namespace

Result<std::unique_ptr<AudioFileReader>> openAudioFile(const std::filesystem::path& path) {
    @autoreleasepool {
        AVURLAsset* const asset = [AVURLAsset URLAssetWithURL:toFileURL(path) options:nil];
        const auto track = soundTrack(asset);
        if (!track) return Failure{track.error()};
        const int channels = channelsOf(*track);

        NSError* error = nil;
        AVAssetReader* const reader = [AVAssetReader assetReaderWithAsset:asset error:&error];
        if (!reader) return Failure{toPlatformError(error)};
        AVAssetReaderTrackOutput* const output =
            [AVAssetReaderTrackOutput assetReaderTrackOutputWithTrack:*track outputSettings:floatSettings(channels)];
        output.alwaysCopiesSampleData = NO;
        if (![reader canAddOutput:output]) return failure(QStringLiteral("its sound cannot be decoded"));
        [reader addOutput:output];
        if (![reader startReading]) return Failure{toPlatformError(reader.error)};
        return std::unique_ptr<AudioFileReader>(std::make_unique<AssetFileReader>(reader, output, channels));
    }
}

} // namespace quillet
