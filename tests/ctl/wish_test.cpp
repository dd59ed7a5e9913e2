#include "ctl/wish.h"

#include <QJsonArray>

#include <gtest/gtest.h>

using namespace merlode::ctl;

TEST(Wish, TheBestMatchIsTheOneOfJustThatName) {
    QJsonArray rows;
    const auto add = [&](const char* kind, const char* title, const char* artist, const char* service) {
        rows << QJsonObject{
            {u"row"_qs, rows.size() + 1},        {u"kind"_qs, QLatin1String(kind)},
            {u"title"_qs, QLatin1String(title)}, {u"artist"_qs, QLatin1String(artist)},
            {u"album"_qs, u"Nights"_qs},         {u"services"_qs, QJsonArray{QLatin1String(service)}}};
    };
    add("track", "Lanterns (Reprise)", "Herons", "library");
    add("track", "Lanterns", "Someone Else", "spotify");
    add("track", "Lanterns", "Herons", "library");
    add("album", "Lanterns", "Herons", "library");
    const QJsonObject found{{u"rows"_qs, rows}};
    const auto row = [&](const Wish& wish, const QString& service = {}) {
        return int(rowOf(wish, found, service).value_or(0));
    };
    EXPECT_EQ(row({u"lanterns"_qs, {}, {}}), 2);
    EXPECT_EQ(row({u"lanterns"_qs, u"HERONS"_qs, {}}), 3);
    EXPECT_EQ(row({u"reprise"_qs, {}, {}}), 1) << "a part of a title, where no title is just that";
    EXPECT_EQ(row({{}, u"herons"_qs, u"lanterns"_qs}), 4);
    EXPECT_EQ(row({u"lanterns"_qs, {}, u"days"_qs}), 0);
    EXPECT_EQ(row({u"lanterns"_qs, {}, u"nights"_qs}, u"library"_qs), 3);
    EXPECT_EQ(row({u"lanterns"_qs, u"Nobody"_qs, {}}), 0);
}
