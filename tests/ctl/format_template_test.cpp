#include "ctl/format_template.h"
#include "ctl/plain_text.h"

#include <QJsonArray>

#include <limits>

#include <gtest/gtest.h>

using namespace merlode::ctl;

namespace {

QString u(const char* text) {
    return QString::fromUtf8(text);
}

const QJsonObject kStatus{{u("state"), u("playing")}, {u("title"), u("雨のち硝子の街")},
                          {u("artist"), u("Sålva")},  {u("program"), u("mpd")},
                          {u("position"), 65},        {u("duration"), 3723},
                          {u("volume"), 40},          {u("muted"), false}};

/// The rendered text, or the error.
std::string rendered(const char* text, const QJsonObject& status = kStatus) {
    const auto compiled = FormatTemplate::compile(u(text));
    if (const auto* wrong = std::get_if<QString>(&compiled))
        return wrong->toStdString();
    return std::get<FormatTemplate>(compiled).render(status).toStdString();
}

} // namespace

TEST(FormatTemplate, FillsFieldsAndEscapes) {
    const std::vector<std::pair<const char*, const char*>> cases{
        {"{artist} - {title}", "Sålva - 雨のち硝子の街"},
        {"{position}/{duration} {volume}%", "1:05/1:02:03 40%"},
        {"[{album}]", "[]"},
        {"{album|title}", "雨のち硝子の街"},
        {"{ muted | volume }", "40"},
        {"{album|player}", ""},
        {"{{{state}}}", "{playing}"},
        {"{{state}}", "{state}"},
        {R"(a\nb\tc\\n\x)", "a\nb\tc\\n\\x"},
        {R"(end\)", "end\\"},
        {"", ""},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(rendered(text), expected) << text;
}

TEST(FormatTemplate, TellsWhatIsWrong) {
    const auto unknown = rendered("{artist} {tittle}");
    EXPECT_NE(unknown.find("'tittle'"), std::string::npos) << unknown;
    EXPECT_NE(unknown.find("artist, title, album"), std::string::npos) << unknown;
    EXPECT_NE(rendered("{title").find("not closed"), std::string::npos);
    EXPECT_NE(rendered("title}").find("closes nothing"), std::string::npos);
    EXPECT_NE(rendered("{}").find("unknown field"), std::string::npos);
    EXPECT_NE(rendered("{title|}").find("unknown field"), std::string::npos);
}

TEST(FormatTemplate, ValuesOfAWrongTypeAreEmpty) {
    const QJsonObject wrong{
        {u("title"), 5}, {u("position"), u("soon")}, {u("volume"), QJsonArray()}, {u("muted"), 1}};
    EXPECT_EQ(rendered("<{title}{position}{volume}{muted}>", wrong), "<>");
    EXPECT_EQ(rendered("{position}", {{u("position"), -3}}), "0:00");
}

TEST(FormatTemplate, TitlesCannotSteerATerminal) {
    const QJsonObject hostile{{u("title"), u("a\x1b[2Jb\nc\td\xc2\x9b"
                                             "31m\x7f\xe2\x80\xae"
                                             "e\xe2\x80\xa8"
                                             "f")}};
    EXPECT_EQ(rendered("{title}", hostile), "a\xef\xbf\xbd[2Jb c d\xef\xbf\xbd"
                                            "31m\xef\xbf\xbd"
                                            "e f");
    // What scripts need to be read rightly stays: joiners and direction marks.
    EXPECT_EQ(plainText(u("قمر\u200f \u200dן")), u("قمر\u200f \u200dן"));
}
