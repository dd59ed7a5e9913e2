#include "ctl/command_line.h"

#include <gtest/gtest.h>

using namespace merlode::ctl;

namespace {

/// A command as one line, so that a table can hold it.
QString described(const std::variant<Command, UsageError>& parsed) {
    if (const auto* wrong = std::get_if<UsageError>(&parsed))
        return QStringLiteral("error: ") + wrong->message;
    const auto& command = std::get<Command>(parsed);
    auto text =
        command.word == Word::Version ? QStringLiteral("version") : QString(entryOf(command.word).name);
    if (command.json)
        text += QStringLiteral(" json");
    if (command.follow)
        text += QStringLiteral(" follow");
    if (command.wait)
        text += QStringLiteral(" wait");
    if (command.format)
        text += QStringLiteral(" format<%1>").arg(command.format->render({}));
    if (command.amount)
        text +=
            QStringLiteral(" %1 %2")
                .arg(QStringLiteral("to;by;part").section(u';', command.amount->kind, command.amount->kind))
                .arg(command.amount->value);
    if (!command.role.isEmpty())
        text += u' ' + command.role + u' ' + command.program;
    if (command.helpTopic)
        text += u' ' + QString(entryOf(*command.helpTopic).name);
    return text;
}

struct Case {
    QStringList arguments;
    const char* expected; ///< for errors: a part of the message behind "error: "
};

void check(const std::vector<Case>& cases) {
    for (const auto& c : cases) {
        const auto got = described(parseCommandLine(c.arguments));
        const auto expected = QString::fromUtf8(c.expected);
        const auto arguments = c.arguments.join(u' ').toStdString();
        if (expected.startsWith(QStringLiteral("error: "))) {
            EXPECT_TRUE(got.startsWith(QStringLiteral("error: ")))
                << arguments << " gave " << got.toStdString();
            EXPECT_TRUE(got.contains(expected.mid(7))) << arguments << " gave " << got.toStdString();
        } else {
            EXPECT_EQ(got.toStdString(), c.expected) << arguments;
        }
    }
}

QStringList w(const char* text) {
    return QString::fromUtf8(text).split(u' ', Qt::SkipEmptyParts);
}

} // namespace

TEST(CommandLine, OptionsStandOnEitherSideOfTheWord) {
    check({{w("status"), "status"},
           {w("--json status"), "status json"},
           {w("status --follow --wait"), "status follow wait"},
           {w("--format x status --follow"), "status follow format<x>"},
           {{QStringLiteral("status"), QStringLiteral("--format= {title}=")}, "status format< =>"},
           {{QStringLiteral("status"), QStringLiteral("--format"), QStringLiteral("--json")},
            "status format<--json>"},
           {w("status --json --json"), "status json"},
           {w("-- status"), "status"},
           {w("--version nonsense"), "version"}});
}

TEST(CommandLine, WhatAWordDoesNotTakeIsRefused) {
    check({{w("play --json"), "error: 'play' takes no --json"},
           {w("status --fellow"), "error: unknown option '--fellow'"},
           {w("status -j"), "error: unknown option '-j'"},
           {w("status --format"), "error: needs a value"},
           {w("status --json=yes"), "error: takes no value"},
           {w("status --wait"), "error: --wait goes with --follow"},
           {w("status --json --format x"), "error: exclude each other"},
           {w("status -- --json"), "error: too many operands"},
           {w("next 2"), "error: too many operands"},
           {w("stauts"), "error: unknown word 'stauts'"},
           {{}, "error: what should merlode do"}});
}

TEST(CommandLine, PositionsInEveryForm) {
    check({{w("seek 90"), "seek to 90"},
           {w("seek 12.5"), "seek to 12.5"},
           {w("seek 1:05"), "seek to 65"},
           {w("seek 90:00"), "seek to 5400"},
           {w("seek 1:02:03"), "seek to 3723"},
           {w("seek -5"), "seek by -5"},
           {w("seek -- -5"), "seek by -5"},
           {w("seek +1:30"), "seek by 90"},
           {w("seek 25%"), "seek part 25"},
           {w("seek"), "error: needs a position"},
           {w("seek 1:60"), "error: no position"},
           {w("seek 1:5"), "error: no position"},
           {w("seek 1:60:00"), "error: no position"},
           {w("seek 101%"), "error: no position"},
           {w("seek -5%"), "error: no position"},
           {w("seek 1:00%"), "error: no position"},
           {w("seek 1e9"), "error: no position"},
           {w("seek nan"), "error: no position"},
           {w("seek 123456789012"), "error: no position"},
           {{QStringLiteral("seek"), QString::fromUtf8("١٢")}, "error: no position"},
           {{QStringLiteral("seek"), QString()}, "error: no position"},
           {{QStringLiteral("seek"), QStringLiteral("5\n")}, "error: no position"}});
}

TEST(CommandLine, VolumesWithinBounds) {
    check({{w("volume"), "volume"},
           {w("volume 0"), "volume to 0"},
           {w("volume 100"), "volume to 100"},
           {w("volume -5"), "volume by -5"},
           {w("volume +5"), "volume by 5"},
           {w("volume 101"), "error: no volume"},
           {w("volume loud"), "error: no volume"},
           {w("volume +-5"), "error: no volume"},
           {w("volume 5 5"), "error: too many operands"}});
}

TEST(CommandLine, PlayersAndHelp) {
    check(
        {{w("players --json"), "players json"},
         {w("players use local mpd"), "players local mpd"},
         {w("players use spotify org.mpris.MediaPlayer2.mpv"), "players spotify org.mpris.MediaPlayer2.mpv"},
         {w("players use tape mpd"), "error: unknown role 'tape'"},
         {w("players use local"), "error: players use ROLE PROGRAM"},
         {w("players drop local mpd"), "error: players use ROLE PROGRAM"},
         {w("players use local mpd --json"), "error: takes no --json"},
         {w("--help"), "help"},
         {w("-h"), "help"},
         {w("help seek"), "help seek"},
         {w("seek --help"), "help seek"},
         {w("help dance"), "error: there is no word 'dance'"}});
}
