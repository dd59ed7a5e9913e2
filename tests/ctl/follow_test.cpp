#include "ctl/follow.h"

#include <gtest/gtest.h>

using namespace merlode::ctl;

namespace {

std::vector<std::string> linesOf(LineBuffer& buffer) {
    std::vector<std::string> lines;
    while (const auto line = buffer.next())
        lines.push_back(line->toStdString());
    return lines;
}

std::vector<std::string> fed(LineBuffer& buffer, const QByteArray& bytes) {
    buffer.append(bytes.constData(), bytes.size());
    return linesOf(buffer);
}

QJsonObject titled(const char* title, int position) {
    return {{QStringLiteral("state"), QStringLiteral("playing")},
            {QStringLiteral("title"), QString::fromUtf8(title)},
            {QStringLiteral("position"), position}};
}

} // namespace

TEST(LineBuffer, JoinsWhatTheReadsCutApart) {
    LineBuffer buffer;
    using Lines = std::vector<std::string>;
    EXPECT_EQ(fed(buffer, "{\"a\""), Lines{});
    EXPECT_EQ(fed(buffer, ":1}\n{\"b\":2}\n{"), (Lines{"{\"a\":1}", "{\"b\":2}"}));
    EXPECT_EQ(fed(buffer, "}\n\nx"), (Lines{"{}", ""}));
    EXPECT_EQ(fed(buffer, "\n"), Lines{"x"});
}

TEST(LineBuffer, AnEndlessLineTakesNoMemoryAndSpoilsNoOther) {
    LineBuffer buffer;
    const QByteArray part(LineBuffer::kLongestLine / 2 + 1, 'x');
    EXPECT_TRUE(fed(buffer, part).empty());
    EXPECT_TRUE(fed(buffer, part).empty());
    EXPECT_TRUE(fed(buffer, part).empty());
    EXPECT_EQ(fed(buffer, "tail\nwhole\n"), std::vector<std::string>{"whole"});
}

TEST(StatusPrinter, PrintsOnlyLinesThatDiffer) {
    Command command;
    command.format = std::get<FormatTemplate>(FormatTemplate::compile(QStringLiteral("{title}")));
    StatusPrinter formatted(command);
    EXPECT_EQ(formatted.next(titled("Kite", 1)), QByteArray("Kite\n"));
    EXPECT_EQ(formatted.next(titled("Kite", 2)), std::nullopt);
    EXPECT_EQ(formatted.next(titled("", 2)), QByteArray("\n"));
    EXPECT_EQ(formatted.next(titled("Kite", 2)), QByteArray("Kite\n"));

    StatusPrinter plain{Command{}};
    EXPECT_EQ(plain.next(titled("Kite\n", 1)), QByteArray("playing: Kite \n"));
    Command asJson;
    asJson.json = true;
    StatusPrinter json(asJson);
    EXPECT_TRUE(json.next(titled("Kite", 1)));
    EXPECT_EQ(json.next(titled("Kite", 2)),
              QByteArray("{\"position\":2,\"state\":\"playing\",\"title\":\"Kite\"}\n"));
}
