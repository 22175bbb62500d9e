#pragma once

#include <span>

namespace quillet {

/// Stretches audio at 48 kHz by parts per million, without steps when the amount changes. One thread at a time;
/// converting allocates nothing once it has seen its largest input, and cannot fail.
class RateConverter {
public:
    virtual ~RateConverter() = default;
    /// Forgets the audio it holds; the amount stays.
    virtual void reset() = 0;
    /// So many more frames (or fewer, when negative) are returned than taken.
    virtual void setCorrection(double ppm) = 0;
    /// Takes interleaved frames and returns those that are ready, valid until the next call.
    [[nodiscard]] virtual std::span<const float> convert(std::span<const float> interleaved) = 0;
    /// Taken but not returned yet: the next frame returned lies so far before the end of what was taken.
    [[nodiscard]] virtual double heldFrames() const = 0;
};

} // namespace quillet
