#pragma once

#include "ctl/format_template.h"
#include "ctl/wish.h"
#include "ctl/words.h"

#include <optional>
#include <variant>

namespace merlode::ctl {

/// The operand of "seek" or "volume".
struct Amount {
    enum Kind { To, By, Percent };
    Kind kind = To;
    double value = 0;

    bool operator==(const Amount&) const = default;
};

/// What one call of merlodectl asks for.
struct Command {
    Word word = Word::Help;
    bool json = false;
    bool follow = false;
    bool wait = false;
    std::optional<FormatTemplate> format;
    std::optional<Amount> amount; ///< of seek, and of volume unless it is only to be printed
    std::optional<uint> row;      ///< of play
    Wish wish;                    ///< of play: what to look for and play instead of a row
    QString service;              ///< of play: on which service, empty for any
    QString term;                 ///< of search
    std::optional<int> limit;     ///< of search: rows of each kind
    QString action;      ///< of library: "rescan", "cancel", "use", or empty; of serve: "on" or "off"
    QStringList folders; ///< of "library use": absolute paths, none for the desktop's own
    QString clientID;    ///< of "spotify login"
    QString host;        ///< of connect and name
    QString role;        ///< of "players use", otherwise empty
    QString program;     ///< of "players use"
    std::optional<Word> helpTopic; ///< of help
};

struct UsageError {
    QString message;
};

/// Reads the arguments behind the program's name. Options may stand anywhere up to a "--"; an argument like
/// "-5" is an operand.
std::variant<Command, UsageError> parseCommandLine(const QStringList& arguments);

} // namespace merlode::ctl
