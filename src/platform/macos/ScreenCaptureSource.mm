#include "platform/HostClock.h"
#include "platform/apple/FirstAnswer.h"
#include "platform/apple/QueueHandle.h"
#include "platform/apple/StampedSource.h"
#import "platform/macos/DispatchTicker.h"
#include "platform/macos/MacSources.h"
#import "platform/macos/MacSupport.h"
#import "platform/macos/SampleBuffers.h"
#include "support/Require.h"

#import <CoreGraphics/CoreGraphics.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>
#include <mutex>

using quillet::apple::StampedSource;

/// Takes the stream's sound on the stream's own queue.
@interface QuilletStreamOutput : NSObject <SCStreamOutput>
- (instancetype)initWithSource:(std::shared_ptr<StampedSource>)source;
@end

@implementation QuilletStreamOutput {
    std::shared_ptr<StampedSource> _source;
}

- (instancetype)initWithSource:(std::shared_ptr<StampedSource>)source {
    self = [super init];
    if (self) _source = std::move(source);
    return self;
}

- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type {
    if (type != SCStreamOutputTypeAudio) return;
    const auto time = quillet::presentationTime(sampleBuffer, nullptr);
    quillet::withSamples(sampleBuffer, [&](const quillet::apple::NativeAudio& audio) {
        _source->deliver(audio, time, quillet::hostNow());
    });
}

@end

namespace quillet {
namespace {

using apple::FirstAnswer;
using apple::QueueHandle;

PlatformError noAnswer() { return {0, QStringLiteral("screen capture does not answer")}; }

class ScreenCaptureStream final : public SystemAudioStream {
public:
    ScreenCaptureStream(SCContentFilter* filter, SCStreamConfiguration* configuration)
        : m_stream([[SCStream alloc] initWithFilter:filter configuration:configuration delegate:nil]) {}
    ~ScreenCaptureStream() override {
        endDelivery();
        if (m_captureQueue) m_captureQueue->detach();
        if (m_capturing) [m_stream stopCaptureWithCompletionHandler:nil];
    }

    Result<void> addStreamOutput(SerialQueue& queue, SampleHandler handler) override {
        require(m_source == nullptr, "a stream has one output");
        m_captureQueue = std::make_shared<QueueHandle>(queue);
        m_source =
            std::make_shared<StampedSource>(queue, std::move(handler), 2, DeliveryPool::FirstStamp::AtFrame, hostNow());
        m_output = [[QuilletStreamOutput alloc] initWithSource:m_source];
        NSError* error = nil;
        if (![m_stream addStreamOutput:m_output
                                  type:SCStreamOutputTypeAudio
                    sampleHandlerQueue:m_sampleQueue
                                 error:&error])
            return Failure{toPlatformError(error)};
        return {};
    }

    void startCapture(Completion completion) override {
        require(m_source != nullptr, "a stream without output is started");
        m_capturing = true;
        m_ticker = std::make_unique<DispatchTicker>();
        m_ticker->start(m_sampleQueue, apple::kTickInterval, [source = m_source] { source->tick(hostNow()); });
        const FirstAnswer<std::optional<PlatformError>> answer(std::move(completion));
        [m_stream startCaptureWithCompletionHandler:^(NSError* error) {
          answer(error ? std::optional(toPlatformError(error)) : std::nullopt);
        }];
        dispatch_after(serviceDeadline(), m_sampleQueue, ^{
          answer(noAnswer());
        });
    }

    void stopCapture(Completion completion) override {
        require(m_source != nullptr, "a stream without output is stopped");
        endDelivery();
        m_capturing = false;
        // On the capture queue, if that still is there when the answer comes.
        const FirstAnswer<std::optional<PlatformError>> answer(
            [queue = m_captureQueue, completion = std::move(completion)](const std::optional<PlatformError>& error) {
                queue->async([completion, error] { completion(error); });
            });
        [m_stream stopCaptureWithCompletionHandler:^(NSError* error) {
          answer(error ? std::optional(toPlatformError(error)) : std::nullopt);
        }];
        dispatch_after(serviceDeadline(), m_sampleQueue, ^{
          answer(noAnswer());
        });
    }

private:
    void endDelivery() {
        m_ticker.reset();
        if (!m_source) return;
        const auto source = m_source;
        dispatch_sync(m_sampleQueue, ^{
          source->end(hostNow());
        });
        m_source->close();
    }

    SCStream* const m_stream;
    const dispatch_queue_t m_sampleQueue = dispatch_queue_create("quillet.system-audio", DISPATCH_QUEUE_SERIAL);
    std::shared_ptr<QueueHandle> m_captureQueue;
    std::shared_ptr<StampedSource> m_source;
    QuilletStreamOutput* m_output = nil;
    std::unique_ptr<DispatchTicker> m_ticker;
    bool m_capturing = false;
};

NSString* identifierOf(SCDisplay* display) { return [NSString stringWithFormat:@"%u", display.displayID]; }

class ScreenCaptureSource final : public SystemAudioSource {
public:
    explicit ScreenCaptureSource(std::function<QString()> display) : m_display(std::move(display)) {}

    void getShareableContent(ContentCompletion completion) override {
        using Answer = Result<std::optional<ShareableContent>>;
        const FirstAnswer<Answer> answer(std::move(completion));
        const std::shared_ptr<Known> known = m_known;
        const QString chosen = m_display();
        // Connects to the window server, without which the framework may give up on the whole process.
        static_cast<void>(CGMainDisplayID());
        [SCShareableContent getShareableContentExcludingDesktopWindows:NO
                                                   onScreenWindowsOnly:NO
                                                     completionHandler:^(SCShareableContent* content, NSError* error) {
                                                       if (error) return answer(Failure{toPlatformError(error)});
                                                       if (!content) return answer(Answer(std::nullopt));
                                                       known->set(content.displays);
                                                       answer(Answer(listed(content.displays, chosen)));
                                                     }];
        dispatch_after(serviceDeadline(), dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0), ^{
          answer(Failure{noAnswer()});
        });
    }

    std::shared_ptr<SystemAudioStream> makeStream(const ContentFilter& filter,
                                                  const StreamConfiguration& wanted) override {
        SCDisplay* const display = m_known->find(toNSString(filter.display));
        require(display != nil, "a display is captured that was not listed");
        SCContentFilter* const contentFilter = [[SCContentFilter alloc] initWithDisplay:display
                                                                  excludingApplications:@[]
                                                                       exceptingWindows:@[]];
        SCStreamConfiguration* const configuration = [[SCStreamConfiguration alloc] init];
        configuration.capturesAudio = wanted.capturesAudio;
        configuration.excludesCurrentProcessAudio = wanted.excludesCurrentProcessAudio;
        configuration.sampleRate = wanted.sampleRateHz;
        configuration.channelCount = wanted.channelCount;
        return std::make_shared<ScreenCaptureStream>(contentFilter, configuration);
    }

private:
    /// The displays of the last answer, which comes on a thread of the service's.
    class Known {
    public:
        void set(NSArray<SCDisplay*>* displays) {
            const std::lock_guard lock(m_mutex);
            m_displays = displays;
        }
        SCDisplay* _Nullable find(NSString* identifier) {
            const std::lock_guard lock(m_mutex);
            for (SCDisplay* display in m_displays) {
                if ([identifierOf(display) isEqualToString:identifier]) return display;
            }
            return nil;
        }

    private:
        std::mutex m_mutex;
        NSArray<SCDisplay*>* m_displays = @[];
    };

    static ShareableContent listed(NSArray<SCDisplay*>* displays, const QString& chosen) {
        ShareableContent content;
        for (SCDisplay* display in displays) {
            const QString identifier = fromNSString(identifierOf(display));
            if (chosen.isEmpty() || chosen == identifier) content.displays.push_back(identifier);
        }
        return content;
    }

    const std::function<QString()> m_display;
    const std::shared_ptr<Known> m_known = std::make_shared<Known>();
};

} // namespace

std::shared_ptr<SystemAudioSource> makeScreenCaptureSource(std::function<QString()> display) {
    return std::make_shared<ScreenCaptureSource>(std::move(display));
}

} // namespace quillet
