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
    for (const auto& [set, name] : {std::pair(command.json, " json"), std::pair(command.follow, " follow"),
                                    std::pair(command.wait, " wait")})
        text += QLatin1String(set ? name : "");
    if (command.format)
        text += QStringLiteral(" format<%1>").arg(command.format->render({}));
    const char* const kinds[] = {"to", "by", "part"};
    if (command.amount)
        text += QStringLiteral(" %1 %2")
                    .arg(QLatin1String(kinds[command.amount->kind]))
                    .arg(command.amount->value);
    if (!command.role.isEmpty())
        text += u' ' + command.role + u' ' + command.program;
    if (command.row)
        text += QStringLiteral(" %1").arg(*command.row);
    for (const auto& operand : {command.service, command.term, command.action, command.host})
        text += operand.isEmpty() ? QString() : u' ' + operand;
    if (command.limit)
        text += QStringLiteral(" %1").arg(*command.limit);
    if (command.helpTopic)
        text += u' ' + QString(entryOf(*command.helpTopic).name);
    return text;
}

using Cases = std::vector<std::pair<const char*, const char*>>;

/// Splits each line of arguments at its blanks. Behind "!" stands a part of the message of an error.
void check(const Cases& cases) {
    for (const auto& [line, expected] : cases) {
        const auto arguments = QString::fromUtf8(line).split(u' ', Qt::SkipEmptyParts);
        const auto got = described(parseCommandLine(arguments)).toStdString();
        if (*expected == '!')
            EXPECT_TRUE(got.starts_with("error: ") && got.find(expected + 1) != std::string::npos)
                << line << " gave " << got;
        else
            EXPECT_EQ(got, expected) << line;
    }
}

} // namespace

TEST(CommandLine, OptionsStandOnEitherSideOfTheWordThatTakesThem) {
    check({{"--json status", "status json"},
           {"status --follow --wait", "status follow wait"},
           {"--format x status --follow", "status follow format<x>"},
           {"status --format={title}=", "status format<=>"},
           {"status --format --json", "status format<--json>"},
           {"--version nonsense", "version"},
           {"play --json", "!'play' takes no --json"},
           {"status --fellow", "!unknown option '--fellow'"},
           {"status --format", "!needs a value"},
           {"status --json=yes", "!takes no value"},
           {"status --wait", "!--wait goes with --follow"},
           {"status --json --format x", "!exclude each other"},
           {"status -- --json", "!too many operands"},
           {"", "!what should merlode do"}});
}

TEST(CommandLine, PositionsAndVolumesInEveryForm) {
    check({{"seek 12.5", "seek to 12.5"},
           {"seek 1:02:03", "seek to 3723"},
           {"seek -5", "seek by -5"},
           {"seek +1:30", "seek by 90"},
           {"seek 25%", "seek part 25"},
           {"seek", "!needs a position"},
           {"seek 1:60", "!no position"},
           {"seek 101%", "!no position"},
           {"seek -5%", "!no position"},
           {"seek 1e9", "!no position"},
           {"seek 123456789012", "!no position"},
           {"seek ١٢", "!no position"},
           {"volume", "volume"},
           {"volume -5", "volume by -5"},
           {"volume 101", "!no volume"},
           {"volume +-5", "!no volume"}});
}

TEST(CommandLine, PlayersAndHelp) {
    check({{"players use local mpd", "players local mpd"},
           {"play 3 --on spotify", "play 3 spotify"},
           {"play --on rdio", "!--on goes with a row"},
           {"play --artist me", "!--artist goes with"},
           {"play 3 --album Nights", "!not both"},
           {"spotify login", "!spotify login ID"},
           {"play 0", "!no row"},
           {"play 1 --on moon", "!unknown service 'moon'"},
           {"search  two words --limit 5", "search two words 5"},
           {"search --limit 0 x", "!no number of rows"},
           {"search", "!something to look for"},
           {"library rescan", "library rescan"},
           {"library burn", "!library cancel"},
           {"library use", "!library use FOLDER"},
           {"library rescan now", "!library cancel"},
           {"serve off", "serve off"},
           {"serve maybe", "!'serve on' or 'serve off'"},
           {"connect Living Room", "connect Living Room"},
           {"name", "!a name is needed"},
           {"players use tape mpd", "!unknown role 'tape'"},
           {"players use local", "!players use ROLE PROGRAM"},
           {"-h", "help"},
           {"seek --help", "help seek"}});
}
