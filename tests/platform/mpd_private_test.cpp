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

TEST(PrivateMpdConfiguration, IsRefusedForPathsThatCouldAddLines) {
    for (const char* path : {"/music\"\nbind_to_address \"any", "/music\r", "music", ""}) {
        const auto odd = QString::fromUtf8(path);
        EXPECT_FALSE(privateMpdConfiguration(options(odd), QStringLiteral("/s"), SoundOutput::Alsa)) << path;
        EXPECT_FALSE(privateMpdConfiguration(options(QStringLiteral("/m")), odd, SoundOutput::Alsa)) << path;
    }
}

TEST(SoundOutputs, TheChosenOneIsThereAndBuiltIntoMpd) {
    const struct {
        bool pulse, pipewire, alsa;
        const char* built;
        SoundOutput expected;
    } cases[] = {{true, true, true, "alsa pipewire pulse", SoundOutput::Pulse},
                 {true, true, true, "alsa pipewire", SoundOutput::PipeWire},
                 {false, false, true, "alsa pipewire pulse", SoundOutput::Alsa},
                 {true, true, true, "null oss", SoundOutput::None},
                 {false, false, false, "alsa pipewire pulse", SoundOutput::None}};
    for (const auto& [pulse, pipewire, alsa, built, expected] : cases) {
        const auto outputs = parseMpdOutputs(QByteArray("Decoder plugins:\n [mad] mp3 pulse\n\n"
                                                        "Output plugins:\n ") +
                                             built + "\n\nEncoder plugins:\n null pipewire\n");
        EXPECT_EQ(chooseSoundOutput({pulse, pipewire, alsa, outputs}), expected) << built;
    }
    EXPECT_TRUE(parseMpdOutputs("Output plugins:").isEmpty());
}

} // namespace
} // namespace merlode
