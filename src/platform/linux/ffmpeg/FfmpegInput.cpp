#include "platform/linux/ffmpeg/FfmpegInput.h"

#include <cerrno>
#include <fcntl.h>
#include <string>

namespace quillet {
namespace {

constexpr int kPacketBytes = 16 * 1024;
constexpr int kBufferBytes = kPacketBytes / 2; ///< what is read in larger pieces goes round the buffer
constexpr int kProbedPackets = 2;
constexpr int kIndexBytes = 4 * 1024;

Failure<PlatformError> clause(const QString& text, int code = 0) { return Failure{PlatformError{code, text}}; }

Failure<PlatformError> cannotRead(int error) {
    if (error == ENOENT || error == ENOTDIR) return clause(QStringLiteral("it does not exist"), error);
    return clause(QStringLiteral("it cannot be read: ") + PlatformError::fromErrno(error).description, error);
}

int openNothingElse(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); }

} // namespace

Result<std::unique_ptr<FfmpegInput>> FfmpegInput::open(const std::filesystem::path& path) {
    // Not blocking: opening a pipe would wait for somebody to write to it.
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!fd || fstat(fd.get(), &status) != 0) return cannotRead(errno);
    if (S_ISDIR(status.st_mode)) return clause(QStringLiteral("it is a folder"), EISDIR);
    if (!S_ISREG(status.st_mode)) return clause(QStringLiteral("it is not an ordinary file"));
    if (status.st_size == 0) return clause(QStringLiteral("it is empty"));

    libav::beQuiet();
    std::unique_ptr<FfmpegInput> input(new FfmpegInput(std::move(fd), status.st_size));
    if (auto opened = input->openFormat(path); !opened)
        return input->m_readError != 0 ? cannotRead(input->m_readError) : Failure{opened.error()};
    return input;
}

Result<void> FfmpegInput::openFormat(const std::filesystem::path& path) {
    auto* const buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    m_io = buffer ? avio_alloc_context(buffer, kBufferBytes, 0, this, &readFile, nullptr, &seekFile) : nullptr;
    m_format = m_io ? avformat_alloc_context() : nullptr;
    if (!m_format) return libav::failure("no memory", AVERROR(ENOMEM));
    m_format->pb = m_io;
    m_format->io_open = &openNothingElse;
    // One packet of a WAV file is 4 KiB unless told otherwise, which makes reading it twice as dear; and 2,500 of them
    // are looked through for disguised DTS. Demuxers for lists of files go round io_open, but not round the whitelist.
    // Where each packet was is noted for seeking, in a megabyte for hours, unless that is bounded; nobody seeks here.
    const std::string packetBytes = std::to_string(kPacketBytes), probedPackets = std::to_string(kProbedPackets),
                      indexBytes = std::to_string(kIndexBytes);
    libav::Options options{{"max_size", packetBytes.c_str()},
                           {"max_probe_packets", probedPackets.c_str()},
                           {"indexmem", indexBytes.c_str()},
                           {"protocol_whitelist", "none"}};
    int error = avformat_open_input(&m_format, path.filename().c_str(), nullptr, options.get());
    // A header that announces plain samples says all that there is to know about them, and the packets that are looked
    // through for DTS are enough; the library would keep six seconds of sound in memory to be sure.
    if (error >= 0 && m_format->nb_streams == 1 &&
        av_get_exact_bits_per_sample(m_format->streams[0]->codecpar->codec_id) > 0)
        m_format->probesize = kProbedPackets * kPacketBytes;
    if (error >= 0) error = avformat_find_stream_info(m_format, nullptr);
    // Below the certainty that a file's name alone gives, the library takes any text for speech in some raw format. Of
    // a very short MP3 file it is no surer; there the name decides.
    if (error >= 0 && m_format->probe_score < AVPROBE_SCORE_EXTENSION &&
        (m_format->probe_score < AVPROBE_SCORE_RETRY ||
         !av_match_ext(path.filename().c_str(), m_format->iformat->extensions)))
        return clause(QStringLiteral("it is not an audio file"));
    if (error < 0) return clause(QStringLiteral("it is not an audio file"), error);

    m_stream = av_find_best_stream(m_format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (m_format->nb_streams == 0) return clause(QStringLiteral("it is not an audio file"));
    if (m_stream < 0) return clause(QStringLiteral("it has no sound"), m_stream);
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        if (static_cast<int>(i) != m_stream) m_format->streams[i]->discard = AVDISCARD_ALL;
    }
    const AVCodecParameters& parameters = *stream().codecpar;
    if (parameters.sample_rate <= 0 || parameters.ch_layout.nb_channels <= 0)
        return clause(QStringLiteral("it is not an audio file"));
    if (parameters.sample_rate < kLeastRateHz)
        return clause(QStringLiteral("its sample rate is only %1 Hz").arg(parameters.sample_rate));
    if (parameters.ch_layout.nb_channels > kMostChannels)
        return clause(QStringLiteral("it has %1 channels").arg(parameters.ch_layout.nb_channels));
    return {};
}

FfmpegInput::~FfmpegInput() {
    avformat_close_input(&m_format);
    if (m_io) av_freep(&m_io->buffer);
    avio_context_free(&m_io);
}

bool FfmpegInput::nextPacket(AVPacket& packet) {
    while (av_read_frame(m_format, &packet) >= 0) {
        if (packet.stream_index == m_stream) return true;
        av_packet_unref(&packet);
    }
    return false;
}

int FfmpegInput::readFile(void* opaque, std::uint8_t* into, int count) noexcept {
    auto* const input = static_cast<FfmpegInput*>(opaque);
    while (true) {
        const ssize_t got = ::read(input->m_fd.get(), into, static_cast<std::size_t>(count));
        if (got > 0) return static_cast<int>(got);
        if (got == 0) return AVERROR_EOF;
        if (errno == EINTR) continue;
        input->m_readError = errno;
        return AVERROR(EIO);
    }
}

std::int64_t FfmpegInput::seekFile(void* opaque, std::int64_t offset, int whence) noexcept {
    const auto* const input = static_cast<FfmpegInput*>(opaque);
    if (whence == AVSEEK_SIZE) return input->m_sizeBytes;
    const off_t position = lseek(input->m_fd.get(), offset, whence & ~AVSEEK_FORCE);
    return position >= 0 ? position : AVERROR(errno);
}

} // namespace quillet
