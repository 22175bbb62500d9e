#include "platform/AudioFileReader.h"

#include "capture/DeliveryPool.h"
#include "storage/m4a/TestRecordings.h"
#include "support/ThreadConditions.h"
#include "support/WavFile.h"

#include <gtest/gtest.h>

#include <asm/unistd.h>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <numeric>
#include <sys/stat.h>

namespace quillet::test {
namespace {

/// The same sine in as many channels as there are frequencies.
std::vector<float> sines(double amplitude, int rateHz, const std::vector<double>& hertz) {
    std::vector<float> samples;
    for (int i = 0; i < rateHz; ++i) {
        for (const double each : hertz)
            samples.push_back(static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * each * i / rateHz)));
    }
    return samples;
}

std::vector<float> decodeWav(const QByteArray& bytes, int expectedChannels) {
    const TemporaryFolder folder;
    makeFile(folder / "a.wav", bytes);
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
    std::vector<std::int16_t> stereo16;
    std::vector<std::uint8_t> mono8, mono24;
    std::vector<float> floats, expectedFloats, expected16, expected8, expected24;
    constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float kOdd[] = {0.0F, -0.0F, 1.5F, -3.0F, 1e-40F, 3e30F, HUGE_VALF, -HUGE_VALF, kNoNumber};
    constexpr float kRead[] = {0.0F, -0.0F, 1.5F, -3.0F, 1e-40F, kLargestSample, 0, 0, 0};
    for (int i = 0; i < 65536; ++i) {
        for (const int sample : {i - 32768, 12345 - i}) {
            stereo16.push_back(static_cast<std::int16_t>(sample));
            expected16.push_back(static_cast<float>(stereo16.back()) / 32768.0F);
        }
        mono8.push_back(static_cast<std::uint8_t>(i));
        expected8.push_back(static_cast<float>(i % 256 - 128) / 128.0F);
        const int wide = (i - 32768) * 255;
        for (const int shift : {0, 8, 16}) mono24.push_back(static_cast<std::uint8_t>(wide >> shift));
        expected24.push_back(static_cast<float>(wide) / 8388608.0F);
        floats.push_back(kOdd[i % 9]);
        expectedFloats.push_back(kRead[i % 9]);
    }
    expectSameBits(decodeWav(wav(48000, 2, stereo16), 2), expected16);
    expectSameBits(decodeWav(wav(48000, 1, mono8), 1), expected8);
    expectSameBits(decodeWav(wav(48000, 1, mono24, 0, 3), 1), expected24);
    expectSameBits(decodeWav(wav(48000, 2, floats), 2), expectedFloats); // unclamped
    // Cut off: everything that is there, to the last whole frame.
    QByteArray cut = wav(48000, 2, stereo16, 1'000'000);
    cut.resize(cut.size() - 1);
    expected16.resize(expected16.size() - 2);
    expectSameBits(decodeWav(cut, 2), expected16);
    // 4,000 samples that count from 0; the container declares the first 1,500, more than a packet, to be padding.
    std::vector<float> counted(4000 - 1500);
    for (std::size_t i = 0; i < counted.size(); ++i) counted[i] = static_cast<float>(i + 1500) / 32768.0F;
    expectSameBits(decode(std::filesystem::path(QUILLET_TEST_DATA "/sound/counted-behind-padding.mov")), counted);
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
        const std::vector<float> samples = decodeWav(wav(rateHz, 1, sines(0.5, rateHz, {1000})), 1);

        EXPECT_NEAR(static_cast<double>(samples.size()), 48000, 32); // one filter length
        EXPECT_NEAR(amplitudeInside(samples, 1, 0, 1000), 0.5, 0.002);
        EXPECT_NEAR(amplitudeInside(samples, 1, 0, 1002), 0, 0.01);
    }
}

TEST(AudioFileReaderTest, moreChannelsAreMixedDownToTwo) {
    // A tone of its own on each channel: left, right, centre, low frequencies, side left, side right.
    const std::vector<double> hertz = {500, 700, 900, 60, 1300, 1500};
    const std::vector<float> samples = decodeWav(wav(48000, 6, sines(0.2, 48000, hertz)), 2);
    ASSERT_EQ(samples.size(), 96000U);
    constexpr double kHalf = 0.2 * std::numbers::sqrt2 / 2;
    constexpr double kExpected[2][6] = {{0.2, 0, kHalf, 0, kHalf, 0}, {0, 0.2, kHalf, 0, 0, kHalf}};
    for (const int side : {0, 1}) {
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(amplitudeInside(samples, 2, side, hertz[i]), kExpected[side][i], 0.001) << side << ' ' << i;
    }
    // So many that nobody knows where they belong: none is lost.
    const std::vector<float> level = decodeWav(wav(48000, 19, std::vector<float>(19 * 4800, 0.25F)), 2);
    ASSERT_EQ(level.size(), 9600U);
    EXPECT_NEAR(level[5000], 0.25F, 1e-5);
    EXPECT_NEAR(level[5001], 0.25F, 1e-5);
    // In the middle of a file there may suddenly be more than its beginning said, and too many.
    const std::vector<float> beginning =
        decode(std::filesystem::path(QUILLET_TEST_DATA "/sound/two-then-seventy-channels.ogg"));
    EXPECT_TRUE(beginning.size() > 1000 && beginning.size() <= 2 * 768) << beginning.size();
}

TEST(AudioFileReaderTest, readsAsManyFramesAsAskedForUntilTheEnd) {
    std::vector<std::int16_t> counted(2 * 20'000);
    std::iota(counted.begin(), counted.end(), std::int16_t{0});
    const TemporaryFolder folder;
    makeFile(folder / "a.wav", wav(48000, 2, counted));
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
    const TemporaryFolder folder;
    makeFile(folder / "a.wav", wav(48000, 2, std::vector<std::int16_t>(2 * 100'000)));
    const FailingCall gone{.number = __NR_read, .error = ENODEV};
    for (const bool goesAway : {false, true}) {
        auto reader = openAudioFile(folder / "a.wav");
        ASSERT_TRUE(reader.ok());
        std::vector<float> samples(2 * 200'000);
        std::size_t frames = (*reader)->read(std::span(samples).first(2 * 30'000));
        const auto readOn = [&] { frames += (*reader)->read(samples); };
        const std::string failure = goesAway ? runWithFailingCalls({gone}, readOn) : (readOn(), std::string());
        if (!failure.empty()) GTEST_SKIP() << failure;
        EXPECT_EQ(frames < 100'000U, goesAway) << frames;
        EXPECT_GE(frames, 30'000U);
        EXPECT_EQ((*reader)->readError().value_or(PlatformError{}).code, goesAway ? ENODEV : 0);
    }
    const FailingCall forbidden{.number = __NR_openat, .error = EACCES};
    for (const auto& [call, why] : {std::pair{gone, "No such device"}, {forbidden, "Permission denied"}}) {
        auto reader = openAudioFile(folder / "a.wav");
        EXPECT_TRUE(runWithFailingCalls({call}, [&] { reader = openAudioFile(folder / "a.wav"); }).empty());
        ASSERT_FALSE(reader.ok());
        EXPECT_EQ(reader.error().description.toStdString(), std::string("it cannot be read: ") + why);
    }
}

TEST(AudioFileReaderTest, aTenthOfASecondIsRecognisedWhenItsNameFits) {
    // MPEG-1 layer III, 128 kbit/s, 44.1 kHz, stereo: nothing but headers is silence.
    const QByteArray frame = QByteArray("\xFF\xFB\x90").leftJustified(417, '\0');
    const TemporaryFolder folder;
    makeFile(folder / "short.mp3", frame.repeated(4));
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
    makeFile(folder / "empty.wav");
    for (const char* name : {"text.wav", "text.mp3"}) makeFile(folder / name, QByteArray(2000, 'a'));
    const std::vector<std::int16_t> silence(64'000);
    QByteArray sound = wav(48000, 1, silence);
    makeFile(folder / "sound.wav", sound);
    sound.resize(30);
    makeFile(folder / "header.wav", sound);
    makeFile(folder / "slow.wav", wav(999, 1, silence));
    makeFile(folder / "wide.wav", wav(48000, 64, silence));
    // Files that name others must not be followed.
    makeFile(folder / "list.wav", "ffconcat version 1.0\nfile sound.wav\n");
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

} // namespace
} // namespace quillet::test
