#include "ctl/words.h"

#include "ctl/format_template.h"

#include <algorithm>
#include <array>

namespace merlode::ctl {

namespace {

constexpr QLatin1String operator""_l1(const char* text, std::size_t size) {
    return QLatin1String(text, static_cast<qsizetype>(size));
}

// Of words whose operands are one text.
constexpr int kManyOperands = 1000;

constexpr std::array kWords{
    WordEntry{Word::Status, "status"_l1, ""_l1, kJson | kFollow | kWait | kFormat, 0, nullptr,
              "tell what is playing"_l1,
              "With --follow one line is printed for the present state and one after each change, until\n"
              "merlode quits or nobody reads any more. With --wait as well, a merlode that is not running\n"
              "is waited for.\n"_l1},
    WordEntry{Word::PlayPause, "play-pause"_l1, ""_l1, 0, 0, "PlayPause", "pause, or go on playing"_l1,
              ""_l1},
    WordEntry{
        Word::Play, "play"_l1, "[ROW]"_l1, kTrack | kArtist | kAlbum | kOn, 1, nullptr,
        "go on playing, or play a row of the last search"_l1,
        "Instead of a row a track or an album can be named: it is searched for, and the best match plays.\n"
        "SERVICE is library, spotify, rdio or pandora; without --on it plays where it suits best.\n"_l1},
    WordEntry{Word::Pause, "pause"_l1, ""_l1, 0, 0, "Pause", "pause"_l1, ""_l1},
    WordEntry{Word::Next, "next"_l1, ""_l1, 0, 0, "Next", "go to the next track"_l1, ""_l1},
    WordEntry{Word::Previous, "previous"_l1, ""_l1, 0, 0, "Previous", "go to the previous track"_l1, ""_l1},
    WordEntry{Word::Seek, "seek"_l1, "POSITION"_l1, 0, 1, nullptr, "go to a position in the track"_l1,
              "POSITION is in seconds, m:ss or h:mm:ss from the start of the track; +POSITION and -POSITION\n"
              "count from where it is now, N% is a part of the track.\n"_l1},
    WordEntry{
        Word::Volume, "volume"_l1, "[N|+N|-N]"_l1, 0, 1, nullptr, "print or set the volume"_l1,
        "N is 0 to 100; +N and -N change the volume by N. Without an operand the volume is printed.\n"_l1},
    WordEntry{Word::Mute, "mute"_l1, ""_l1, 0, 0, "ToggleMute", "mute, or undo muting"_l1, ""_l1},
    WordEntry{Word::Search, "search"_l1, "TERM..."_l1, kJson | kLimit, kManyOperands, nullptr,
              "search the library and all services"_l1,
              "Each row has a number for \"merlodectl play\", good until the next search.\n"_l1},
    WordEntry{
        Word::Library, "library"_l1, "[rescan|cancel|use FOLDER...]"_l1, kJson, 100, nullptr,
        "tell what is known of the music folders, or look through them"_l1,
        "With rescan they are looked through for what has changed; cancel ends that. With use the music\n"
        "is looked for in these folders from now on, with \"use auto\" in the desktop's own.\n"_l1},
    WordEntry{
        Word::Spotify, "spotify"_l1, "[login ID|logout]"_l1, 0, 2, nullptr,
        "sign in to Spotify's catalogue, or tell whether that is done"_l1,
        "ID is that of a client of your own, registered at Spotify's page for developers. Its secret is\n"
        "asked for, or read from a line of standard input, and kept in the desktop's keychain.\n"_l1},
    WordEntry{Word::Players, "players"_l1, "[use ROLE PROGRAM]"_l1, kJson, 3, nullptr,
              "list the players, or choose the program of a role"_l1,
              "ROLE is local, spotify or rdio. PROGRAM is auto, mpd, private, none or the MPRIS name of a\n"
              "player that is listed.\n"_l1},
    WordEntry{Word::Hosts, "hosts"_l1, ""_l1, kJson, 0, nullptr,
              "list the machines on this network that can be controlled"_l1,
              "A star marks the one whose player is controlled from here.\n"_l1},
    WordEntry{Word::Connect, "connect"_l1, "HOST"_l1, 0, kManyOperands, nullptr,
              "control the player of another machine"_l1,
              "HOST is a name that \"merlodectl hosts\" lists, or ADDRESS:PORT.\n"_l1},
    WordEntry{Word::Disconnect, "disconnect"_l1, ""_l1, 0, 0, nullptr,
              "control the players of this machine again"_l1, ""_l1},
    WordEntry{
        Word::Serve, "serve"_l1, "on|off"_l1, 0, 1, nullptr,
        "let others control the players of this machine, or not"_l1,
        "When it is on, everybody on the same network can control playback here. It is off at first.\n"_l1},
    WordEntry{Word::Name, "name"_l1, "NEW"_l1, 0, kManyOperands, nullptr,
              "change the name of this machine that others see"_l1, "A name takes 63 bytes at most.\n"_l1},
    WordEntry{Word::Doctor, "doctor"_l1, ""_l1, kJson, 0, nullptr,
              "check what merlode needs and say how to mend it"_l1, ""_l1},
    WordEntry{Word::Open, "open"_l1, ""_l1, 0, 0, "Reopen", "bring merlode's window forward"_l1, ""_l1},
    WordEntry{Word::Quit, "quit"_l1, ""_l1, 0, 0, "Quit", "end merlode"_l1, ""_l1},
    WordEntry{Word::Help, "help"_l1, "[WORD]"_l1, 0, 1, nullptr, "explain merlodectl or one of its words"_l1,
              ""_l1},
};

constexpr std::array kOptions{
    OptionEntry{kJson, "--json"_l1, ""_l1, "print JSON"_l1},
    OptionEntry{kFollow, "--follow"_l1, ""_l1, "print a line after each change"_l1},
    OptionEntry{kWait, "--wait"_l1, ""_l1, "with --follow: wait for merlode whenever it is not running"_l1},
    OptionEntry{kFormat, "--format"_l1, "TEMPLATE"_l1, "print TEMPLATE with its {fields} filled in"_l1},
    OptionEntry{kLimit, "--limit"_l1, "N"_l1, "print at most N rows of each kind"_l1},
    OptionEntry{kOn, "--on"_l1, "SERVICE"_l1, "play on this service"_l1},
    OptionEntry{kTrack, "--track"_l1, "TITLE"_l1, "search for this track and play it"_l1},
    OptionEntry{kArtist, "--artist"_l1, "NAME"_l1, "only one by this artist"_l1},
    OptionEntry{kAlbum, "--album"_l1, "TITLE"_l1, "only one on this album; alone: play this album"_l1},
    OptionEntry{kHelp, "--help"_l1, ""_l1, "explain merlodectl or the word"_l1},
    OptionEntry{kVersion, "--version"_l1, ""_l1, "print the version"_l1},
};

constexpr std::array kServices{"library"_l1, "spotify"_l1, "rdio"_l1, "pandora"_l1};
constexpr std::array kRoles{"local"_l1, "spotify"_l1, "rdio"_l1};

QString optionText(const OptionEntry& option) {
    return option.value.isEmpty() ? QString(option.name) : QString(option.name) + u' ' + option.value;
}

QString wordHelp(const WordEntry& entry) {
    auto text = QStringLiteral("Usage: merlodectl %1\n\n").arg(synopsis(entry));
    text +=
        QString(entry.summary).replace(0, 1, QChar(entry.summary.front()).toUpper()) + QStringLiteral(".\n");
    text += entry.details;
    for (const auto& option : kOptions) {
        if (entry.options & option.option)
            text += QStringLiteral("  %1  %2\n").arg(optionText(option), -18).arg(option.summary);
    }
    if (entry.options & kFormat)
        text += QStringLiteral(
                    "Fields of TEMPLATE: %1.\n{title|album} takes the first that is not empty; \\n, \\t, "
                    "{{ and }} stand for\nthemselves.\n")
                    .arg(FormatTemplate::fieldNames().join(QStringLiteral(", ")));
    return text;
}

} // namespace

std::span<const WordEntry> words() {
    return kWords;
}
std::span<const OptionEntry> options() {
    return kOptions;
}
std::span<const QLatin1String> roles() {
    return kRoles;
}

std::span<const QLatin1String> services() {
    return kServices;
}

const WordEntry* findWord(const QString& name) {
    const auto found = std::ranges::find_if(kWords, [&](const auto& entry) { return entry.name == name; });
    return found == kWords.end() ? nullptr : &*found;
}

const WordEntry& entryOf(Word word) {
    return *std::ranges::find_if(kWords, [&](const auto& entry) { return entry.word == word; });
}

QString synopsis(const WordEntry& entry) {
    QString text = entry.name;
    for (const auto& option : kOptions) {
        if (entry.options & option.option)
            text += QStringLiteral(" [%1]").arg(optionText(option));
    }
    return entry.operands.isEmpty() ? text : text + u' ' + entry.operands;
}

QString helpText(std::optional<Word> topic) {
    if (topic)
        return wordHelp(entryOf(*topic));
    auto text = QStringLiteral("Usage: merlodectl WORD [OPERAND...] [OPTION...]\n\n"
                               "Controls the merlode that is running.\n\nWords:\n");
    for (const auto& entry : kWords)
        text += QStringLiteral("  %1  %2\n")
                    .arg(QString(entry.name) + u' ' + entry.operands, -26)
                    .arg(entry.summary);
    text += QStringLiteral("\nOptions:\n");
    for (const auto& option : kOptions)
        text += QStringLiteral("  %1  %2\n").arg(optionText(option), -26).arg(option.summary);
    text += QStringLiteral(
        "\nExit status: 0 done, 1 refused or failed, 2 wrong usage, 3 merlode is not running,\n"
        "4 no player is active. \"merlodectl help WORD\" tells more about a word.\n");
    return text;
}

} // namespace merlode::ctl
