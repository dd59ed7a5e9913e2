#include "base/qt_run_loop.h"
#include "base/session.h"
#include "platform/linux/mpd_program.h"
#include "support/mpd_server.h"
#include "support/music_files.h"

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
                                    .artists = {u"Ann"_qs}}));
        program_ = std::make_unique<MpdProgram>(options(), session_);
        program_->start(
            {.changed = [] {}, .launched = [this] { ++launches_; }, .quit = [this] { ++quits_; }});
        program_->settle(1);
    }

    PrivateMpdOptions options() const {
        return {.stateFolder = folder_.path() + u"/state \"of\" mine"_qs,
                .runtimeFolder = folder_.path() + u'/' + QString(90, u'r'),
                .musicFolder = folder_.path() + u"/My \\ Music #1"_qs,
                .sound = SoundOutput::None};
    }

    bool plays() {
        const LibraryQuery query{u"Alone"_qs, u"Single"_qs, u"Ann"_qs};
        return pumpUntil([&] { return program_->player()->playFromLibrary(query, u"Merlode"_qs); });
    }

    QTemporaryDir folder_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope_{&session_};
    std::unique_ptr<MpdProgram> program_;
    int launches_ = 0;
    int quits_ = 0;
};

TEST_F(PrivateMpdTest, StartsOnDemandRemembersRatingsAfterACrashAndEndsWithItsOwner) {
    EXPECT_FALSE(program_->player()) << "it is not started by looking";
    ASSERT_TRUE(program_->launch() && pumpUntil([this] { return launches_ == 1; }));
    const auto access = QFileInfo(options().stateFolder).permissions();
    EXPECT_FALSE(access & (QFile::ReadGroup | QFile::ReadOther)) << "what one plays is private";
    ASSERT_TRUE(plays() && pumpUntil([this] { return program_->player()->currentTrack().has_value(); }));
    program_->player()->setRating(60);
    ASSERT_TRUE(pumpUntil([this] { return program_->player()->rating() == 60; }));
    ::kill(*program_->processIdentifier(), SIGKILL);
    ASSERT_TRUE(pumpUntil([this] { return quits_ == 1; }));
    EXPECT_FALSE(program_->player());
    ASSERT_TRUE(
        writeMusicFile({options().musicFolder + u"/b.flac"_qs, u"New"_qs, u"Single"_qs, {u"Ann"_qs}}));
    ASSERT_TRUE(pumpUntil([this] { return program_->launch() && launches_ == 2; }));
    EXPECT_TRUE(plays());
    EXPECT_TRUE(pumpUntil([this] { return program_->player()->rating() == 60; }));
    EXPECT_TRUE(program_->player()->playFromLibrary({u"New"_qs, u"Single"_qs, u"Ann"_qs}, u"Merlode"_qs))
        << "what came while it was away is found";
    const auto process = program_->processIdentifier();
    ASSERT_TRUE(process && *process > 0);
    program_.reset();
    EXPECT_NE(::kill(*process, 0), 0) << "it outlives its owner";
}

} // namespace
} // namespace merlode
