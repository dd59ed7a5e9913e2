#include "platform/linux/mpris_mirror.h"

#include <cmath>

#include <gtest/gtest.h>

namespace merlode {
namespace {

QVariantMap song(const QString& title) {
    return {{u"xesam:title"_qs, title}, {u"mpris:length"_qs, qint64(100'000'000)}};
}

QVariantMap playing(const QString& title, qint64 position) {
    return {{u"PlaybackStatus"_qs, u"Playing"_qs}, {u"Metadata"_qs, song(title)}, {u"Position"_qs, position}};
}

TEST(MprisMirror, ThePositionRunsOnWhilePlayingAndStopsAtTheEnd) {
    MprisMirror mirror;
    mirror.replace(playing(u"A"_qs, 10'000'000), 100);
    EXPECT_DOUBLE_EQ(*mirror.position(105), 15);
    EXPECT_DOUBLE_EQ(*mirror.position(1000), 100);

    mirror.update({{u"Rate"_qs, 2.0}}, 105);
    EXPECT_DOUBLE_EQ(*mirror.position(110), 25);
    mirror.update({{u"PlaybackStatus"_qs, u"Paused"_qs}}, 110);
    EXPECT_DOUBLE_EQ(*mirror.position(200), 25);
    mirror.update({{u"Metadata"_qs, song(u"B"_qs)}}, 200);
    EXPECT_DOUBLE_EQ(*mirror.position(200), 0);
}

TEST(MprisMirror, OnlyAPositionFarFromTheExpectedOneIsAJump) {
    MprisMirror mirror;
    mirror.replace(playing(u"A"_qs, 10'000'000), 100);
    EXPECT_FALSE(mirror.positionRead(15.9, 105));
    EXPECT_TRUE(mirror.positionRead(40, 106));
    EXPECT_FALSE(mirror.positionRead(std::nullopt, 107));
    EXPECT_EQ(mirror.position(107), std::nullopt);
    mirror.replace(playing(u"A"_qs, 0), 110);
    EXPECT_FALSE(mirror.replace(playing(u"A"_qs, 0), 112).matters());
    EXPECT_FALSE(mirror.replace(playing(u"A"_qs, 0), 114).matters()) << "its clock stands still";
    EXPECT_TRUE(mirror.positionAnnounced(0, 118)) << "it says itself that it went back";
}

TEST(MprisMirror, AFullReadingForgetsWhatThePlayerNoLongerHas) {
    MprisMirror mirror;
    mirror.replace(playing(u"A"_qs, 0), 100);
    EXPECT_TRUE(mirror.replace({}, 101).matters());
    EXPECT_EQ(mirror.state(), 0u);
    EXPECT_EQ(mirror.track(), std::nullopt);
    EXPECT_EQ(mirror.position(101), std::nullopt);
}

TEST(MprisMirror, VolumesAreBroughtIntoRangeOrAbsent) {
    const std::pair<QVariant, std::optional<int>> cases[] = {
        {0.504, 50}, {1e300, 100}, {-0.2, 0}, {1, 100}, {std::nan(""), {}}, {u"loud"_qs, {}}};
    for (const auto& [told, read] : cases) {
        MprisMirror mirror;
        mirror.update({{u"Volume"_qs, told}}, 0);
        EXPECT_EQ(mirror.volume(), read) << told.typeName();
        EXPECT_EQ(mirror.capabilities().canSetVolume, read.has_value());
    }
}

} // namespace
} // namespace merlode
