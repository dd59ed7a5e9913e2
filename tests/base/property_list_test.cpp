#include "base/property_list.h"

#include <QDateTime>
#include <QTimeZone>

#include <limits>

#include <gtest/gtest.h>

namespace merlode::property_list {
namespace {

TEST(PropertyListTest, EveryTypeSurvivesARoundTripAndWhatXmlCannotCarryIsLeftOut) {
    const QVariantMap map{
        {QStringLiteral("true"), true},
        {QStringLiteral("negative"), qlonglong(-5)},
        {QStringLiteral("large"), std::numeric_limits<qlonglong>::max()},
        {QStringLiteral("real"), 0.1},
        {QStringLiteral("text"), QStringLiteral("a <b> & \"ü\" 音楽\n")},
        {QStringLiteral("empty"), QString()},
        {QStringLiteral("data"), QByteArray("\0\1\xff", 3)},
        {QStringLiteral("date"), QDateTime(QDate(2026, 2, 3), QTime(4, 5, 6), QTimeZone::utc())},
        {QStringLiteral("list"), QVariantList{qlonglong(1), QStringLiteral("x"), QVariantMap{}}},
        {QStringLiteral("a key & more"), QVariantMap{{QStringLiteral("deep"), false}}},
    };
    auto withBell = map;
    withBell[QStringLiteral("text")] = map.value(QStringLiteral("text")).toString() + QChar(u'\a');
    const auto back = parse(serialize(withBell));
    ASSERT_TRUE(back.has_value());
    const auto found = back->toMap();
    ASSERT_EQ(found.keys(), map.keys());
    for (auto item = map.begin(); item != map.end(); ++item) {
        EXPECT_EQ(found.value(item.key()), item.value()) << qPrintable(item.key());
        EXPECT_EQ(found.value(item.key()).typeId(), item.value().typeId()) << qPrintable(item.key());
    }
}

TEST(PropertyListTest, BrokenAndHostileTextsGiveNothing) {
    const QByteArray deep = "<plist>" + QByteArray("<array>").repeated(100'000) +
                            QByteArray("</array>").repeated(100'000) + "</plist>";
    for (const QByteArray& text : {QByteArray(), QByteArray("garbage"), QByteArray("<plist><dict><key>a"),
                                   QByteArray("<plist></plist>"), QByteArray("\0\0\0\0", 4), deep})
        EXPECT_FALSE(parse(text).has_value()) << text.left(40).constData();
}

} // namespace
} // namespace merlode::property_list
