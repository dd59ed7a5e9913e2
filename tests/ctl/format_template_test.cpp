#include "ctl/format_template.h"

#include <gtest/gtest.h>

using namespace merlode::ctl;

TEST(FormatTemplate, FillsFieldsAndEscapesOrTellsWhatIsWrong) {
    const QJsonObject status{
        {QStringLiteral("state"), QStringLiteral("playing")},
        {QStringLiteral("title"), QStringLiteral("a\u001b[2Jb\nc\td\u009b31m\u007f\u202ee\u2028f")},
        {QStringLiteral("artist"), QStringLiteral("Sålva \u200f\u200d硝子")},
        {QStringLiteral("program"), 5},
        {QStringLiteral("position"), 65},
        {QStringLiteral("duration"), 3723},
        {QStringLiteral("volume"), QStringLiteral("loud")},
        {QStringLiteral("muted"), false}};
    const std::vector<std::pair<const char*, QString>> cases{
        {"{position}/{duration} {state}", QStringLiteral("1:05/1:02:03 playing")},
        {"[{album}{program}{volume}]", QStringLiteral("[]")},
        {"{ muted | position }", QStringLiteral("1:05")},
        {"{{{state}}} {{state}}", QStringLiteral("{playing} {state}")},
        {R"(a\nb\tc\\n\x\)", QStringLiteral("a\nb\tc\\n\\x\\")},
        // A title cannot steer a terminal; what scripts need to be read rightly stays.
        {"{title}", QStringLiteral("a\ufffd[2Jb c d\ufffd31m\ufffde f")},
        {"{artist}", QStringLiteral("Sålva \u200f\u200d硝子")},
        {"{artist} {tittle}", QStringLiteral("'tittle'")},
        {"{title", QStringLiteral("not closed")},
        {"title}", QStringLiteral("closes nothing")},
    };
    for (const auto& [text, expected] : cases) {
        const auto compiled = FormatTemplate::compile(QString::fromUtf8(text));
        if (const auto* wrong = std::get_if<QString>(&compiled))
            EXPECT_TRUE(wrong->contains(expected)) << text << " gave " << wrong->toStdString();
        else
            EXPECT_EQ(std::get<FormatTemplate>(compiled).render(status), expected) << text;
    }
}
