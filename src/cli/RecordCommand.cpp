#include "app/NotesServices.h"
#include "app/RecordingHost.h"
#include "capture/FilePlayer.h"
#include "capture/RecordingControl.h"
#include "cli/Commands.h"
#include "cli/FreeSpace.h"
#include "cli/ProgressLine.h"
#include "cli/RecordOptions.h"
#include "cli/RecordReport.h"
#include "cli/StopRequests.h"
#include "platform/AudioFileReader.h"
#include "platform/Platform.h"
#include "platform/Process.h"
#include "storage/RecordingRecovery.h"
#include "support/FileUrl.h"
#include "support/ShownText.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <thread>

namespace quillet::cli {
namespace {

namespace fs = std::filesystem;

const QString kUnfinished =
    QStringLiteral("The recording could not be finished; “quillet recover” may still repair it.");
constexpr std::chrono::seconds kUsualFinish{5}; ///< on a disk that is well, with time to spare

fs::path toPath(const QString& text) { return QFile::encodeName(text).toStdString(); }
QString toText(const fs::path& path) { return QFile::decodeName(path.c_str()); }
/// Absolute, as far as there is a working folder, and without a slash at the end.
fs::path wholePath(const fs::path& folder) {
    std::error_code error;
    const fs::path absolute = fs::absolute(folder, error);
    const fs::path& path = error ? folder : absolute;
    return path.has_filename() ? path : path.parent_path();
}

/// One recording from the command line, from start to exit status. Main thread.
class RecordSession final : public QObject {
public:
    explicit RecordSession(RecordOptions options) : m_options(std::move(options)) {}
    /// The files may have more to play than was recorded, and the engine's queue ends with the engine.
    ~RecordSession() override {
        if (m_player) m_player->stop();
    }
    RecordSession(const RecordSession&) = delete;
    RecordSession& operator=(const RecordSession&) = delete;

    int run() {
        if (!openSources()) return Failed;
        if (m_wantedFolder) m_files.setCustomRecordingsDirectory(m_wantedFolder);
        const TerminationRequests signals([this] { endRequested(); });
        observe();
        m_control->start();
        const int status = QCoreApplication::exec();
        if (m_waiter.joinable()) m_waiter.join();
        return status;
    }

private:
    bool openSources();
    bool openFile(const SourceChoice& choice, std::unique_ptr<AudioFileReader>& reader);
    void observe();
    void phaseChanged(RecordingControl::Phase phase);
    void errorChanged(const std::optional<QString>& error);
    void fileChosen(const fs::path& path);
    void deviceGone(SoundDevice::Kind kind);
    std::optional<CreateNoteResult> makeNote(const fs::path& recording, WallTime recordedAt);
    void showProgress();
    void ending();
    void endRequested();
    [[nodiscard]] QString whatTakesLong() const;
    [[nodiscard]] QString whatLeavingCosts() const;
    [[noreturn]] void leave();
    void finish();
    void tellWhatWasNotRead();
    void report(const fs::path& path);

    const RecordOptions m_options;
    const std::optional<fs::path> m_wantedFolder =
        m_options.folder.isEmpty() ? std::nullopt : std::optional(wholePath(toPath(m_options.folder)));
    MemoryUserDefaults m_folderForThisRun;
    RecordingFileManager m_files{FileServices::standard(),
                                 m_options.folder.isEmpty() ? UserDefaults::standard() : m_folderForThisRun};
    RecorderUIModel m_uiModel;
    NotesServices m_notes{UserDefaults::standard(), [] { return true; }};
    std::optional<NoteOutcome> m_noteOutcome;
    bool m_makesNote = false;
    std::shared_ptr<FilePlayer> m_player;
    std::shared_ptr<AudioCaptureEngine> m_engine;
    std::unique_ptr<RecordingControl> m_control;
    ProgressLine m_progress;
    FreeSpace m_space{FileServices::standard()};
    QTimer m_progressTimer;
    QTimer m_durationTimer;
    QTimer m_finishTimer;
    StopRequests m_requests;
    bool m_hasRecorded = false;
    std::optional<QString> m_error;
    QStringList m_said; ///< sentences about what became of the sources and the folder
    std::optional<fs::path> m_saved;
    bool m_isThere = false;      ///< the waiter's, then, when that has ended, the main thread's
    bool m_isUnfinished = false; ///< the same
    std::thread m_waiter;
};

bool RecordSession::openFile(const SourceChoice& choice, std::unique_ptr<AudioFileReader>& reader) {
    if (choice.file.isEmpty()) return true;
    auto opened = openAudioFile(toPath(choice.file));
    if (!opened) {
        complain(QStringLiteral("%1 cannot be used: %2.").arg(choice.file, opened.error().description));
        return false;
    }
    reader = std::move(opened.value());
    return true;
}

bool RecordSession::openSources() {
    FilePlayer::Files files;
    if (!openFile(m_options.system, files.systemAudio) || !openFile(m_options.microphone, files.microphone))
        return false;
    const bool anyFile = files.systemAudio || files.microphone;
    const bool anyDevice = !files.systemAudio || !files.microphone;
    if (anyFile) {
        std::optional<FrameCount> length;
        if (m_options.duration) length = std::chrono::duration_cast<FrameCount>(*m_options.duration);
        m_player = FilePlayer::create(
            std::move(files),
            m_options.asFastAsPossible ? FilePlayer::Pace::AsFastAsPossible : FilePlayer::Pace::RealTime, length);
    }
    LiveSources live;
    if (anyDevice)
        live = makeLiveSources(
            [name = m_options.system.device] { return name; }, [name = m_options.microphone.device] { return name; },
            [this](SoundDevice::Kind kind) { MainThread::post([this, kind] { deviceGone(kind); }); });
    AudioCaptureEngine::Hardware hardware{.systemAudio = m_player ? m_player->systemAudioSource() : nullptr,
                                          .microphone = m_player ? m_player->microphoneSource() : nullptr,
                                          .writers = makeAssetWriterFactory()};
    if (!hardware.systemAudio) hardware.systemAudio = live.systemAudio;
    if (!hardware.microphone) hardware.microphone = live.microphone;

    m_engine = AudioCaptureEngine::create(
        std::move(hardware),
        std::make_shared<RecordingHost>(
            m_files, UserDefaults::standard(), m_uiModel, NotificationCenter::standard(),
            RecordingHost::Notes{
                .create = [this](const fs::path& recording, WallTime at) { return makeNote(recording, at); },
                .renamed = [this](const fs::path& from,
                                  const fs::path& to) { static_cast<void>(m_notes.pending.rename(from, to)); }},
            m_options.note ? RecordingHost::NotePolicy::Always : RecordingHost::NotePolicy::AsTheUserChose));
    m_control = std::make_unique<RecordingControl>(m_engine);
    return true;
}

void RecordSession::observe() {
    NotificationCenter::standard().observe(Notifications::recordingDidComplete, this, [this](const QVariantMap& info) {
        m_saved = pathOf(info.value(QStringLiteral("url")).toUrl());
    });
    m_engine->lastError.subscribe(this, [this](const std::optional<QString>& error) { errorChanged(error); });
    m_engine->outputURL.subscribe(this, [this](const std::optional<fs::path>& path) {
        if (path) fileChosen(*path);
    });
    m_control->phase.subscribe(this, [this](RecordingControl::Phase phase) { phaseChanged(phase); });
    m_durationTimer.setSingleShot(true);
    m_durationTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_durationTimer, &QTimer::timeout, this, [this] { m_control->stop(); });
    m_finishTimer.setSingleShot(true);
    connect(&m_finishTimer, &QTimer::timeout, this, [this] { m_progress.complain(whatTakesLong()); });
    connect(&m_progressTimer, &QTimer::timeout, this, [this] { showProgress(); });
    if (!m_player) return;
    m_player->setCallbacks({.requestMediaData =
                                [engine = m_engine.get()](const std::function<void()>& whenReady) {
                                    return engine->requestMediaData(whenReady);
                                },
                            .didEnd = [this] { MainThread::post([this] { m_control->stop(); }); }});
}

void RecordSession::phaseChanged(RecordingControl::Phase phase) {
    using Phase = RecordingControl::Phase;
    if (phase == Phase::Stopping || phase == Phase::StoppingAtStart) {
        ending();
    } else if (phase == Phase::Recording && !m_hasRecorded) {
        m_hasRecorded = true;
        m_progressTimer.start(m_progress.interval());
        showProgress();
        if (m_options.duration && !m_player) m_durationTimer.start(*m_options.duration);
    } else if (phase == Phase::Idle && m_hasRecorded) {
        ending();
        m_progressTimer.stop();
        // The file is finished; its note may still be on its way, and needs this thread's event loop meanwhile. So do
        // requests to end, should a disk hang.
        m_waiter = std::thread([this, engine = m_engine, path = m_engine->outputURL.value()] {
            engine->waitUntilFinished();
            if (m_player) m_player->stop(); // it may be reading ahead
            std::error_code unknown;        // a disk that does not answer has not lost it for that
            m_isThere = path && (fs::exists(*path, unknown) || unknown);
            m_isUnfinished = path && isUnfinishedRecording(*path);
            MainThread::post([this] { finish(); });
        });
    } else if (phase == Phase::Idle && m_error) {
        const bool outputIsMissing = *m_error == AudioCaptureEngine::kNoDisplayAvailable;
        m_progress.complain(
            outputIsMissing && !m_options.system.device.isEmpty()
                ? QStringLiteral("There is no output named “%1”; “quillet devices” lists those that there are.")
                      .arg(m_options.system.device)
                : shownText(*m_error));
        QCoreApplication::exit(Failed);
    }
}

void RecordSession::errorChanged(const std::optional<QString>& error) {
    m_error = error;
    if (!error || !m_hasRecorded) return;
    m_progress.complain(shownText(*error));
    m_control->stop(); // nobody sits here who could do better
}

/// At once: should the program be killed, nobody would know where to look for the recording. By the names alone, for a
/// disk may hang.
void RecordSession::fileChosen(const fs::path& path) {
    static_cast<void>(m_space.ask(path.parent_path()));
    const auto& wanted = m_files.resolvedCustomDirectoryURL();
    if (!wanted || path == *wanted / path.filename()) return;
    const QString sentence = QStringLiteral("The folder %1 could not be used; the recording goes to %2.")
                                 .arg(toText(*wanted), toText(path.parent_path()));
    if (m_said.contains(sentence)) return;
    m_said += sentence;
    m_progress.complain(sentence);
}

void RecordSession::deviceGone(SoundDevice::Kind kind) {
    m_said += kind == SoundDevice::Kind::Input
                  ? QStringLiteral("The microphone “%1” is gone; the default one is recorded until it returns.")
                        .arg(m_options.microphone.device)
                  : QStringLiteral("The output “%1” is gone; the default one is recorded until it returns.")
                        .arg(m_options.system.device);
    m_progress.complain(m_said.last());
}

/// On the recording's own thread.
std::optional<CreateNoteResult> RecordSession::makeNote(const fs::path& recording, WallTime recordedAt) {
    MainThread::post([this] { m_makesNote = true; });
    const auto made = m_notes.recordings.makeNote(recording, recordedAt);
    const NoteOutcome outcome =
        made.value_or(NoteOutcome{.reason = QStringLiteral("The notes application is not there.")});
    MainThread::post([this, outcome] { m_noteOutcome = outcome; });
    return made ? std::optional(toCreateNoteResult(outcome)) : std::nullopt;
}

void RecordSession::showProgress() {
    std::optional<std::int64_t> free;
    if (const auto url = m_engine->outputURL.value()) free = m_space.ask(url->parent_path());
    m_progress.show(m_engine->statistics(), free);
}

/// A disk that hangs is to be told from a program that does.
void RecordSession::ending() {
    m_requests.stopping();
    m_finishTimer.start(kUsualFinish);
}

void RecordSession::endRequested() {
    switch (m_requests.request(StopRequests::Clock::now())) {
    case StopRequests::Answer::Stop:
        return m_control->stop();
    case StopRequests::Answer::Explain:
        m_progress.complain(whatTakesLong() + u' ' + whatLeavingCosts());
        return m_requests.explained(StopRequests::Clock::now());
    case StopRequests::Answer::Ignore:
        return;
    case StopRequests::Answer::Leave:
        leave();
    }
}

QString RecordSession::whatTakesLong() const {
    const auto phase = m_control->phase.value();
    if (phase == RecordingControl::Phase::StoppingAtStart)
        return QStringLiteral("The recording has not started yet; it ends as soon as it has.");
    if (phase == RecordingControl::Phase::Idle && m_makesNote)
        return QStringLiteral("The recording is saved; its note is still being made.");
    const auto path = m_engine->outputURL.value();
    if (!path || m_finishTimer.isActive()) return QStringLiteral("The recording is still being finished.");
    return QStringLiteral("The recording is still being finished; the disk with %1 takes its time.")
        .arg(toText(path->parent_path()));
}

QString RecordSession::whatLeavingCosts() const {
    const auto phase = m_control->phase.value();
    if (phase == RecordingControl::Phase::StoppingAtStart)
        return QStringLiteral("Asked once more, Quillet does not wait for that.");
    if (phase == RecordingControl::Phase::Idle)
        return QStringLiteral("Asked once more, Quillet does not wait for that; the recording is complete.");
    return QStringLiteral("Asked once more, Quillet leaves it unfinished, for “quillet recover” to finish.");
}

/// What hangs cannot be ended in order. The file is where it is whenever a recording is killed, and the note is kept to
/// be made later.
void RecordSession::leave() {
    if (m_saved) {
        if (m_makesNote && !m_noteOutcome)
            m_noteOutcome = NoteOutcome{.reason = QStringLiteral("It was not waited for.")};
        report(*m_saved);
        leaveProcess(Done);
    }
    if (m_hasRecorded)
        m_progress.complain(QStringLiteral("The recording was left unfinished; “quillet recover” finishes it."));
    leaveProcess(Failed);
}

void RecordSession::tellWhatWasNotRead() {
    if (!m_player) return;
    const auto tell = [this](const QString& side, const QString& file, const auto& failure) {
        if (!failure) return;
        m_said += QStringLiteral("%1 could not be read to its end (%2); the %3 is missing from %4 s on.")
                      .arg(file, failure->error.description, side)
                      .arg(seconds(failure->played), 0, 'f', 1);
        m_progress.complain(m_said.last());
    };
    const auto [system, microphone] = m_player->readFailures();
    tell(QStringLiteral("system audio"), m_options.system.file, system);
    tell(QStringLiteral("microphone"), m_options.microphone.file, microphone);
}

void RecordSession::finish() {
    m_progress.finish();
    tellWhatWasNotRead();
    if (m_saved && m_isThere) {
        if (m_isUnfinished) {
            m_said += kUnfinished;
            m_progress.complain(kUnfinished);
        }
        report(*m_saved);
        return QCoreApplication::exit(Done);
    }
    if (m_saved) {
        m_progress.complain(
            QStringLiteral("The recording is not there any more: somebody moved or deleted %1 meanwhile.")
                .arg(toText(*m_saved)));
    } else if (m_engine->statistics().finished.count() > 0) {
        m_progress.complain(kUnfinished);
    } else if (!m_error) {
        m_progress.complain(QStringLiteral("Nothing was recorded: the recording ended before any sound had arrived."));
    }
    QCoreApplication::exit(Failed);
}

void RecordSession::report(const fs::path& path) {
    const CaptureStatistics statistics = m_engine->statistics();
    QStringList sentences = warnings(statistics, m_noteOutcome);
    for (const QString& sentence : sentences) m_progress.complain(sentence);
    if (!m_options.json) return print(QByteArray(path.c_str())); // its very bytes, for the next program
    sentences += m_said;
    if (m_error) sentences += shownText(*m_error);
    print(jsonReport(path, statistics, m_noteOutcome, sentences));
}

} // namespace

int record(const QStringList& arguments) {
    const auto parsed = parseRecordOptions(arguments);
    if (!parsed) {
        complain(parsed.error());
        return WrongUsage;
    }
    if (const auto* help = std::get_if<HelpRequest>(&parsed.value())) {
        print(help->text);
        return Done;
    }
    return RecordSession(std::get<RecordOptions>(parsed.value())).run();
}

} // namespace quillet::cli
