#include "ctl/run.h"

#include "base/control_interface.h"
#include "ctl/command_line.h"
#include "ctl/doctor.h"
#include "ctl/follow.h"
#include "ctl/output.h"
#include "ctl/plain_text.h"
#include "ctl/program.h"
#include "ctl/render.h"
#include "ctl/secret_prompt.h"

#include <QJsonDocument>

#include <cmath>

namespace merlode::ctl {

namespace {

int report(const Reply& reply) {
    if (!reply)
        printProblem(reply.problem);
    return reply.code;
}

Reply askStatus(const Program& program) {
    return program.call("Status", {}, "a{sv}");
}

int printStatus(const Program& program, const Command& command) {
    const auto reply = askStatus(program);
    if (!reply)
        return report(reply);
    const auto status = reply.object();
    if (command.json)
        printOut(jsonLine(status));
    else
        printOut(command.format ? command.format->render(status) + u'\n' : statusText(status));
    return hasNoPlayer(status) ? kNoPlayer : kDone;
}

int seek(const Program& program, const Amount& amount) {
    if (amount.kind == Amount::By)
        return report(program.call("SeekBy", {amount.value}));
    if (amount.kind == Amount::To)
        return report(program.call("Seek", {amount.value}));
    const auto reply = askStatus(program);
    if (!reply)
        return report(reply);
    if (hasNoPlayer(reply.object()))
        return report({kNoPlayer, QStringLiteral("no player is active"), {}});
    const auto duration = reply.object().value(QLatin1String(control::status::kDuration)).toDouble();
    if (duration <= 0)
        return report({kFailed, QStringLiteral("how long the track is, is not known"), {}});
    return report(program.call("Seek", {duration * amount.value / 100}));
}

int volume(const Program& program, const std::optional<Amount>& amount) {
    if (amount)
        return report(program.call(amount->kind == Amount::By ? "ChangeVolume" : "SetVolume",
                                   {static_cast<int>(std::lround(amount->value))}));
    const auto reply = askStatus(program);
    if (!reply)
        return report(reply);
    if (hasNoPlayer(reply.object()))
        return report({kNoPlayer, QStringLiteral("no player is active"), {}});
    const auto value = reply.object().value(QLatin1String(control::status::kVolume));
    if (!value.isDouble())
        return report({kFailed, QStringLiteral("the player tells no volume"), {}});
    printOut(QString::number(value.toInt()) + u'\n');
    return kDone;
}

int players(const Program& program, const Command& command) {
    if (!command.role.isEmpty())
        return report(program.call("UsePlayer", {command.role, command.program}));
    const auto reply = program.call("Players", {}, "aa{sv}");
    if (!reply)
        return report(reply);
    if (command.json)
        printOut(jsonLine(reply.array()));
    else
        printOut(playersText(reply.array()));
    return kDone;
}

int search(const Program& program, const Command& command) {
    const auto reply = program.call("Search", {command.term}, "s", Program::kSearchMilliseconds);
    if (!reply)
        return report(reply);
    const auto found = QJsonDocument::fromJson(reply.value.toString().toUtf8()).object();
    if (command.json)
        printOut(jsonLine(limited(found, command.limit)));
    else
        printOut(searchText(limited(found, command.limit)));
    return kDone;
}

int library(const Program& program, const Command& command) {
    if (command.action == QStringLiteral("use"))
        return report(program.call("UseMusicFolders", {command.folders}));
    const auto reply = program.call("Library", {command.action}, "a{sv}");
    if (!reply)
        return report(reply);
    if (command.json)
        printOut(jsonLine(reply.object()));
    else
        printOut(libraryText(reply.object()));
    return kDone;
}

int spotify(const Program& program, const Command& command) {
    QString secret;
    if (!command.clientID.isEmpty()) {
        const auto typed = readSecret(QStringLiteral("Client secret: "));
        if (!typed)
            return report({kFailed, QStringLiteral("no secret was given"), {}});
        secret = *typed;
    }
    const auto reply = program.call("Spotify", {command.action, command.clientID, secret}, "s",
                                    Program::kSignInMilliseconds);
    if (!reply)
        return report(reply);
    printOut(reply.value.toString() + u'\n');
    return kDone;
}

int playRow(const Program& program, uint row, const QString& service) {
    const auto reply = program.call("PlayRow", {row, service}, "s");
    if (!reply)
        return report(reply);
    if (const auto message = reply.value.toString(); !message.isEmpty())
        printOut(message + u'\n');
    return kDone;
}

int play(const Program& program, const Command& command) {
    if (command.row)
        return playRow(program, *command.row, command.service);
    if (command.wish.isEmpty())
        return report(program.call("Play"));
    const auto reply = program.call("Search", {command.wish.term()}, "s", Program::kSearchMilliseconds);
    if (!reply)
        return report(reply);
    const auto found = QJsonDocument::fromJson(reply.value.toString().toUtf8()).object();
    if (const auto row = rowOf(command.wish, found, command.service))
        return playRow(program, *row, command.service);
    return report({kFailed, QStringLiteral("there is no %1").arg(command.wish.text()), {}});
}

int hosts(const Program& program, const Command& command) {
    const auto reply = program.call("Hosts", {}, "a{sv}", Program::kLinkMilliseconds);
    if (!reply)
        return report(reply);
    if (command.json)
        printOut(jsonLine(reply.object()));
    else
        printOut(hostsText(reply.object()));
    return kDone;
}

/// A method of the link, which gives a message for people that may be empty.
int link(const Program& program, const char* method, const QVariantList& arguments) {
    const auto reply = program.call(method, arguments, "s", Program::kLinkMilliseconds);
    if (!reply)
        return report(reply);
    if (const auto message = reply.value.toString(); !message.isEmpty())
        printOut(plainText(message) + u'\n');
    return kDone;
}

int quit(const Program& program) {
    const auto reply = program.call("Quit");
    // It was there before the call; that it is gone before it replied is what was asked for.
    return reply.code == kNotRunning ? int(kDone) : report(reply);
}

int runOnProgram(const Program& program, const Command& command) {
    switch (command.word) {
    case Word::Status:
        return printStatus(program, command);
    case Word::Seek:
        return seek(program, *command.amount);
    case Word::Volume:
        return volume(program, command.amount);
    case Word::Play:
        return play(program, command);
    case Word::Search:
        return search(program, command);
    case Word::Library:
        return library(program, command);
    case Word::Spotify:
        return spotify(program, command);
    case Word::Players:
        return players(program, command);
    case Word::Hosts:
        return hosts(program, command);
    case Word::Connect:
        return link(program, "Connect", {command.host});
    case Word::Disconnect:
        return link(program, "Disconnect", {});
    case Word::Serve:
        return link(program, "Serve", {command.action == QStringLiteral("on")});
    case Word::Name:
        return link(program, "Rename", {command.host});
    case Word::Quit:
        return quit(program);
    default:
        return report(program.call(entryOf(command.word).method));
    }
}

int runCommand(const Command& command) {
    switch (command.word) {
    case Word::Help:
        printOut(helpText(command.helpTopic));
        return kDone;
    case Word::Version:
        printOut(QStringLiteral("merlodectl %1\n").arg(QStringLiteral(MERLODE_VERSION)));
        return kDone;
    case Word::Doctor:
        return doctor(command.json);
    default:
        break;
    }
    if (command.follow)
        return follow(command);
    if (const auto program = Program::find())
        return runOnProgram(*program, command);
    return report(Program::notRunning());
}

} // namespace

int run(const QStringList& arguments) {
    const auto parsed = parseCommandLine(arguments);
    if (const auto* wrong = std::get_if<UsageError>(&parsed)) {
        printProblem(wrong->message);
        return kWrongUsage;
    }
    return runCommand(std::get<Command>(parsed));
}

} // namespace merlode::ctl
