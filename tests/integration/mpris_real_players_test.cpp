#include "base/qt_run_loop.h"
#include "base/session.h"
#include "platform/linux/mpris_program.h"
#include "platform/linux/taglib_pictures.h"
#include "support/music_files.h"
#include "support/private_bus.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <csignal>

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr double kPatience = 40; // real programs on a busy machine, in seconds

struct RealPlayer {
    const char* suffix;
    QStringList command;
};

void PrintTo(const RealPlayer& player, std::ostream* out) {
    *out << player.suffix;
}

/// Drives a real player through a run of its life: start, open, pause, go on, sudden death.
class RealMprisPlayerTest : public testing::TestWithParam<RealPlayer> {
  protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable(GetParam().command.constFirst()).isEmpty())
            GTEST_SKIP() << GetParam().suffix << " is not installed";
        ASSERT_FALSE(bus_.address().isEmpty());
        const QByteArray cover = testing_support::noisePicture(20);
        ASSERT_TRUE(testing_support::writeMusicFile({.path = song(),
                                                     .title = u"Silence"_qs,
                                                     .album = u"Record"_qs,
                                                     .artists = {u"Band"_qs},
                                                     .track = u"1"_qs,
                                                     .picture = cover}));
        program_ = std::make_unique<MprisProgram>(
            bus_.connect(), loop_, MprisProgramOptions{QString::fromLatin1(GetParam().suffix), {}, options_});
        program_->start({.changed = [this] { ++changes_; },
                         .launched = [this] { ++launches_; },
                         .quit = [this] { ++quits_; }});
        startPlayer();
    }

    void TearDown() override {
        process_.kill();
        process_.waitForFinished();
    }

    void startPlayer() {
        QStringList command = GetParam().command;
        process_.setProcessEnvironment(bus_.environment(home_.path()));
        process_.setStandardOutputFile(QProcess::nullDevice());
        process_.setStandardErrorFile(QProcess::nullDevice());
        const QString program = command.takeFirst();
        // strawberry ends itself while another of this user's, killed a moment ago, is not quite gone.
        ASSERT_TRUE(waitUntil(
            [&] {
                if (launches_ == 0 && process_.state() == QProcess::NotRunning)
                    process_.start(program, command);
                return launches_ == 1;
            },
            kPatience))
            << "the player did not come up";
    }

    QString song() const { return home_.filePath(u"a quiet söng.flac"_qs); }
    std::shared_ptr<ScriptedPlayer> player() { return program_->player(); }

    /// Polls the volume meanwhile, as the program does with the player in charge.
    bool waitForState(std::uint32_t state) {
        return waitUntil(
            [=, this] {
                player()->soundVolume();
                return player()->playerState() == state;
            },
            kPatience);
    }

    /// Waits until the file is loaded: before, players announce its name in place of its title.
    bool waitForTrack(const QString& path, const QString& title) {
        const auto address = QUrl::fromLocalFile(path);
        return waitUntil(
            [=, this] {
                const auto track = player()->currentTrack();
                return track && track->url && QUrl(*track->url) == address && track->name == title &&
                       track->duration;
            },
            kPatience);
    }

    PrivateBus bus_;
    QTemporaryDir home_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    RunLoop& loop_ = session_.runLoop();
    const MprisPlayerOptions options_{nullptr, &session_.queue(u"art"_qs), embeddedPicture, {}, {}};
    QProcess process_;
    std::unique_ptr<MprisProgram> program_;
    int changes_ = 0;
    int launches_ = 0;
    int quits_ = 0;
};

TEST_P(RealMprisPlayerTest, PlaysPausesAndDies) {
    EXPECT_EQ(program_->processIdentifier(), process_.processId());
    EXPECT_TRUE(program_->installedPath());

    player()->playKey(song());
    ASSERT_TRUE(waitForTrack(song(), u"Silence"_qs));
    ASSERT_TRUE(waitForState(kPlayerStatePlaying));
    EXPECT_GT(changes_, 0);
    const auto track = player()->currentTrack();
    EXPECT_EQ(track->artist, u"Band"_qs);
    EXPECT_NEAR(track->duration.value_or(0), 60, 1);
    EXPECT_TRUE(player()->capabilities().canPause);
    EXPECT_TRUE(waitUntil([this] { return player()->albumArt().has_value(); }, kPatience));

    // strawberry overlooks what comes before it really plays, which is later than it says and, without
    // loudspeakers on a busy machine, sometimes never: it is told until it heeds.
    {
        const auto opening = loop_.every(8, [this, scripted = player()] { scripted->playKey(song()); });
        ASSERT_TRUE(waitUntil([this] { return player() && player()->playerPosition() > 2.5; }, kPatience));
    }
    changes_ = 0;
    {
        const auto pausing = loop_.every(0.5, [scripted = player()] { scripted->pause(); });
        ASSERT_TRUE(waitForState(kPlayerStatePaused));
        EXPECT_TRUE(waitUntil([this] { return changes_ > 0; }));
    }
    {
        const auto playing = loop_.every(0.5, [scripted = player()] { scripted->play(); });
        ASSERT_TRUE(waitForState(kPlayerStatePlaying));
    }
    ::kill(static_cast<pid_t>(process_.processId()), SIGKILL);
    // The kernel closes a killed program's socket only behind its memory, seconds later on a busy machine.
    ASSERT_TRUE(waitUntil([this] { return quits_ == 1; }, kPatience));
    EXPECT_FALSE(program_->player());
}

INSTANTIATE_TEST_SUITE_P(Players, RealMprisPlayerTest,
                         testing::Values(RealPlayer{"mpv",
                                                    {u"mpv"_qs, u"--no-video"_qs, u"--ao=null"_qs,
                                                     u"--idle"_qs, u"--no-terminal"_qs}},
                                         RealPlayer{"strawberry", {u"strawberry"_qs}}),
                         [](const auto& given) { return std::string(given.param.suffix); });

} // namespace
} // namespace merlode
