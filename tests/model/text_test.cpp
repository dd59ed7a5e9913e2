#include "model/remote_action.h"
#include "model/text.h"

#include <set>

#include <gtest/gtest.h>

namespace merlode {
namespace {

struct TextCase {
    const char* name;
    QString (*function)(const QString&);
    const char16_t* input;
    const char16_t* expected;
};

class TextTest : public testing::TestWithParam<TextCase> {};

TEST_P(TextTest, Gives) {
    const TextCase& row = GetParam();
    EXPECT_EQ(row.function(QString::fromUtf16(row.input)).toStdString(),
              QString::fromUtf16(row.expected).toStdString());
}

const TextCase kTextCases[] = {
    {"CleanKeepsBothBlanksAroundWhatItDeletes", cleanString, u"Simon & Garfunkel", u"Simon  Garfunkel"},
    {"CleanDeletesEachReserved", cleanString, u"a+&=\"#%/<>?@\\^`{|}[]()b", u"ab"},
    {"CleanLeavesOtherPunctuation", cleanString, u"P!nk's $1.50, *NSYNC; A-ha: ~_'",
     u"P!nk's $1.50, *NSYNC; A-ha: ~_'"},
    {"CleanTrimsEveryKindOfBlankAndNewline", cleanString, u" \t\u00a0\u2029\u3000x\u2028\u0085\r\n", u"x"},
    {"CleanMakesABlankOfEachNewlineInside", cleanString, u"a\r\nb\u2028c\u0085d\u000be\u000cf",
     u"a  b c d e f"},
    {"CleanTrimsBeforeItDeletes", cleanString, u"(x )", u"x "},
    {"CleanOfNothing", cleanString, u"", u""},
    {"EncodeKeepsTheBlanksNextToANewline", encodeString, u"AC/DC \n Back", u"ACDC%20%20%20Back"},
    {"EncodeLeavesForeignText", encodeString, u"Björk 音楽\u00a0x", u"Björk%20音楽\u00a0x"},
    {"EncodeDoesNotEscapeTwice", encodeString, u"100%20", u"10020"},
    {"HtmlDecodesAllFive", htmlDecoded, u"&lt;b&gt; &quot;R&amp;B&quot; &apos;n&apos;", u"<b> \"R&B\" 'n'"},
    {"HtmlDecodesAmpersandBeforeLessThan", htmlDecoded, u"&amp;lt;", u"<"},
    {"HtmlDecodesQuoteBeforeAmpersand", htmlDecoded, u"&amp;quot;", u"&quot;"},
    {"HtmlLeavesNumericAndBroken", htmlDecoded, u"&#39; &#x27; &LT; &amp", u"&#39; &#x27; &LT; &amp"},
    {"MD5OfNothing", MD5, u"", u"d41d8cd98f00b204e9800998ecf8427e"},
    {"MD5KeepsLeadingZeros", MD5, u"jk8ssl", u"0000000018e6137ac2caab16074784a6"},
    {"MD5TakesUtf8", MD5, u"é", u"66ddcd97cfdeabb2f6fb8a999b4bc76f"},
};

INSTANTIATE_TEST_SUITE_P(Tables, TextTest, testing::ValuesIn(kTextCases),
                         [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST(ContainsTest, IgnoresCaseInAnyScriptAndFindsNoEmptyText) {
    EXPECT_TRUE(contains(u"Été Indien"_qs, u"été"_qs));
    EXPECT_TRUE(contains(u"the WALL"_qs, u"wall"_qs));
    EXPECT_FALSE(contains(u"the wall"_qs, u"walls"_qs));
    EXPECT_FALSE(contains(u"the wall"_qs, QString()));
    EXPECT_FALSE(contains(QString(), QString()));
}

TEST(DigestTest, KeyedDigestMatchesThePublishedVector) {
    // RFC 2202, test case 2.
    EXPECT_EQ(SHA1DigestWithKey(u"what do ya want for nothing?"_qs, u"Jefe"_qs).toHex().toStdString(),
              "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79");
}

TEST(RandomTextTest, HasTheLengthAndOnlyLettersAndDigits) {
    const QString text = randomStringWithLength(4000);
    EXPECT_EQ(text.size(), 4000);
    std::set<char16_t> seen;
    for (const QChar character : text) {
        EXPECT_TRUE(character.unicode() < 0x80 && character.isLetterOrNumber());
        seen.insert(character.unicode());
    }
    // That one of the 62 is never drawn in 4000 has a chance of 62 * (61/62)^4000, below 1e-26.
    EXPECT_EQ(seen.size(), 62U);
    EXPECT_TRUE(randomStringWithLength(-1).isEmpty());
}

TEST(UniqTest, KeepsTheOrderOfFirstOccurrence) {
    EXPECT_EQ(uniq(std::vector{3, 1, 3, 2, 1}), (std::vector{3, 1, 2}));
    EXPECT_EQ(uniq(QList<QString>{u"b"_qs, u"a"_qs, u"b"_qs}), (std::vector{u"b"_qs, u"a"_qs}));
}

TEST(QueryStringTest, EscapesAllButUnreservedAndBrackets) {
    const auto utf8 = [](const QString& text) {
        return urlEncodedStringWithEncoding(text, QStringConverter::Utf8).toStdString();
    };
    EXPECT_EQ(utf8(u"aZ9-._~[]"_qs), "aZ9-._~[]");
    EXPECT_EQ(utf8(u":/?&=;+!@#$()',*"_qs), "%3A%2F%3F%26%3D%3B%2B%21%40%23%24%28%29%27%2C%2A");
    EXPECT_EQ(utf8(u" %\"<>\\^`{|}\n"_qs), "%20%25%22%3C%3E%5C%5E%60%7B%7C%7D%0A");
    EXPECT_EQ(utf8(u"é😀"_qs), "%C3%A9%F0%9F%98%80");
    EXPECT_EQ(urlEncodedStringWithEncoding(u"é音"_qs, QStringConverter::Latin1).toStdString(), "%E9%3F");
}

TEST(QueryStringTest, JoinsPairsWithAndWithoutEscaping) {
    const QVariantMap pairs{{u"a b"_qs, u"x&y"_qs}, {u"n"_qs, 7}};
    EXPECT_EQ(queryStringWithEncoding(pairs, QStringConverter::Utf8), u"a b=x&y&n=7"_qs);
    EXPECT_EQ(urlEncodedQueryStringWithEncoding(pairs, QStringConverter::Utf8), u"a%20b=x%26y&n=7"_qs);
    EXPECT_EQ(queryStringWithEncoding({}, QStringConverter::Utf8), QString());
}

TEST(QueryStringTest, ReadsParameters) {
    using Parameters = QMap<QString, QString>;
    const std::vector<std::pair<const char16_t*, Parameters>> rows = {
        {u"a=1&b=2", {{u"a"_qs, u"1"_qs}, {u"b"_qs, u"2"_qs}}},
        {u"a=1&", {{u"a"_qs, u"1"_qs}}},
        {u"a=1&a=2", {{u"a"_qs, u"2"_qs}}},
        {u"a=&b=2&=3", {{u"b"_qs, u"2"_qs}}},
        {u"a=b=c%20d", {{u"a"_qs, u"b=c%20d"_qs}}},
        {u"a&b=2", {{u"a&b"_qs, u"2"_qs}}},
        {u"a", {}},
        {u"&&==", {{u"&&"_qs, u"="_qs}}},
        {u"", {}},
    };
    for (const auto& [query, expected] : rows)
        EXPECT_EQ(parametersFromQueryString(QString::fromUtf16(query)), expected)
            << QString::fromUtf16(query).toStdString();
}

TEST(FilterTest, KeepsThePairsThatPass) {
    const QMap<QString, int> pairs{{u"a"_qs, 1}, {u"b"_qs, 2}, {u"c"_qs, 3}};
    const auto odd = filter(pairs, [](const QString& key, int value) { return value % 2 && key != u"c"_qs; });
    EXPECT_EQ(odd, (QMap<QString, int>{{u"a"_qs, 1}}));
}

TEST(SubstringTest, CountsWhatPeopleSeeAndStaysInside) {
    const QString text = u"e\u0301a😀z"_qs;
    EXPECT_EQ(substring(text, 0, 1), u"e\u0301"_qs);
    EXPECT_EQ(substring(text, 1, 3), u"a😀"_qs);
    EXPECT_EQ(substring(text, 3, 99), u"z"_qs);
    EXPECT_EQ(substring(text, -5, 1), u"e\u0301"_qs);
    for (const auto& [from, to] :
         std::vector<std::pair<int, int>>{{2, 2}, {3, 1}, {4, 9}, {99, 100}, {-3, -1}})
        EXPECT_EQ(substring(text, from, to), QString()) << from << " to " << to;
}

TEST(RemoteActionTest, EachActionHasATextOfItsOwnThatLeadsBack) {
    for (int index = 0; index < kRemoteActionCount; ++index) {
        const auto action = static_cast<RemoteAction>(index);
        EXPECT_EQ(remoteActionFromRawValue(rawValue(action)), action);
    }
    EXPECT_EQ(rawValue(RemoteAction::remoteSearchiTunesForAlbum), u"remoteSearchiTunesForAlbum"_qs);
    EXPECT_EQ(rawValue(RemoteAction::remoteThumbsPandora), u"remoteThumbsPandora"_qs);
    for (const char16_t* unknown : {u"", u"TrackChanged", u"trackChanged ", u"quit"})
        EXPECT_EQ(remoteActionFromRawValue(unknown), std::nullopt);
}

} // namespace
} // namespace merlode
