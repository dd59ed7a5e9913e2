#include "model/item_source_type.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(ItemSourceTypeTest, PrefersOnlyOneOfTheFourServicesWithASearch) {
    for (const quint64 accepted : {1U, 2U, 4U, 8U})
        EXPECT_EQ(ItemSourceType::preferredSearch(accepted), ItemSourceType(accepted));
    for (const quint64 refused : {0ULL, 3ULL, 15ULL, 16ULL, 32ULL, 0x100000001ULL, ~0ULL})
        EXPECT_EQ(ItemSourceType::preferredSearch(refused), std::nullopt) << refused;
    EXPECT_EQ(ItemSourceType::preferredSearch(std::nullopt), std::nullopt);
}

TEST(ItemSourceTypeTest, SetAlgebra) {
    const auto both = ItemSourceType::iTunes.unionWith(ItemSourceType::Spotify);
    EXPECT_EQ(both.rawValue(), 3U);
    EXPECT_EQ(both.intersect(ItemSourceType(6)), ItemSourceType::Spotify);
    EXPECT_EQ(both.exclusiveOr(ItemSourceType(6)), ItemSourceType(5));
    EXPECT_EQ(both.subtract(ItemSourceType(6)), ItemSourceType::iTunes);
    EXPECT_TRUE(both.contains(both) && both.contains(ItemSourceType::None));
    EXPECT_FALSE(both.contains(ItemSourceType(6)));
    EXPECT_TRUE(ItemSourceType::iTunes.isSubsetOf(both) && both.isSupersetOf(ItemSourceType::iTunes));
    EXPECT_TRUE(both.isDisjointWith(ItemSourceType::Rdio) && !both.isDisjointWith(ItemSourceType(6)));
    auto changing = both;
    changing.insert(ItemSourceType::AppleMusic);
    changing.remove(ItemSourceType(7));
    EXPECT_EQ(changing.rawValue(), 16U);
    changing.remove(ItemSourceType::AppleMusic);
    EXPECT_TRUE(changing.isEmpty());
}

TEST(MusicItemSourceTypeTest, ReadsItsOwnTextsExactly) {
    using enum MusicItemSourceType;
    for (const auto source : {iTunes, Spotify, Rdio, Pandora, AppleMusic})
        EXPECT_EQ(musicItemSourceTypeFromRawValue(rawValue(source)), source);
    EXPECT_EQ(rawValue(iTunes), u"iTunes"_qs);
    EXPECT_EQ(rawValue(AppleMusic), u"AppleMusic"_qs);
    for (const char16_t* unknown : {u"", u"itunes", u"Apple Music", u"Spotify "})
        EXPECT_EQ(musicItemSourceTypeFromRawValue(unknown), std::nullopt);
}

} // namespace
} // namespace merlode
