// What mixing costs: one 20 ms delivery of each source through the rings, gains and mix, the same
// from a source's thread through the delivery pool, and a plain copy of the same samples for comparison. The counter
// "hours_per_s" says how many hours of audio a second of processor time carries.
#include "capture/AudioMixer.h"
#include "capture/DeliveryPool.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <span>
#include <vector>

namespace quillet {
namespace {

constexpr std::int64_t kTickFrames = 960;
constexpr std::size_t kTickSamples = 2 * kTickFrames;

/// Neither silent nor regular: a second of a swept tone.
std::vector<float> sweep() {
    std::vector<float> samples(2 * static_cast<std::size_t>(kSampleRateHz));
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        phase += 0.001 + 0.3 * static_cast<double>(i) / static_cast<double>(samples.size());
        samples[i] = 0.3F * static_cast<float>(std::sin(phase));
    }
    return samples;
}

class CountingSink final : public BlockSink {
public:
    bool prepareForBlocks() override { return true; }
    bool isReadyForBlock() override { return true; }
    void takeBlock(const MixedBlock& block, FramePos) override { benchmark::DoNotOptimize(block[17]); }
};

void countAudio(benchmark::State& state) {
    const double hours = static_cast<double>(state.iterations()) * kTickFrames / kSampleRateHz / 3600.0;
    state.counters["hours_per_s"] = benchmark::Counter(hours, benchmark::Counter::kIsRate);
}

/// The tick's piece of the sweep; the second holds a whole number of ticks.
std::span<const float> tickOf(const std::vector<float>& samples, std::int64_t tick, std::size_t count) {
    return std::span(samples).subspan(static_cast<std::size_t>(tick % 50) * kTickSamples, count);
}

void mixOneTick(benchmark::State& state) {
    const auto samples = sweep();
    CountingSink sink;
    CaptureMeters meters;
    AudioMixer mixer(sink, meters);
    mixer.reset();
    std::int64_t tick = 0;
    for ([[maybe_unused]] auto _ : state) {
        const HostFramePos at{FrameCount(tick * kTickFrames)};
        const MediaTime time = tick == 0 ? MediaTime::atFrame(at) : MediaTime::insideFrame(at);
        mixer.deliverSystemAudio(
            {std::as_bytes(tickOf(samples, tick, kTickSamples)), &kInterleavedStereoFloat, time, kTickFrames});
        mixer.deliverMicrophone(
            {std::as_bytes(tickOf(samples, tick, kTickFrames)), &kMonoFloat, MediaTime::insideFrame(at), kTickFrames});
        ++tick;
    }
    if (meters.mixedFrames + kBlockFrames < tick * kTickFrames) state.SkipWithError("blocks were left out");
    countAudio(state);
}
BENCHMARK(mixOneTick);

void sanitizeOneTick(benchmark::State& state) {
    const auto samples = sweep();
    std::vector<float> target(kTickSamples);
    std::int64_t tick = 0;
    for ([[maybe_unused]] auto _ : state) {
        copySanitized(tickOf(samples, tick, kTickSamples), target);
        copySanitized(tickOf(samples, tick, kTickFrames), std::span(target).first(kTickFrames));
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
        ++tick;
    }
    countAudio(state);
}
BENCHMARK(sanitizeOneTick);

/// The memory traffic that no mixer can avoid: both sources in, the mix out.
void copyOneTick(benchmark::State& state) {
    const auto samples = sweep();
    std::vector<float> target(2 * kTickSamples);
    std::int64_t tick = 0;
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(target.data(), tickOf(samples, tick, kTickSamples).data(), kTickSamples * sizeof(float));
        std::memcpy(target.data() + kTickSamples, tickOf(samples, tick, kTickFrames).data(),
                    kTickFrames * sizeof(float));
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
        ++tick;
    }
    countAudio(state);
}
BENCHMARK(copyOneTick);

} // namespace
} // namespace quillet

BENCHMARK_MAIN();
