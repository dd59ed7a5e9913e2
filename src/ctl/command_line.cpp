#include "ctl/command_line.h"

#include <QDir>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <map>

namespace merlode::ctl {

namespace {

/// What the arguments are before they are checked against the word.
struct Sorted {
    QStringList operands;
    unsigned options = 0;
    std::map<Option, QString> values;
    QString wrong;
};

bool looksLikeOption(const QString& argument) {
    return argument.size() > 1 && argument[0] == u'-' && !argument[1].isDigit();
}

const OptionEntry* findOption(const QString& name) {
    const auto full = name == QStringLiteral("-h") ? QStringLiteral("--help") : name;
    const auto all = options();
    const auto found = std::ranges::find_if(all, [&](const auto& entry) { return entry.name == full; });
    return found == all.end() ? nullptr : &*found;
}

/// Reads the option at `index`, which moves on when the value is an argument of its own.
void readOption(const QStringList& arguments, qsizetype& index, Sorted& sorted) {
    const auto& argument = arguments[index];
    const auto equals = argument.indexOf(u'=');
    const auto name = argument.left(equals);
    const auto* option = findOption(name);
    if (!option) {
        sorted.wrong = QStringLiteral("unknown option '%1'").arg(name);
        return;
    }
    sorted.options |= option->option;
    if (option->value.isEmpty()) {
        if (equals >= 0)
            sorted.wrong = QStringLiteral("option '%1' takes no value").arg(name);
    } else if (equals >= 0) {
        sorted.values[option->option] = argument.mid(equals + 1);
    } else if (index + 1 < arguments.size()) {
        sorted.values[option->option] = arguments[++index];
    } else {
        sorted.wrong = QStringLiteral("option '%1' needs a value").arg(name);
    }
}

Sorted sortArguments(const QStringList& arguments) {
    Sorted sorted;
    for (qsizetype i = 0; i < arguments.size() && sorted.wrong.isEmpty(); ++i) {
        if (arguments[i] == QStringLiteral("--")) {
            sorted.operands += arguments.mid(i + 1);
            break;
        }
        if (looksLikeOption(arguments[i]))
            readOption(arguments, i, sorted);
        else
            sorted.operands << arguments[i];
    }
    return sorted;
}

/// "90", "1:30" or "1:01:30" as seconds. Minutes and seconds behind a colon have two digits below 60. Eight
/// digits are over three years and keep every sum within what a double holds exactly.
std::optional<double> readClock(const QString& text) {
    static const QRegularExpression plainSeconds(QStringLiteral(R"(\A[0-9]{1,8}(\.[0-9]{1,6})?\z)"));
    static const QRegularExpression clock(
        QStringLiteral(R"(\A(?:([0-9]{1,4}):([0-5][0-9])|([0-9]{1,6})):([0-5][0-9](?:\.[0-9]{1,6})?)\z)"));
    if (plainSeconds.match(text).hasMatch())
        return text.toDouble();
    const auto match = clock.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1).toDouble() * 3600 +
           (match.captured(2).toDouble() + match.captured(3).toDouble()) * 60 + match.captured(4).toDouble();
}

std::optional<Amount> readSeek(const QString& text) {
    if (text.endsWith(u'%')) {
        const auto part = readClock(text.chopped(1));
        if (!part || text.contains(u':') || *part > 100)
            return std::nullopt;
        return Amount{Amount::Percent, *part};
    }
    const bool relative = text.startsWith(u'+') || text.startsWith(u'-');
    const auto seconds = readClock(relative ? text.mid(1) : text);
    if (!seconds)
        return std::nullopt;
    if (!relative)
        return Amount{Amount::To, *seconds};
    return Amount{Amount::By, text.startsWith(u'-') ? -*seconds : *seconds};
}

std::optional<Amount> readVolume(const QString& text) {
    static const QRegularExpression form(QStringLiteral(R"(\A([+-]?)([0-9]{1,3})%?\z)"));
    const auto match = form.match(text);
    const auto value = match.captured(2).toInt();
    if (!match.hasMatch() || value > 100)
        return std::nullopt;
    if (match.captured(1).isEmpty())
        return Amount{Amount::To, double(value)};
    return Amount{Amount::By, match.captured(1) == QStringLiteral("-") ? double(-value) : double(value)};
}

/// Each of these reads the operands of one word into `command` and gives what is wrong, or empty text.
QString readSeekOperand(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return QStringLiteral("seek needs a position");
    command.amount = readSeek(operands[0]);
    if (command.amount)
        return {};
    return QStringLiteral("'%1' is no position; write seconds, m:ss, h:mm:ss, +N, -N or N%").arg(operands[0]);
}

QString readVolumeOperand(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return {};
    command.amount = readVolume(operands[0]);
    if (command.amount)
        return {};
    return QStringLiteral("'%1' is no volume; write 0 to 100, +N or -N").arg(operands[0]);
}

/// A number from 1 on, of at most six digits.
std::optional<int> readCount(const QString& text) {
    static const QRegularExpression form(QStringLiteral(R"(\A[1-9][0-9]{0,5}\z)"));
    return form.match(text).hasMatch() ? std::optional(text.toInt()) : std::nullopt;
}

QString readPlayOperand(const QStringList& operands, Command& command) {
    if (!command.wish.isEmpty() && command.wish.term().isEmpty())
        return QStringLiteral("--artist goes with --track or --album");
    if (operands.isEmpty())
        return command.service.isEmpty() || !command.wish.isEmpty()
                   ? QString()
                   : QStringLiteral("--on goes with a row, --track or --album");
    if (!command.wish.isEmpty())
        return QStringLiteral("write a row or what to look for, not both");
    const auto row = readCount(operands[0]);
    if (!row)
        return QStringLiteral("'%1' is no row; write the number that 'merlodectl search' shows")
            .arg(operands[0]);
    command.row = static_cast<uint>(*row);
    return {};
}

QString readSearchOperands(const QStringList& operands, Command& command) {
    command.term = operands.join(u' ').trimmed();
    return command.term.isEmpty() ? QStringLiteral("search needs something to look for") : QString();
}

/// Absolute paths; "auto" stands for none.
QString readFolders(const QStringList& folders, Command& command) {
    if (command.json)
        return QStringLiteral("'library use' prints nothing and takes no --json");
    if (folders.isEmpty())
        return QStringLiteral("write 'library use FOLDER...', or 'library use auto' for the desktop's own");
    if (folders == QStringList(QStringLiteral("auto")))
        return {};
    for (const auto& folder : folders)
        command.folders << QDir(folder).absolutePath();
    return {};
}

QString readLibraryOperands(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return {};
    command.action = operands[0];
    if (command.action == QStringLiteral("use"))
        return readFolders(operands.mid(1), command);
    if (command.action == QStringLiteral("status"))
        command.action.clear();
    const bool known = command.action.isEmpty() || command.action == QStringLiteral("rescan") ||
                       command.action == QStringLiteral("cancel");
    if (!known || operands.size() > 1)
        return QStringLiteral(
            "write 'library', 'library rescan', 'library cancel' or 'library use FOLDER...'");
    return {};
}

QString readSpotifyOperands(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return {};
    const bool login = operands[0] == QStringLiteral("login") && operands.size() == 2;
    const bool logout = operands[0] == QStringLiteral("logout") && operands.size() == 1;
    if (!login && !logout)
        return QStringLiteral("write 'spotify', 'spotify login ID' or 'spotify logout'");
    command.action = operands[0];
    command.clientID = login ? operands[1] : QString();
    return {};
}

bool isService(const QString& name) {
    const auto all = services();
    return std::ranges::find(all, name) != all.end();
}

QString unknownService(const QString& name) {
    return QStringLiteral("unknown service '%1'; there are library, spotify, rdio, pandora").arg(name);
}

QString readServicesOperands(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return {};
    if (operands.size() != 2 || (operands[1] != QStringLiteral("on") && operands[1] != QStringLiteral("off")))
        return QStringLiteral("write 'services' or 'services SERVICE on|off'");
    if (command.json)
        return QStringLiteral("switching a service prints nothing and takes no --json");
    command.service = operands[0];
    command.action = operands[1];
    return isService(command.service) ? QString() : unknownService(command.service);
}

QString readPlayersOperands(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return {};
    if (operands[0] != QStringLiteral("use") || operands.size() != 3 || operands[2].isEmpty())
        return QStringLiteral("write 'players' or 'players use ROLE PROGRAM'");
    if (command.json)
        return QStringLiteral("'players use' prints nothing and takes no --json");
    QStringList known;
    for (const auto role : roles())
        known << QString(role);
    if (!known.contains(operands[1]))
        return QStringLiteral("unknown role '%1'; there are %2")
            .arg(operands[1], known.join(QStringLiteral(", ")));
    command.role = operands[1];
    command.program = operands[2];
    return {};
}

QString readServeOperand(const QStringList& operands, Command& command) {
    if (operands != QStringList(QStringLiteral("on")) && operands != QStringList(QStringLiteral("off")))
        return QStringLiteral("write 'serve on' or 'serve off'");
    command.action = operands[0];
    return {};
}

QString readHostOperands(const QStringList& operands, Command& command) {
    command.host = operands.join(u' ').trimmed();
    return command.host.isEmpty() ? QStringLiteral("a name is needed") : QString();
}

QString readHelpOperand(const QStringList& operands, Command& command) {
    if (operands.isEmpty())
        return {};
    const auto* topic = findWord(operands[0]);
    if (!topic)
        return QStringLiteral("there is no word '%1'").arg(operands[0]);
    command.helpTopic = topic->word;
    return {};
}

QString readOperands(const QStringList& operands, Command& command) {
    switch (command.word) {
    case Word::Seek:
        return readSeekOperand(operands, command);
    case Word::Volume:
        return readVolumeOperand(operands, command);
    case Word::Play:
        return readPlayOperand(operands, command);
    case Word::Search:
        return readSearchOperands(operands, command);
    case Word::Library:
        return readLibraryOperands(operands, command);
    case Word::Services:
        return readServicesOperands(operands, command);
    case Word::Spotify:
        return readSpotifyOperands(operands, command);
    case Word::Players:
        return readPlayersOperands(operands, command);
    case Word::Serve:
        return readServeOperand(operands, command);
    case Word::Connect:
    case Word::Name:
        return readHostOperands(operands, command);
    case Word::Help:
        return readHelpOperand(operands, command);
    default:
        return {};
    }
}

/// The values of the options that have one, but for --format.
QString readValues(const Sorted& sorted, Command& command) {
    const auto text = [&sorted](Option option) {
        const auto found = sorted.values.find(option);
        return found == sorted.values.end() ? QString() : found->second.trimmed();
    };
    command.wish = {text(kTrack), text(kArtist), text(kAlbum)};
    if (const auto limit = sorted.values.find(kLimit); limit != sorted.values.end()) {
        command.limit = readCount(limit->second);
        if (!command.limit)
            return QStringLiteral("'%1' is no number of rows; write 1 or more").arg(limit->second);
    }
    if (const auto on = sorted.values.find(kOn); on != sorted.values.end()) {
        if (!isService(on->second))
            return unknownService(on->second);
        command.service = on->second;
    }
    return {};
}

QString readOptions(const Sorted& sorted, const WordEntry& entry, Command& command) {
    for (const auto& option : options()) {
        if ((sorted.options & option.option) && !(entry.options & option.option))
            return QStringLiteral("'%1' takes no %2").arg(entry.name, option.name);
    }
    command.json = sorted.options & kJson;
    command.follow = sorted.options & kFollow;
    command.wait = sorted.options & kWait;
    if (command.wait && !command.follow)
        return QStringLiteral("--wait goes with --follow");
    if (auto wrong = readValues(sorted, command); !wrong.isEmpty())
        return wrong;
    if (!(sorted.options & kFormat))
        return {};
    if (command.json)
        return QStringLiteral("--json and --format exclude each other");
    auto format = FormatTemplate::compile(sorted.values.at(kFormat));
    if (const auto* wrong = std::get_if<QString>(&format))
        return *wrong;
    command.format = std::get<FormatTemplate>(std::move(format));
    return {};
}

/// The word with its options and operands, once --help and --version are out of the way.
std::variant<Command, UsageError> readWord(const Sorted& sorted, const WordEntry& entry) {
    Command command;
    command.word = entry.word;
    auto operands = sorted.operands.mid(1);
    if (operands.size() > entry.mostOperands)
        return UsageError{QStringLiteral("too many operands for '%1'").arg(entry.name)};
    auto wrong = readOptions(sorted, entry, command);
    if (wrong.isEmpty())
        wrong = readOperands(operands, command);
    if (!wrong.isEmpty())
        return UsageError{wrong};
    return command;
}

} // namespace

std::variant<Command, UsageError> parseCommandLine(const QStringList& arguments) {
    const auto sorted = sortArguments(arguments);
    if (!sorted.wrong.isEmpty())
        return UsageError{sorted.wrong};
    if (sorted.options & kVersion) {
        Command version;
        version.word = Word::Version;
        return version;
    }
    const bool help = sorted.options & kHelp;
    if (sorted.operands.isEmpty()) {
        if (help)
            return Command{};
        return UsageError{QStringLiteral("what should merlode do? 'merlodectl help' lists the words")};
    }
    const auto* entry = findWord(sorted.operands[0]);
    if (!entry)
        return UsageError{
            QStringLiteral("unknown word '%1'; 'merlodectl help' lists them").arg(sorted.operands[0])};
    if (!help)
        return readWord(sorted, *entry);
    Command command;
    command.helpTopic = entry->word;
    return command;
}

} // namespace merlode::ctl
