#pragma once

#include "support/Result.h"

#include <array>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

namespace quillet::libav {

struct Free {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using CodecContext = std::unique_ptr<AVCodecContext, Free>;
using Frame = std::unique_ptr<AVFrame, Free>;
using Packet = std::unique_ptr<AVPacket, Free>;

/// The library's own words for one of its error numbers, behind what was being tried.
inline Failure<PlatformError> failure(const char* what, int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return Failure{
        PlatformError{code, QString::fromLatin1(what) + QStringLiteral(": ") + QString::fromUtf8(text.data())}};
}

/// The library reports through return values; what it prints besides is for its own developers.
inline void beQuiet() {
    [[maybe_unused]] static const bool done = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
}

/// The fields of an AVDictionary, freed at the end.
class Options {
public:
    Options() = default;
    Options(std::initializer_list<std::pair<const char*, const char*>> entries) {
        for (const auto& [key, value] : entries) av_dict_set(&m_entries, key, value, 0);
    }
    ~Options() { av_dict_free(&m_entries); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
    AVDictionary** get() { return &m_entries; }
    /// The library takes what it knows out; whatever is left was not understood.
    [[nodiscard]] bool allTaken() const { return av_dict_count(m_entries) == 0; }

private:
    AVDictionary* m_entries = nullptr;
};

} // namespace quillet::libav
