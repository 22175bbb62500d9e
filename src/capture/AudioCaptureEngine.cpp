#include "capture/AudioCaptureEngine.h"

#include "support/MainThread.h"

#include <utility>

namespace quillet {
namespace {

QString text(const MicrophoneFailure& failure) {
    switch (failure.step) {
    case MicrophoneFailure::Step::NoDevice:
        return QStringLiteral("No microphone available.");
    case MicrophoneFailure::Step::DeviceInput:
        return QStringLiteral("Microphone input failed: ") + failure.description;
    case MicrophoneFailure::Step::AddInput:
        return QStringLiteral("Could not add microphone input.");
    case MicrophoneFailure::Step::AddOutput:
        return QStringLiteral("Could not add microphone output.");
    }
    return {};
}

} // namespace

std::shared_ptr<AudioCaptureEngine> AudioCaptureEngine::create(Hardware hardware, std::shared_ptr<Host> host) {
    return std::shared_ptr<AudioCaptureEngine>(new AudioCaptureEngine(std::move(hardware), std::move(host)));
}

AudioCaptureEngine::AudioCaptureEngine(Hardware hardware, std::shared_ptr<Host> host)
    : m_hardware(std::move(hardware)), m_host(std::move(host)) {}

AudioCaptureEngine::~AudioCaptureEngine() {
    // The sources deliver into this object: they end first, on the queue where they deliver.
    const auto endSources = [this] {
        m_captureSession.reset();
        m_stream.reset();
    };
    if (m_queue.isCurrent()) {
        endSources();
    } else {
        m_queue.sync(endSources);
    }
}

void AudioCaptureEngine::startRecording() {
    onQueue([](AudioCaptureEngine& engine) { engine.performStartRecording(); });
}

void AudioCaptureEngine::stopRecording() {
    onQueue([](AudioCaptureEngine& engine) { engine.performStopRecording(); });
}

void AudioCaptureEngine::performStartRecording() {
    clearErrorOnMain();
    m_hasReceivedFirstBuffer = false;
    m_mixer.reset();

    auto url = m_host->generateFileURL();
    if (!url) url = m_host->generateFileURLInApplicationSupport();
    if (!url) {
        if (std::holds_alternative<RecordingFileManagerError>(url.error())) alertOnMain(&Host::showDiskFull);
        setErrorOnMain(localizedDescription(url.error()));
        performStopRecording();
        return;
    }
    setOutputURL(*url);
    m_host->recordingStartsIn(url->parent_path());

    if (!startMicCapture()) return;
    m_hardware.systemAudio->getShareableContent(
        [weak = weak_from_this()](const Result<std::optional<ShareableContent>>& content) {
            if (const auto engine = weak.lock())
                engine->onQueue([content](AudioCaptureEngine& self) { self.continueWithContent(content); });
        });
}

bool AudioCaptureEngine::startMicCapture() {
    if (m_hardware.microphone->authorizationStatus() != AuthorizationStatus::Authorized) {
        alertOnMain(&Host::showPermissionDenied);
        setErrorOnMain(QStringLiteral(
            "Microphone access is required. Enable it in System Settings → Privacy & Security → Microphone."));
        return false;
    }
    auto session = m_hardware.microphone->start(m_queue, toMixer(&AudioMixer::deliverMicrophone));
    if (!session) {
        setErrorOnMain(text(session.error()));
        return false;
    }
    m_captureSession = std::move(session.value());
    return true;
}

/// What is on its way when the engine ends on its own queue arrives behind it.
SampleHandler AudioCaptureEngine::toMixer(void (AudioMixer::*deliver)(const SampleBuffer&)) {
    return [weak = weak_from_this(), deliver](const SampleBuffer& buffer) {
        if (const auto engine = weak.lock()) (engine->m_mixer.*deliver)(buffer);
    };
}

void AudioCaptureEngine::continueWithContent(const Result<std::optional<ShareableContent>>& content) {
    const auto fail = [this](const QString& message) {
        setErrorOnMain(message);
        performStopRecording();
    };
    if (!content) {
        alertOnMain(&Host::showPermissionDenied);
        return fail(QStringLiteral("Could not get shareable content: ") + content.error().description);
    }
    if (!*content) return fail(QStringLiteral("No shareable content returned."));
    if ((*content)->displays.empty()) return fail(kNoDisplayAvailable);

    const ContentFilter filter{.display = (*content)->displays.front()};
    auto stream = m_hardware.systemAudio->makeStream(filter, StreamConfiguration{});
    const auto added = stream->addStreamOutput(m_queue, toMixer(&AudioMixer::deliverSystemAudio));
    if (!added) return fail(QStringLiteral("Failed to add stream output: ") + added.error().description);

    m_stream = std::move(stream);
    m_stream->startCapture([weak = weak_from_this()](const std::optional<PlatformError>& error) {
        if (const auto engine = weak.lock())
            engine->onQueue([error](AudioCaptureEngine& self) { self.streamDidStart(error); });
    });
}

void AudioCaptureEngine::streamDidStart(const std::optional<PlatformError>& error) {
    if (!error) return setRecordingOnMain(true, std::chrono::system_clock::now());
    alertOnMain(&Host::showPermissionDenied);
    setErrorOnMain(QStringLiteral("Stream start failed: ") + error->description);
    m_mixer.tearDownMixer(); // what either source still delivers at its end makes no recording
    performStopRecording();
}

void AudioCaptureEngine::performStopRecording() {
    if (m_captureSession) {
        m_captureSession->stop();
        m_captureSession.reset();
    }
    if (!m_stream) {
        m_mixer.tearDownMixer();
        setRecordingOnMain(false, std::nullopt);
        return;
    }
    m_stream->stopCapture([weak = weak_from_this(), raw = m_stream.get(),
                           unfinished = countUnfinished()](const std::optional<PlatformError>&) {
        if (const auto engine = weak.lock()) engine->streamDidStop(raw, unfinished);
    });
}

/// Comes twice when the user stops a recording that a full disk is ending already.
void AudioCaptureEngine::streamDidStop(const SystemAudioStream* stream, const Unfinished& unfinished) {
    if (stream != m_stream.get()) return;
    m_stream.reset();
    m_mixer.tearDownMixer();
    finalizeWriter(unfinished);
}

void AudioCaptureEngine::setRecordingOnMain(bool recording, std::optional<WallTime> startDate) {
    MainThread::postWeakly<AudioCaptureEngine>(weak_from_this(), [=](AudioCaptureEngine& self) {
        self.isRecording.set(recording);
        self.recordingStartDate.set(recording ? startDate : std::nullopt);
    });
}

void AudioCaptureEngine::setErrorOnMain(const QString& message) {
    MainThread::postWeakly<AudioCaptureEngine>(weak_from_this(),
                                               [=](AudioCaptureEngine& self) { self.lastError.set(message); });
}

void AudioCaptureEngine::clearErrorOnMain() {
    MainThread::postWeakly<AudioCaptureEngine>(weak_from_this(),
                                               [](AudioCaptureEngine& self) { self.lastError.set(std::nullopt); });
}

void AudioCaptureEngine::setOutputURL(std::optional<std::filesystem::path> url) {
    m_outputURL = url;
    MainThread::postWeakly<AudioCaptureEngine>(
        weak_from_this(), [url = std::move(url)](AudioCaptureEngine& self) { self.outputURL.set(url); });
}

void AudioCaptureEngine::alertOnMain(void (Host::*show)()) {
    MainThread::post([host = m_host, show] { (host.get()->*show)(); });
}

void AudioCaptureEngine::onQueue(std::function<void(AudioCaptureEngine&)> work) {
    m_queue.async([weak = weak_from_this(), work = std::move(work)] {
        if (const auto engine = weak.lock()) work(*engine);
    });
}

} // namespace quillet
