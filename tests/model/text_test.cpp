#include "model/remote_action.h"
#include "model/text.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

QString queried(const QString& text) {
    return urlEncodedStringWithEncoding(text, QStringConverter::Utf8);
}

QString digest(const QString& text) {
    return QString::fromLatin1(SHA1DigestWithKey(text, u"Jefe"_qs).toHex());
}

TEST(TextTest, Gives) {
    const std::vector<std::tuple<QString (*)(const QString&), QString, QString>> rows = {
        {cleanString, u"Simon & Garfunkel"_qs, u"Simon  Garfunkel"_qs},
        {cleanString, u"a+&=\"#%/<>?@\\^`{|}[]()b"_qs, u"ab"_qs},
        {cleanString, u"P!nk's $1.50, *NSYNC; A-ha: ~_'"_qs, u"P!nk's $1.50, *NSYNC; A-ha: ~_'"_qs},
        {cleanString, u" \t\u00a0\u2029\u3000x\u2028\u0085\r\n"_qs, u"x"_qs},
        {cleanString, u"a\r\nb\u2028c\u0085d\u000be\u000cf"_qs, u"a  b c d e f"_qs},
        {cleanString, u"(x )"_qs, u"x "_qs}, // trims before it deletes
        {encodeString, u"AC/DC \n Back"_qs, u"ACDC%20%20%20Back"_qs},
        {encodeString, u"Björk 音楽\u00a0x"_qs, u"Björk%20音楽\u00a0x"_qs},
        {htmlDecoded, u"&lt;b&gt; &quot;R&amp;B&quot; &apos;n&apos;"_qs, u"<b> \"R&B\" 'n'"_qs},
        {htmlDecoded, u"&amp;lt; &amp;quot;"_qs, u"< &quot;"_qs},
        {htmlDecoded, u"&#39; &#x27; &LT; &amp"_qs, u"&#39; &#x27; &LT; &amp"_qs},
        {MD5, u"jk8ssl"_qs, u"0000000018e6137ac2caab16074784a6"_qs},
        {MD5, u"é"_qs, u"66ddcd97cfdeabb2f6fb8a999b4bc76f"_qs},
        {queried, u"aZ9-._~[]"_qs, u"aZ9-._~[]"_qs},
        {queried, u":/?&=;+!@#$()',*"_qs, u"%3A%2F%3F%26%3D%3B%2B%21%40%23%24%28%29%27%2C%2A"_qs},
        {queried, u" %\n é😀"_qs, u"%20%25%0A%20%C3%A9%F0%9F%98%80"_qs},
        // RFC 2202, test case 2.
        {digest, u"what do ya want for nothing?"_qs, u"effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"_qs},
    };
    for (const auto& [function, input, expected] : rows)
        EXPECT_EQ(function(input).toStdString(), expected.toStdString()) << input.toStdString();
}

TEST(TextTest, ReadsParameters) {
    using Parameters = QMap<QString, QString>;
    const std::vector<std::pair<QString, Parameters>> rows = {
        {u"a=1&a=2&"_qs, {{u"a"_qs, u"2"_qs}}},        {u"a=&b=2&=3"_qs, {{u"b"_qs, u"2"_qs}}},
        {u"a=b=c%20d"_qs, {{u"a"_qs, u"b=c%20d"_qs}}}, {u"a&b=2"_qs, {{u"a&b"_qs, u"2"_qs}}},
        {u"&&=="_qs, {{u"&&"_qs, u"="_qs}}},
    };
    for (const auto& [query, expected] : rows)
        EXPECT_EQ(parametersFromQueryString(query), expected) << query.toStdString();
}

TEST(TextTest, SubstringCountsWhatPeopleSeeAndStaysInside) {
    const QString text = u"e\u0301a😀z"_qs;
    EXPECT_EQ(substring(text, 1, 3), u"a😀"_qs);
    EXPECT_EQ(substring(text, 3, 99), u"z"_qs);
    EXPECT_EQ(substring(text, -5, 1), u"e\u0301"_qs);
    for (const auto& [from, to] : std::vector<std::pair<int, int>>{{3, 1}, {4, 9}, {99, 100}, {-3, -1}})
        EXPECT_EQ(substring(text, from, to), QString()) << from << " to " << to;
}

TEST(RemoteActionTest, EachActionHasATextOfItsOwnThatLeadsBack) {
    for (int index = 0; index < kRemoteActionCount; ++index) {
        const auto action = static_cast<RemoteAction>(index);
        EXPECT_EQ(remoteActionFromRawValue(rawValue(action)), action);
    }
    EXPECT_EQ(remoteActionFromRawValue(u"TrackChanged"_qs), std::nullopt);
}

} // namespace
} // namespace merlode
