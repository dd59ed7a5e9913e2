#include "platform/linux/private_mpd.h"
#include "platform/linux/sound_output.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

PrivateMpdOptions options(const QString& music) {
    return {.stateFolder = QStringLiteral("/state"),
            .runtimeFolder = QStringLiteral("/run"),
            .musicFolder = music,
            .sound = {}};
}

TEST(PrivateMpdConfiguration, KeepsOddPathsInsideTheirQuotes) {
    const auto text = privateMpdConfiguration(options(QStringLiteral("/m/My \"best\" \\ #1")),
                                              QStringLiteral("/run/socket"), SoundOutput::None);
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->contains("music_directory \"/m/My \\\"best\\\" \\\\ #1\"\n")) << text->constData();
}

TEST(PrivateMpdConfiguration, IsRefusedForPathsThatCouldAddLines) {
    for (const char* path : {"/music\"\nbind_to_address \"any", "/music\r", "music", ""}) {
        const auto odd = QString::fromUtf8(path);
        EXPECT_FALSE(privateMpdConfiguration(options(odd), QStringLiteral("/s"), SoundOutput::Alsa)) << path;
        EXPECT_FALSE(privateMpdConfiguration(options(QStringLiteral("/m")), odd, SoundOutput::Alsa)) << path;
    }
}

struct SoundCase {
    const char* name;
    bool pulse, pipewire, alsa;
    const char* built;
    SoundOutput expected;
};

class SoundOutputTest : public testing::TestWithParam<SoundCase> {};

TEST_P(SoundOutputTest, IsOneThatTheMachineAndMpdBothHave) {
    const auto& p = GetParam();
    const SoundMachine machine{.pulseServer = p.pulse,
                               .pipewireSocket = p.pipewire,
                               .alsaDevice = p.alsa,
                               .mpdOutputs = QString::fromUtf8(p.built).split(u' ')};
    EXPECT_EQ(chooseSoundOutput(machine), p.expected);
}

INSTANTIATE_TEST_SUITE_P(
    , SoundOutputTest,
    testing::Values(SoundCase{"desktop", true, true, true, "alsa pipewire pulse", SoundOutput::Pulse},
                    SoundCase{"pipewireAlone", false, true, true, "alsa pipewire pulse",
                              SoundOutput::PipeWire},
                    SoundCase{"mpdWithoutPulse", true, true, true, "alsa pipewire", SoundOutput::PipeWire},
                    SoundCase{"noSoundServer", false, false, true, "alsa pipewire pulse", SoundOutput::Alsa},
                    SoundCase{"mpdWithoutThem", true, true, true, "null oss", SoundOutput::None},
                    SoundCase{"container", false, false, false, "alsa pipewire pulse", SoundOutput::None}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(MpdOutputs, AreReadFromTheirLineAlone) {
    const QByteArray text = "Decoder plugins:\n [mad] mp3 pulse\n\nOutput plugins:\n null alsa pulse\n\n"
                            "Encoder plugins:\n null wave\n";
    EXPECT_EQ(parseMpdOutputs(text), QString::fromUtf8("null alsa pulse").split(u' '));
    EXPECT_TRUE(parseMpdOutputs("mpd: not found\n").isEmpty());
    EXPECT_TRUE(parseMpdOutputs("Output plugins:").isEmpty());
}

} // namespace
} // namespace merlode
