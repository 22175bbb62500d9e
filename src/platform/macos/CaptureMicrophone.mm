#include "platform/HostClock.h"
#include "platform/apple/ErrorTexts.h"
#include "platform/apple/StampedSource.h"
#import "platform/macos/DispatchTicker.h"
#include "platform/macos/MacSources.h"
#import "platform/macos/MacSupport.h"
#import "platform/macos/SampleBuffers.h"

#import <AVFoundation/AVFoundation.h>

using quillet::MicrophoneFailure;
using quillet::apple::StampedSource;

/// One capture session with the microphone in it. Its sound comes on a queue of its own; what changes the session runs
/// on another, because stopping waits for the first. When the device goes, or the session fails, it moves to the device
/// that is the default then; until there is one, the source's own silence takes its place.
@interface QuilletMicrophone : NSObject <AVCaptureAudioDataOutputSampleBufferDelegate>
- (instancetype)initWithSource:(std::shared_ptr<StampedSource>)source uniqueID:(nullable NSString*)uniqueID;
/// Nothing when the session runs.
- (std::optional<MicrophoneFailure>)start;
- (void)stop;
@end

@implementation QuilletMicrophone {
    std::shared_ptr<StampedSource> _source;
    NSString* _uniqueID;
    dispatch_queue_t _sampleQueue;
    dispatch_queue_t _sessionQueue;
    AVCaptureSession* _session; ///< set once, before any sound comes
    AVCaptureDeviceInput* _input;
    BOOL _stopped;
    AVCaptureAudioDataOutput* _output;
    quillet::DispatchTicker _ticker;
}

- (instancetype)initWithSource:(std::shared_ptr<StampedSource>)source uniqueID:(nullable NSString*)uniqueID {
    self = [super init];
    if (self) {
        _source = std::move(source);
        _uniqueID = [uniqueID copy];
        _sampleQueue = dispatch_queue_create("quillet.microphone", DISPATCH_QUEUE_SERIAL);
        _sessionQueue = dispatch_queue_create("quillet.microphone-session", DISPATCH_QUEUE_SERIAL);
    }
    return self;
}

- (nullable AVCaptureDevice*)device {
    if (_uniqueID) return [AVCaptureDevice deviceWithUniqueID:_uniqueID];
    return [AVCaptureDevice defaultDeviceWithMediaType:AVMediaTypeAudio];
}

/// 48 kHz interleaved floats, whatever the device has; the number of channels stays the device's.
+ (NSDictionary<NSString*, id>*)audioSettings {
    return @{
        AVFormatIDKey : @(kAudioFormatLinearPCM),
        AVSampleRateKey : @(quillet::kSampleRateHz),
        AVLinearPCMBitDepthKey : @32,
        AVLinearPCMIsFloatKey : @YES,
        AVLinearPCMIsBigEndianKey : @NO,
        AVLinearPCMIsNonInterleaved : @NO,
    };
}

- (std::optional<MicrophoneFailure>)start {
    __block std::optional<MicrophoneFailure> failure;
    dispatch_sync(_sessionQueue, ^{
      failure = [self openSession];
    });
    if (failure) return failure;
    NSNotificationCenter* const center = NSNotificationCenter.defaultCenter;
    for (NSNotificationName name in @[
             AVCaptureDeviceWasConnectedNotification, AVCaptureDeviceWasDisconnectedNotification,
             AVCaptureSessionRuntimeErrorNotification
         ]) {
        [center addObserver:self selector:@selector(devicesDidChange:) name:name object:nil];
    }
    const auto source = _source;
    _ticker.start(_sampleQueue, quillet::apple::kTickInterval, [source] { source->tick(quillet::hostNow()); });
    return std::nullopt;
}

/// On the session's queue.
- (std::optional<MicrophoneFailure>)openSession {
    using Step = MicrophoneFailure::Step;
    AVCaptureDevice* const device = [self device];
    if (!device && _uniqueID) {
        const QString text = QStringLiteral("there is no microphone “%1”").arg(quillet::fromNSString(_uniqueID));
        return MicrophoneFailure{.step = Step::DeviceInput, .description = text, .isNamedDeviceMissing = true};
    }
    if (!device) return MicrophoneFailure{Step::NoDevice, {}};

    AVCaptureSession* const session = [[AVCaptureSession alloc] init];
    [session beginConfiguration];
    session.sessionPreset = AVCaptureSessionPresetHigh;
    const auto failed = [session](Step step, const QString& text) {
        [session commitConfiguration];
        return MicrophoneFailure{step, text};
    };
    NSError* error = nil;
    AVCaptureDeviceInput* const input = [AVCaptureDeviceInput deviceInputWithDevice:device error:&error];
    if (!input) return failed(Step::DeviceInput, quillet::toPlatformError(error).description);
    if (![session canAddInput:input]) return failed(Step::AddInput, {});
    [session addInput:input];

    AVCaptureAudioDataOutput* const output = [[AVCaptureAudioDataOutput alloc] init];
    output.audioSettings = [QuilletMicrophone audioSettings];
    [output setSampleBufferDelegate:self queue:_sampleQueue];
    if (![session canAddOutput:output]) return failed(Step::AddOutput, {});
    [session addOutput:output];
    [session commitConfiguration];

    _session = session;
    _input = input;
    _output = output;
    [session startRunning];
    return std::nullopt;
}

- (void)stop {
    [NSNotificationCenter.defaultCenter removeObserver:self];
    dispatch_sync(_sessionQueue, ^{
      self->_stopped = YES;
      [self->_output setSampleBufferDelegate:nil queue:nil];
      [self->_session stopRunning];
    });
    dispatch_sync(_sampleQueue, ^{
      self->_source->end(quillet::hostNow());
    });
}

- (void)devicesDidChange:(NSNotification*)notification {
    __weak QuilletMicrophone* const weakSelf = self;
    dispatch_async(_sessionQueue, ^{
      [weakSelf followDevice];
    });
}

/// On the session's queue. Nothing to do while the device that we have is there and running.
- (void)followDevice {
    if (_stopped) return;
    if (_input && _input.device.connected && _session.running) return;
    AVCaptureDevice* const device = [self device];
    AVCaptureDeviceInput* const input = device ? [AVCaptureDeviceInput deviceInputWithDevice:device error:nil] : nil;
    if (!input) return; // the next change may bring one

    [_session beginConfiguration];
    if (_input) [_session removeInput:_input];
    _input = nil;
    if ([_session canAddInput:input]) {
        [_session addInput:input];
        _input = input;
    }
    [_session commitConfiguration];
    if (!_session.running) [_session startRunning];
    const auto source = _source;
    dispatch_async(_sampleQueue, ^{
      source->interrupted();
    });
}

- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
           fromConnection:(AVCaptureConnection*)connection {
    // Without pictures the session runs on the microphone's own clock, which is not the one of the system audio.
    const auto time = quillet::presentationTime(sampleBuffer, _session.synchronizationClock);
    quillet::withSamples(sampleBuffer, [&](const quillet::apple::NativeAudio& audio) {
        _source->deliver(audio, time, quillet::hostNow());
    });
}

@end

namespace quillet {
namespace {

class CaptureMicrophoneSession final : public MicrophoneSession {
public:
    CaptureMicrophoneSession(std::shared_ptr<StampedSource> source, QuilletMicrophone* microphone)
        : m_source(std::move(source)), m_microphone(microphone) {}
    ~CaptureMicrophoneSession() override { stop(); }

    void stop() override {
        if (!m_microphone) return;
        [m_microphone stop];
        m_source->close();
        m_microphone = nil;
    }

private:
    const std::shared_ptr<StampedSource> m_source;
    QuilletMicrophone* _Nullable m_microphone;
};

class CaptureMicrophoneSource final : public MicrophoneSource {
public:
    explicit CaptureMicrophoneSource(std::function<QString()> uniqueID) : m_uniqueID(std::move(uniqueID)) {}

    AuthorizationStatus authorizationStatus() override {
        return apple::authorizationStatus([AVCaptureDevice authorizationStatusForMediaType:AVMediaTypeAudio]);
    }

    Result<std::unique_ptr<MicrophoneSession>, MicrophoneFailure> start(SerialQueue& queue,
                                                                        SampleHandler handler) override {
        auto source = std::make_shared<StampedSource>(queue, std::move(handler), 1,
                                                      DeliveryPool::FirstStamp::InsideFrame, hostNow());
        const QString chosen = m_uniqueID();
        QuilletMicrophone* const microphone =
            [[QuilletMicrophone alloc] initWithSource:source uniqueID:chosen.isEmpty() ? nil : toNSString(chosen)];
        if (auto failure = [microphone start]) return Failure{*failure};
        return std::unique_ptr<MicrophoneSession>(
            std::make_unique<CaptureMicrophoneSession>(std::move(source), microphone));
    }

private:
    const std::function<QString()> m_uniqueID;
};

} // namespace

std::shared_ptr<MicrophoneSource> makeCaptureMicrophoneSource(std::function<QString()> uniqueID) {
    return std::make_shared<CaptureMicrophoneSource>(std::move(uniqueID));
}

} // namespace quillet
