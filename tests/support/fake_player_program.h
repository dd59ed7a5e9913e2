#pragma once

#include "platform/linux/player_program.h"
#include "support/fake_players.h"

namespace merlode {

/// A program in a role whose every answer a test sets, and whose events a test sends.
class FakePlayerProgram final : public PlayerProgram {
  public:
    std::optional<std::int32_t> process;
    std::shared_ptr<FakeScriptedPlayer> scripted = std::make_shared<FakeScriptedPlayer>();
    PlayerProgramEvents events;
    std::function<void(double seconds)> settling = [](double) {};

    void start(PlayerProgramEvents newEvents) override { events = std::move(newEvents); }
    void settle(double seconds) override { settling(seconds); }
    std::optional<QString> installedPath() override { return QStringLiteral("/usr/bin/fake"); }
    std::optional<std::int32_t> processIdentifier() override { return process; }
    std::shared_ptr<ScriptedPlayer> player() override { return process ? scripted : nullptr; }
    bool launch() override { return true; }
    QString description() override { return QStringLiteral("a fake"); }
};

} // namespace merlode
