#include "model/item_source_type.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(ItemSourceTypeTest, PrefersOnlyOneOfTheFourServicesWithASearch) {
    for (const quint64 accepted : {1U, 2U, 4U, 8U})
        EXPECT_EQ(ItemSourceType::preferredSearch(accepted), ItemSourceType(accepted));
    for (const quint64 refused : {0ULL, 3ULL, 15ULL, 16ULL, 32ULL, 0x100000001ULL, ~0ULL})
        EXPECT_EQ(ItemSourceType::preferredSearch(refused), std::nullopt) << refused;
}

} // namespace
} // namespace merlode
