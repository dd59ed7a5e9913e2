#include "model/json.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

#include <gtest/gtest.h>

namespace merlode {
namespace {

JSON parsed(const QByteArray& text) {
    return JSON(text);
}

// The same value out of a text and made of Qt's values: neither may ever behave differently.
std::vector<JSON> bothForms(const QByteArray& text) {
    const JSON json = parsed(text);
    return {json, JSON(json.object())};
}

std::string errorOf(const JSON& json) {
    const auto& error = json.error();
    if (!error)
        return "none";
    EXPECT_EQ(error->domain, u"DrudorskofErrorDomain"_qs);
    return std::to_string(error->code) + " " + error->localizedDescription.toStdString();
}

TEST(JSONTest, WrongStepsGiveNullWithTheErrorOfTheLast) {
    const std::string notArray = "901 Array[0] failure, It is not an array";
    const std::string notDictionary = "901 Dictionary[\"b\"] failure, It is not an dictionary";
    for (const JSON& json : bothForms(R"({"list":[1,2,3],"é":{"k":"v"}})")) {
        const std::vector<std::pair<std::string, JSONPath>> rows = {
            {"500 Dictionary[\"a\"] does not exist", {u"a"}},
            {notDictionary, {u"a", 0, u"b"}},
            {notDictionary, {u"list", u"b"}},
            {notArray, {0}},
            {notArray, {u"a", 0}},
            {"900 Array[3] is out of bounds", {u"list", 3}},
            {"900 Array[-1] is out of bounds", {u"list", -1}},
        };
        for (const auto& [expected, path] : rows) {
            EXPECT_EQ(errorOf(json[path]), expected);
            EXPECT_TRUE(json[path].null());
        }
        EXPECT_EQ(json.at(u"list", 2), JSON(3));
        EXPECT_EQ(json[u"é"][u"k"].string(), u"v"_qs);
        EXPECT_EQ(json[JSONPath{}], json);
    }
}

TEST(JSONTest, ReadsTexts) {
    const QByteArray deepest = QByteArray(512, '[') + QByteArray(512, ']');
    EXPECT_TRUE(parsed(deepest).array() && parsed("true").bool_() && parsed("1").number());
    EXPECT_EQ(parsed("\xEF\xBB\xBF{\"\xEF\xBB\xBFk\":1}")[u"\ufeffk"], JSON(1));
    const QByteArray huge = QByteArray(JSON::kLargestText, ' ') + '1';
    for (const QByteArray& text : {QByteArray(), '[' + deepest + ']', QByteArray(1'000'000, '['), huge,
                                   "{\"a\":"_qba, "[\"\xC3(\"]"_qba, "[1,]"_qba, "[01]"_qba, "[1e999]"_qba}) {
        JSONError error;
        const JSON json(text, JSONReadingOptions::AllowFragments, &error);
        EXPECT_TRUE(json.null() && !json.error() && json.stringValue().isEmpty())
            << text.left(9).toStdString();
        EXPECT_FALSE(error.localizedDescription.isEmpty());
    }
    JSONError error;
    EXPECT_TRUE(JSON("1"_qba, JSONReadingOptions::None, &error).null());
    EXPECT_NE(error.code, 0);
}

TEST(JSONTest, KeepsNumbersExactBothWays) {
    const QByteArray text =
        "[-9223372036854775808,9223372036854775807,18446744073709551615,0.1,1e+22,-92233720854775800.0,12]";
    const JSON json(text);
    EXPECT_EQ(json.rawData(), text);
    EXPECT_EQ(json[0].intValue(), std::numeric_limits<qint64>::min());
    EXPECT_EQ(json[2].uInt64(), std::numeric_limits<quint64>::max());
    EXPECT_LT(json[1], json[2]);
    EXPECT_NE(JSON(9007199254740993), JSON(9007199254740992.0)); // no double is the former
    // An integer beyond 64 bits is a real, and leaves its neighbours alone.
    const JSON wide = parsed(R"(["\"-123456789012345678901",-123456789012345678901,9223372036854775807])");
    EXPECT_EQ(wide[0].string(), u"\"-123456789012345678901"_qs);
    EXPECT_EQ(wide[1].doubleValue(), -123456789012345678901.0);
    EXPECT_EQ(wide[2].int_(), std::numeric_limits<qint64>::max());
    EXPECT_EQ(JSON(300).int8Value(), 44);
    EXPECT_EQ(JSON(-1e300).int32Value(), 0); // the low bits of the least 64-bit integer
    EXPECT_EQ(JSON(1e300).uIntValue(), std::numeric_limits<quint64>::max());
    EXPECT_EQ(JSON(std::nan("")).intValue(), 0);
}

TEST(JSONTest, ConvertsLeniently) {
    const std::vector<std::tuple<JSON, bool, double>> rows = {
        {u"no", false, 0},  {u" \nyes", true, 0},
        {u"1", true, 1},    {u"007", false, 7},
        {u"inf", false, 0}, {u" -1.5e1 ", false, -15.0},
        {12.5, true, 12.5}, {u"12 tracks", true, 0},
        {true, true, 1},    {std::optional<int>(), false, 0},
    };
    for (const auto& [json, boolean, number] : rows) {
        EXPECT_EQ(json.boolValue(), boolean) << json.description().toStdString();
        EXPECT_EQ(json.doubleValue(), number) << json.description().toStdString();
    }
    EXPECT_EQ(JSON(12.0).stringValue() + JSON(true).stringValue() + parsed("[1]").stringValue(),
              u"12true"_qs);
    EXPECT_FALSE(JSON(12).string() || JSON(1).bool_() || JSON(u"1").int_() || JSON(1).null());
    EXPECT_EQ(JSON(u"http://h/a b?q=50%#é").URL()->toEncoded(), "http://h/a%20b?q=50%25%23%C3%A9");
    EXPECT_FALSE(JSON(u"http://[::1]/").URL() || JSON(u"").URL() || JSON(1).URL());
}

TEST(JSONTest, WritesWhatFits) {
    for (JSON json : bothForms(R"({"list":[1,{"a":2}],"n":1})")) {
        const JSON before = json;
        json.set(u"list", json[u"missing"]);
        json.set(0, 1);
        json.set({u"list", u"key"}, 1);
        json.set({u"list", 2}, 1);
        json.set({u"missing", u"key"}, 1);
        json.set(JSONPath{}, 1);
        json.set(u"n", JSON(QVariant(QDateTime())));
        EXPECT_EQ(json, before);
        EXPECT_EQ(errorOf(json), "none");
        json.set({u"list", 1, u"a"}, u"new");
        json.set(u"list2", json[u"list"]);
        json.set({u"list", 0}, nullptr);
        EXPECT_EQ(json, parsed(R"({"list":[null,{"a":"new"}],"list2":[1,{"a":"new"}],"n":1})"));
        EXPECT_EQ(before[u"list"][1][u"a"], JSON(2));
    }
}

TEST(JSONTest, WalksAndCounts) {
    for (const JSON& json : bothForms(R"({"b":["x"],"a":1,"b":2,"":{}})")) {
        QStringList walked;
        for (const auto& [key, value] : json)
            walked += key + u'=' + value.rawString(QStringConverter::Utf8, JSONWritingOptions::None).value();
        EXPECT_EQ(walked, QStringList({u"={}"_qs, u"a=1"_qs, u"b=[\"x\"]"_qs})); // of equal keys the first
        EXPECT_EQ(json.count(), 3);
        EXPECT_EQ(json[u"b"], json.dictionaryValue()[u"b"_qs]);
        EXPECT_EQ((*json[u"b"].begin()).first, u"0"_qs);
        EXPECT_TRUE(json[u""].isEmpty() && json[u"a"].isEmpty() && !json.isEmpty());
        EXPECT_EQ(json[json.startIndex().successor()].first, u"a"_qs);
        EXPECT_FALSE(json.startIndex() == json[u"b"].startIndex());
    }
    EXPECT_TRUE(parsed("1").begin() == std::default_sentinel);
    EXPECT_FALSE(JSON().startIndex() == JSON().endIndex());
    // A container out of a text outlives the value it was reached from.
    EXPECT_EQ(std::make_unique<JSON>(parsed("[[[7]]]"))->at(0)[0], parsed("[7]"));
}

TEST(JSONTest, Compares) {
    EXPECT_NE(JSON(true), JSON(1));
    EXPECT_TRUE(JSON(1) == JSON(1.0) && JSON(true) <= JSON(true) && !(JSON(false) < JSON(true)) &&
                !(JSON(false) <= JSON(true)));
    EXPECT_TRUE(JSON(u"a") < JSON(u"b") && !(JSON(u"1") < JSON(2)) && JSON() <= JSON());
    EXPECT_NE(JSON(QVariant(QDateTime())), JSON(QVariant(QDateTime())));
    // The two orders of these keys, by UTF-8 and by UTF-16, differ.
    for (const JSON& json : bothForms(R"({"\ud83d\ude00":[true,null],"\uffee":{"x":[]}})")) {
        EXPECT_EQ(json, bothForms(R"({"\uffee":{"x":[]},"\ud83d\ude00":[1,null]})").back());
        EXPECT_NE(json, parsed(R"({"\uffee":{"x":{}},"\ud83d\ude00":[true,null]})"));
        EXPECT_NE(json, parsed(R"({"\uffee":{"x":[]},"\ud83d\ude00":[true]})"));
    }
}

TEST(JSONTest, WritesTexts) {
    for (const JSON& json : bothForms("{\"a\\u0001\\\"\":[\"\\n\\\\é😀\",false,[],{}]}")) {
        const auto read = QJsonDocument::fromJson(json.rawString()->toUtf8()).object().toVariantMap();
        EXPECT_EQ(read, json.object().toMap());
        EXPECT_EQ(json, JSON(json.rawString()->toUtf8()));
    }
    EXPECT_EQ(JSON(QString(QChar(0xD800))).description(), QString(QChar(0xD800)));
    JSON unwritable = parsed("[1]");
    unwritable.set(0, std::nan(""));
    EXPECT_FALSE(unwritable.rawData() || unwritable.rawString() || JSON(1).rawData());
    EXPECT_EQ(errorOf(JSON(QVariant(QDateTime()))), "999 It is a unsupported type");
    EXPECT_EQ(JSON(QVariant(QDateTime())).description() + JSON().description(), u"unknownnull"_qs);
}

} // namespace
} // namespace merlode
