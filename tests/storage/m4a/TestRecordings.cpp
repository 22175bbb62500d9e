#include "storage/m4a/TestRecordings.h"

#include "platform/linux/ffmpeg/RecordingPipeline.h"
#include "storage/m4a/Boxes.h"
#include "support/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillet::test {

std::vector<float> testSound(std::int64_t blocks) {
    std::vector<float> sound;
    sound.reserve(static_cast<std::size_t>(blocks) * 2 * kBlockFrames);
    double phase = 0;
    for (std::int64_t block = 0; block < blocks; ++block) {
        const double hertz =
            300.0 + 40.0 * static_cast<double>(block % 50) + 7.0 * static_cast<double>(block / 50 % 20);
        for (int i = 0; i < kBlockFrames; ++i) {
            sound.push_back(static_cast<float>(0.5 * std::sin(phase)));
            sound.push_back(static_cast<float>(0.25 * std::cos(phase)));
            phase += 2 * std::numbers::pi * hertz / kSampleRateHz;
        }
    }
    return sound;
}

double worstBlockDb(const std::vector<float>& decoded, const std::vector<float>& expected) {
    constexpr std::size_t kSamples = 2 * kBlockFrames;
    double worst = -200;
    for (std::size_t at = 0; at + kSamples <= std::min(decoded.size(), expected.size()); at += kSamples) {
        double error = 1e-12;
        double signal = 1e-6;
        for (std::size_t i = at; i < at + kSamples; ++i) {
            error += std::pow(decoded[i] - expected[i], 2);
            signal += std::pow(expected[i], 2);
        }
        worst = std::max(worst, 10 * std::log10(error / signal));
    }
    return worst;
}

ByteVector unfinishedRecording(std::int64_t blocks) {
    auto file = std::make_unique<MemoryFile>(ByteVector());
    MemoryDisk& disk = file->disk();
    auto pipeline = RecordingPipeline::create(std::move(file), 256000, {});
    EXPECT_TRUE(pipeline.ok());
    const std::vector<float> sound = testSound(blocks);
    StereoBlock block{};
    for (std::size_t i = 0; i < sound.size(); i += kBlockSamples) {
        separateChannels(std::span(sound).subspan(i).first<kBlockSamples>(), block);
        EXPECT_TRUE((*pipeline)->write(block).ok());
    }
    EXPECT_TRUE((*pipeline)->drain().ok());
    return disk.bytes;
}

std::vector<float> decode(const ByteVector& file) {
    const TemporaryFolder folder;
    writeFile(folder / "decoded.m4a", file);
    return decode(folder / "decoded.m4a");
}

Demuxed demux(const ByteVector& file) {
    const TemporaryFolder folder;
    writeFile(folder / "demuxed.m4a", file);
    Demuxed result;
    AVFormatContext* format = nullptr;
    const libav::Packet packet(av_packet_alloc());
    if (avformat_open_input(&format, (folder / "demuxed.m4a").c_str(), nullptr, nullptr) < 0) return result;
    result.durationFrames = format->streams[0]->duration;
    while (av_read_frame(format, packet.get()) >= 0) {
        result.packetEnds.push_back(packet->pos + packet->size);
        av_packet_unref(packet.get());
    }
    avformat_close_input(&format);

    std::vector<std::uint32_t> types;
    m4a::Bytes rest = file;
    while (const auto box = m4a::takeBox(rest)) types.push_back(box->type);
    result.isPlain =
        rest.empty() && types == std::vector{m4a::fourCc("ftyp"), m4a::fourCc("mdat"), m4a::fourCc("moov")};
    return result;
}

ByteVector bytesOf(std::string_view characters) {
    const auto bytes = std::as_bytes(std::span(characters));
    return {bytes.begin(), bytes.end()};
}

ByteVector readFile(const std::filesystem::path& file) { return bytesOf(contentsOf(file).toStdString()); }

void writeFile(const std::filesystem::path& file, const ByteVector& bytes) {
    makeFile(file, {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())});
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path())) names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

} // namespace quillet::test
