#pragma once

#include "support/Result.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>

namespace quillet {

/// Reads an audio file as 48 kHz 32-bit float, resampled where needed. One thread at a time.
class AudioFileReader {
public:
    virtual ~AudioFileReader() = default;
    /// 1 for a mono file, else 2 (more channels are mixed down).
    [[nodiscard]] virtual int channels() const = 0;
    /// Fills the span with whole interleaved frames and returns how many frames; fewer than asked for only at the end
    /// of the file or of what can be decoded of it, then 0. Samples are not clamped to full scale, but finite and
    /// within kLargestSample.
    virtual std::size_t read(std::span<float> interleaved) = 0;
    /// Once read() has returned 0: what kept the rest of the file from being read, if anything did.
    [[nodiscard]] virtual std::optional<PlatformError> readError() const = 0;
};

/// The error is a clause for the user: what is wrong with this file.
[[nodiscard]] Result<std::unique_ptr<AudioFileReader>> openAudioFile(const std::filesystem::path& path);

} // namespace quillet
