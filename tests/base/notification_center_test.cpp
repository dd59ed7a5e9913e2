#include "base/notification_center.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr NotificationName kFirst{"first"};
constexpr NotificationName kSecond{"second"};

TEST(NotificationCenterTest, DeliversInOrderOfRegistrationWithFilterAndInfo) {
    NotificationCenter center;
    std::vector<int> seen;
    const int window = 0;
    const auto all = center.addObserver(kFirst, [&](const Notification& notification) {
        seen.push_back(notification.userInfo.value(QStringLiteral("Volume")).toInt());
    });
    const auto ofWindow = center.addObserver(
        kFirst, [&](const auto&) { seen.push_back(-1); }, &window);
    const auto other = center.addObserver(kSecond, [&](const auto&) { seen.push_back(-2); });
    center.post(kFirst, nullptr, {{QStringLiteral("Volume"), 7}});
    center.post(kFirst, &window);
    center.post(kFirst, &center);
    EXPECT_EQ(seen, (std::vector{7, 0, -1, 0}));
}

TEST(NotificationCenterTest, ObserversMayUnregisterRegisterAndPostDuringADelivery) {
    NotificationCenter center;
    std::vector<int> seen;
    Observation victim;
    Observation self;
    Observation late;
    const auto first = center.addObserver(kFirst, [&](const auto&) {
        seen.push_back(1);
        victim = {};
        late = center.addObserver(kFirst, [&](const auto&) { seen.push_back(9); });
        center.post(kSecond);
    });
    self = center.addObserver(kFirst, [&](const auto&) {
        seen.push_back(2);
        self = {};
        seen.push_back(3); // the closure must still be alive
    });
    victim = center.addObserver(kFirst, [&](const auto&) { seen.push_back(4); });
    const auto nested = center.addObserver(kSecond, [&](const auto&) { seen.push_back(5); });
    center.post(kFirst);
    EXPECT_EQ(seen, (std::vector{1, 5, 2, 3}));
}

} // namespace
} // namespace merlode
