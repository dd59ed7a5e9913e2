#pragma once

#include <QString>

#include <optional>
#include <span>

/// What merlodectl understands, as tables: the parser, the help, and the test that holds the manual page and
/// the shell completion against them all read from here.
namespace merlode::ctl {

enum class Word {
    Status,
    PlayPause,
    Play,
    Pause,
    Next,
    Previous,
    Seek,
    Volume,
    Mute,
    Search,
    Library,
    Spotify,
    Players,
    Hosts,
    Connect,
    Disconnect,
    Serve,
    Name,
    Doctor,
    Open,
    Quit,
    Help,
    Version, ///< only as the option --version
};

/// Bits of the options that a word takes.
enum Option : unsigned {
    kJson = 1,
    kFollow = 2,
    kWait = 4,
    kFormat = 8,
    kHelp = 16,
    kVersion = 32,
    kLimit = 64,
    kOn = 128,
    kTrack = 256,
    kArtist = 512,
    kAlbum = 1024,
};

struct WordEntry {
    Word word = {};
    QLatin1String name;
    QLatin1String operands; ///< as the synopsis shows them
    unsigned options = 0;   ///< beside --help
    int mostOperands = 0;
    const char* method = nullptr; ///< the method called, where a word is no more than that; otherwise null
    QLatin1String summary;
    QLatin1String details; ///< shown by "help WORD", may be empty
};

struct OptionEntry {
    Option option = {};
    QLatin1String name;  ///< with its dashes
    QLatin1String value; ///< what stands for its value in the synopsis; empty for a plain switch
    QLatin1String summary;
};

std::span<const WordEntry> words();
std::span<const OptionEntry> options();
/// Roles that "players use" can fill, as the program's interface names them.
std::span<const QLatin1String> roles();

/// Services on which a row can be played, as the program's interface names them.
std::span<const QLatin1String> services();

const WordEntry* findWord(const QString& name);
const WordEntry& entryOf(Word word);

/// "status [--json] [--follow] ...": one line, without the name of the program.
QString synopsis(const WordEntry& entry);
/// The text of "help" or "help WORD", ending in a newline.
QString helpText(std::optional<Word> topic);

} // namespace merlode::ctl
