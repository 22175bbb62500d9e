#include "platform/AudioFileReader.h"

#include "capture/DeliveryPool.h"
#include "storage/m4a/TestRecordings.h"
#include "support/ThreadConditions.h"

#include <gtest/gtest.h>

#include <asm/unistd.h>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <sys/stat.h>
#include <unistd.h>

namespace quillet::test {
namespace {

constexpr std::uint16_t kIntegers = 1, kFloats = 3;

/// A RIFF file, byte by byte.
class Wav {
public:
    Wav(std::uint16_t format, int rateHz, int channels, int bits) {
        text("RIFF");
        number(0xFFFFFFFF, 4);
        text("WAVEfmt ");
        number(16, 4);
        number(format, 2);
        number(static_cast<std::uint64_t>(channels), 2);
        number(static_cast<std::uint64_t>(rateHz), 4);
        number(static_cast<std::uint64_t>(rateHz * channels * bits / 8), 4);
        number(static_cast<std::uint64_t>(channels * bits / 8), 2);
        number(static_cast<std::uint64_t>(bits), 2);
        text("data");
        number(0, 4);
    }
    void text(std::string_view characters) {
        for (const char c : characters) m_bytes.push_back(static_cast<std::byte>(c));
    }
    void number(std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) m_bytes.push_back(static_cast<std::byte>(value >> (8 * i)));
    }
    void sample(float value) { number(std::bit_cast<std::uint32_t>(value), 4); }
    /// Declares more than there is by so many bytes.
    ByteVector file(std::size_t missing = 0) {
        const std::size_t data = m_bytes.size() - kHeaderBytes + missing;
        for (std::size_t i = 0; i < 4; ++i) m_bytes[kHeaderBytes - 4 + i] = static_cast<std::byte>(data >> (8 * i));
        return m_bytes;
    }

private:
    static constexpr std::size_t kHeaderBytes = 44;
    ByteVector m_bytes;
};

std::vector<float> decodeWav(const ByteVector& bytes, int expectedChannels) {
    const TemporaryFolder folder;
    writeFile(folder / "a.wav", bytes);
    const auto reader = openAudioFile(folder / "a.wav");
    EXPECT_TRUE(reader.ok());
    EXPECT_EQ(reader ? (*reader)->channels() : 0, expectedChannels);
    return decode(folder / "a.wav");
}

/// 0 is not -0.
void expectSameBits(const std::vector<float>& got, const std::vector<float>& expected) {
    ASSERT_EQ(got.size(), expected.size());
    EXPECT_EQ(std::memcmp(got.data(), expected.data(), got.size() * sizeof(float)), 0);
}

TEST(AudioFileReaderTest, samplesAt48KilohertzPassExactly) {
    Wav stereo16(kIntegers, 48000, 2, 16);
    Wav mono8(kIntegers, 48000, 1, 8);
    Wav mono24(kIntegers, 48000, 1, 24);
    std::vector<float> expected16, expected8, expected24;
    for (int i = 0; i < 65536; ++i) {
        stereo16.number(static_cast<std::uint16_t>(i - 32768), 2);
        stereo16.number(static_cast<std::uint16_t>(12345 - i), 2);
        expected16.push_back(static_cast<float>(i - 32768) / 32768.0F);
        expected16.push_back(static_cast<float>(static_cast<std::int16_t>(12345 - i)) / 32768.0F);
        mono8.number(static_cast<std::uint64_t>(i % 256), 1);
        expected8.push_back(static_cast<float>(i % 256 - 128) / 128.0F);
        const int wide = (i - 32768) * 255;
        mono24.number(static_cast<std::uint32_t>(wide), 3);
        expected24.push_back(static_cast<float>(wide) / 8388608.0F);
    }
    expectSameBits(decodeWav(stereo16.file(), 2), expected16);
    expectSameBits(decodeWav(mono8.file(), 1), expected8);
    expectSameBits(decodeWav(mono24.file(), 1), expected24);
    // Cut off: everything that is there, to the last whole frame.
    ByteVector cut = stereo16.file(1'000'000);
    cut.resize(cut.size() - 1);
    expected16.resize(expected16.size() - 2);
    expectSameBits(decodeWav(cut, 2), expected16);
}

TEST(AudioFileReaderTest, floatsPassUnclampedButForWhatIsNoSound) {
    std::vector<float> expected;
    Wav wav(kFloats, 48000, 2, 32);
    constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float kOdd[] = {0.0F, -0.0F, 1.5F, -3.0F, HUGE_VALF, -HUGE_VALF, kNoNumber, 1e-40F, 3e30F};
    constexpr float kRead[] = {0.0F, -0.0F, 1.5F, -3.0F, 0, 0, 0, 1e-40F, kLargestSample};
    for (std::size_t i = 0; i < 4000; ++i) {
        wav.sample(kOdd[i % std::size(kOdd)]);
        expected.push_back(kRead[i % std::size(kRead)]);
    }
    expectSameBits(decodeWav(wav.file(), 2), expected);
}

/// Of a tone, away from both ends.
double amplitudeInside(const std::vector<float>& samples, int channels, int channel, double hertz) {
    const auto each = static_cast<std::size_t>(channels);
    const std::size_t quarter = samples.size() / each / 4 * each;
    return amplitude(std::span(samples).subspan(quarter, 2 * quarter), channel, hertz, channels);
}

TEST(AudioFileReaderTest, otherRatesAreResampledWithLengthAndLevelKept) {
    for (const int rateHz : {8000, 44100, 96000}) {
        SCOPED_TRACE(rateHz);
        Wav wav(kFloats, rateHz, 1, 32);
        for (int i = 0; i < rateHz; ++i)
            wav.sample(static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000 * i / rateHz)));

        const std::vector<float> samples = decodeWav(wav.file(), 1);

        EXPECT_NEAR(static_cast<double>(samples.size()), 48000, 32); // one filter length
        EXPECT_NEAR(amplitudeInside(samples, 1, 0, 1000), 0.5, 0.002);
        EXPECT_NEAR(amplitudeInside(samples, 1, 0, 1002), 0, 0.01);
    }
}

TEST(AudioFileReaderTest, moreChannelsAreMixedDownToTwo) {
    // A tone of its own on each channel: left, right, centre, low frequencies, side left, side right.
    constexpr double kHertz[] = {500, 700, 900, 60, 1300, 1500};
    Wav wav(kFloats, 48000, 6, 32);
    for (int i = 0; i < 48000; ++i) {
        for (const double hertz : kHertz)
            wav.sample(static_cast<float>(0.2 * std::sin(2 * std::numbers::pi * hertz * i / 48000)));
    }
    const std::vector<float> samples = decodeWav(wav.file(), 2);
    ASSERT_EQ(samples.size(), 96000U);
    for (const int side : {0, 1}) {
        EXPECT_NEAR(amplitudeInside(samples, 2, side, kHertz[side]), 0.2, 0.001);
        EXPECT_NEAR(amplitudeInside(samples, 2, side, kHertz[1 - side]), 0, 0.001);
        EXPECT_NEAR(amplitudeInside(samples, 2, side, kHertz[2]), 0.2 * std::numbers::sqrt2 / 2, 0.001);
        EXPECT_NEAR(amplitudeInside(samples, 2, side, kHertz[4 + side]), 0.2 * std::numbers::sqrt2 / 2, 0.001);
        EXPECT_NEAR(amplitudeInside(samples, 2, side, kHertz[5 - side]), 0, 0.001);
    }
    // So many that nobody knows where they belong: none is lost.
    Wav many(kFloats, 48000, 19, 32);
    for (int i = 0; i < 19 * 4800; ++i) many.sample(0.25F);
    const std::vector<float> level = decodeWav(many.file(), 2);
    ASSERT_EQ(level.size(), 9600U);
    EXPECT_NEAR(level[5000], 0.25F, 1e-5);
    EXPECT_NEAR(level[5001], 0.25F, 1e-5);
}

TEST(AudioFileReaderTest, readsAsManyFramesAsAskedForUntilTheEnd) {
    Wav wav(kIntegers, 48000, 2, 16);
    for (int i = 0; i < 2 * 20'000; ++i) wav.number(static_cast<std::uint16_t>(i), 2);
    const TemporaryFolder folder;
    writeFile(folder / "a.wav", wav.file());
    auto reader = openAudioFile(folder / "a.wav");
    ASSERT_TRUE(reader.ok());
    std::vector<float> piece(2 * 777 + 1);
    for (int i = 0; i < 25; ++i) ASSERT_EQ((*reader)->read(piece), 777U);
    EXPECT_EQ(piece[0], static_cast<float>(static_cast<std::int16_t>(24 * 777 * 2)) / 32768.0F);
    EXPECT_EQ((*reader)->read(piece), 20'000U - 25 * 777);
    EXPECT_EQ((*reader)->read(piece), 0U);
    EXPECT_EQ((*reader)->read(piece), 0U);
}

TEST(AudioFileReaderTest, aDiskThatGoesAwayIsNotTheEndOfTheFile) {
    Wav wav(kIntegers, 48000, 2, 16);
    for (int i = 0; i < 2 * 100'000; ++i) wav.number(static_cast<std::uint16_t>(i), 2);
    const TemporaryFolder folder;
    writeFile(folder / "a.wav", wav.file());
    for (const bool goesAway : {false, true}) {
        auto reader = openAudioFile(folder / "a.wav");
        ASSERT_TRUE(reader.ok());
        std::vector<float> samples(2 * 200'000);
        std::size_t frames = (*reader)->read(std::span(samples).first(2 * 30'000));
        const auto readOn = [&] { frames += (*reader)->read(samples); };
        const FailingCall gone{.number = __NR_read, .error = ENODEV};
        const std::string failure = goesAway ? runWithFailingCalls({gone}, readOn) : (readOn(), std::string());
        if (!failure.empty()) GTEST_SKIP() << failure;
        EXPECT_EQ(frames < 100'000U, goesAway) << frames;
        EXPECT_GE(frames, 30'000U);
        EXPECT_EQ((*reader)->readError().value_or(PlatformError{}).code, goesAway ? ENODEV : 0);

        const auto openAgain = [&] { reader = openAudioFile(folder / "a.wav"); };
        if (!goesAway) continue;
        EXPECT_TRUE(runWithFailingCalls({gone}, openAgain).empty());
        ASSERT_FALSE(reader.ok());
        EXPECT_EQ(reader.error().description.toStdString(), "it cannot be read: No such device");
    }
}

TEST(AudioFileReaderTest, aTenthOfASecondIsRecognisedWhenItsNameFits) {
    ByteVector frames(4 * 417); // MPEG-1 layer III, 128 kbit/s, 44.1 kHz, stereo: nothing but headers is silence
    for (std::size_t frame = 0; frame < 4; ++frame) {
        constexpr std::array kHeader = {std::byte{0xFF}, std::byte{0xFB}, std::byte{0x90}, std::byte{0}};
        std::copy(kHeader.begin(), kHeader.end(), frames.begin() + static_cast<std::ptrdiff_t>(frame * 417));
    }
    const TemporaryFolder folder;
    writeFile(folder / "short.mp3", frames);
    auto reader = openAudioFile(folder / "short.mp3");
    ASSERT_TRUE(reader.ok()) << reader.error().description.toStdString();
    std::vector<float> samples(2 * 48000);
    EXPECT_GT((*reader)->read(samples), 2000U);
}

TEST(AudioFileReaderTest, cutOffRecordingGivesWhatCanBeDecoded) {
    ByteVector recording = unfinishedRecording(100);
    const std::vector<float> whole = decode(recording);
    recording.resize(recording.size() * 2 / 3);
    const std::vector<float> part = decode(recording);
    EXPECT_GT(part.size(), whole.size() / 2);
    EXPECT_TRUE(std::equal(part.begin(), part.end() - 2 * kBlockFrames, whole.begin()));
}

TEST(AudioFileReaderTest, errorsSayWhatIsWrongWithTheFile) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder");
    writeFile(folder / "empty.wav", {});
    for (const char* name : {"text.wav", "text.mp3"}) writeFile(folder / name, ByteVector(2000, std::byte{'a'}));
    Wav sound(kIntegers, 48000, 1, 16);
    sound.number(0, 2);
    writeFile(folder / "sound.wav", sound.file());
    ByteVector header = sound.file();
    header.resize(30);
    writeFile(folder / "header.wav", header);
    Wav slow(kIntegers, 999, 1, 16);
    for (int i = 0; i < 20'000; ++i) slow.number(0, 2);
    writeFile(folder / "slow.wav", slow.file());
    Wav wide(kIntegers, 48000, 64, 16);
    for (int i = 0; i < 64'000; ++i) wide.number(0, 2);
    writeFile(folder / "wide.wav", wide.file());
    // Files that name others must not be followed.
    const std::string concat = "ffconcat version 1.0\nfile sound.wav\n";
    const auto listBytes = std::as_bytes(std::span(concat));
    writeFile(folder / "list.wav", {listBytes.begin(), listBytes.end()});
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const struct {
        const char* name;
        const char* description;
    } rows[] = {{"missing.wav", "it does not exist"},
                {"sound.wav/inside", "it does not exist"},
                {"folder", "it is a folder"},
                {"empty.wav", "it is empty"},
                {"text.wav", "it is not an audio file"},
                {"text.mp3", "it is not an audio file"},
                {"header.wav", "it is not an audio file"},
                {"slow.wav", "its sample rate is only 999 Hz"},
                {"wide.wav", "it has 64 channels"},
                {"list.wav", "it is not an audio file"},
                {"pipe", "it is not an ordinary file"}};
    for (const auto& row : rows) {
        const auto reader = openAudioFile(folder / row.name);
        ASSERT_FALSE(reader.ok()) << row.name;
        EXPECT_EQ(reader.error().description.toStdString(), row.description) << row.name;
    }
    EXPECT_TRUE(openAudioFile(folder / "sound.wav").ok());
}

TEST(AudioFileReaderTest, aFileThatMayNotBeReadSaysSo) {
    if (geteuid() == 0) GTEST_SKIP() << "root may read everything";
    const TemporaryFolder folder;
    writeFile(folder / "sound.wav", ByteVector(100));
    std::filesystem::permissions(folder / "sound.wav", std::filesystem::perms::none);
    const auto reader = openAudioFile(folder / "sound.wav");
    ASSERT_FALSE(reader.ok());
    EXPECT_EQ(reader.error().description.toStdString(), "it cannot be read: Permission denied");
}

} // namespace
} // namespace quillet::test
