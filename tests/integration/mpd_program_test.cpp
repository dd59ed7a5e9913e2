#include "base/qt_run_loop.h"
#include "base/session.h"
#include "platform/linux/mpd_program.h"
#include "support/mpd_server.h"
#include "support/music_files.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <csignal>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using namespace testing_support;

class PrivateMpdTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(writeMusicFile({.path = options().musicFolder + u"/a.flac"_qs,
                                    .title = u"Alone"_qs,
                                    .album = u"Single"_qs,
                                    .artists = {u"Ann"_qs},
                                    .albumArtist = {},
                                    .track = {},
                                    .disc = {},
                                    .picture = {}}));
        make();
    }

    PrivateMpdOptions options() const {
        return {.stateFolder = folder_.path() + u"/state \"of\" mine"_qs,
                .runtimeFolder = folder_.path() + u'/' + QString(90, u'r'),
                .musicFolder = folder_.path() + u"/My \\ Music #1"_qs,
                .sound = SoundOutput::None};
    }

    void make() {
        program_ = std::make_unique<MpdProgram>(options(), session_);
        program_->start(
            {.changed = [] {}, .launched = [this] { ++launches_; }, .quit = [this] { ++quits_; }});
        program_->settle(1);
    }

    bool plays(const char* name) {
        const LibraryQuery query{QString::fromUtf8(name), u"Single"_qs, u"Ann"_qs};
        return pumpUntil([&] { return program_->player()->playFromLibrary(query, u"Merlode"_qs); });
    }

    QTemporaryDir folder_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope_{&session_};
    std::unique_ptr<MpdProgram> program_;
    int launches_ = 0;
    int quits_ = 0;
};

TEST_F(PrivateMpdTest, StartsOnDemandScansAndPlays) {
    EXPECT_TRUE(program_->installedPath().has_value());
    EXPECT_FALSE(program_->player()) << "it is not started by looking";
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(program_->launch());
    EXPECT_LT(timer.elapsed(), 200);
    ASSERT_TRUE(pumpUntil([this] { return launches_ == 1; }));
    std::printf("private mpd up after %lld ms\n", static_cast<long long>(timer.elapsed()));
    EXPECT_TRUE(plays("Alone"));
    EXPECT_TRUE(pumpUntil([this] { return program_->player()->playerState() == kPlayerStatePlaying; }));
    EXPECT_EQ(program_->player()->soundVolume(), 100);
    const auto access = QFileInfo(options().stateFolder).permissions();
    EXPECT_FALSE(access & (QFile::ReadGroup | QFile::ReadOther)) << "what one plays is private";
}

TEST_F(PrivateMpdTest, EndsWithItsOwnerAndRemembersRatings) {
    ASSERT_TRUE(program_->launch() && pumpUntil([this] { return launches_ == 1; }));
    const auto process = program_->processIdentifier();
    ASSERT_TRUE(process && *process > 0 && plays("Alone"));
    ASSERT_TRUE(pumpUntil([this] { return program_->player()->currentTrack().has_value(); }));
    program_->player()->setRating(60);
    ASSERT_TRUE(pumpUntil([this] { return program_->player()->rating() == 60; }));
    program_.reset();
    EXPECT_NE(::kill(*process, 0), 0) << "it outlives its owner";
    make();
    ASSERT_TRUE(program_->launch() && pumpUntil([this] { return launches_ == 2; }));
    EXPECT_TRUE(plays("Alone"));
    EXPECT_TRUE(pumpUntil([this] { return program_->player()->rating() == 60; }));
}

TEST_F(PrivateMpdTest, CanBeStartedAgainAfterACrash) {
    ASSERT_TRUE(program_->launch() && pumpUntil([this] { return launches_ == 1; }));
    ::kill(*program_->processIdentifier(), SIGKILL);
    ASSERT_TRUE(pumpUntil([this] { return quits_ == 1; }));
    EXPECT_FALSE(program_->player());
    ASSERT_TRUE(pumpUntil([this] { return program_->launch() && launches_ == 2; }));
    EXPECT_TRUE(plays("Alone"));
}

} // namespace
} // namespace merlode
