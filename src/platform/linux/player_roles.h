#pragma once

#include "base/session.h"
#include "platform/linux/burst_folder.h"
#include "platform/linux/player_program.h"
#include "platform/workspace.h"

#include <array>
#include <memory>

namespace merlode {

/// The three applications that the program knows to drive.
enum class PlayerRole { Local, Spotify, Rdio };
inline constexpr std::array kPlayerRoles{PlayerRole::Local, PlayerRole::Spotify, PlayerRole::Rdio};

/// "iTunes", "Spotify" or "Rdio".
QString applicationName(PlayerRole role);

/// Puts a real program behind each role and speaks for it as an application of the workspace: installed or
/// not, running with which process, launched, and, for the roles that announce, changed. Main thread.
class PlayerRoles final : public Workspace, public ScriptedPlayers {
  public:
    explicit PlayerRoles(Session& session);
    ~PlayerRoles() override;

    /// Puts a program into a role and begins to watch it; null leaves the role empty. A program that was
    /// there before is let go.
    void assign(PlayerRole role, std::unique_ptr<PlayerProgram> program);

    /// Waits until the players that run have told their state, `kPlayerCallTimeout` seconds at most for all
    /// of them together. To be called once, before the first look at the players.
    void settle();

    /// The program in a role, or null.
    PlayerProgram* program(PlayerRole role) const;

    std::optional<QString> fullPathForApplication(const QString& name) override;
    std::vector<RunningApplication>
    runningApplicationsWithBundleIdentifier(const QString& bundleIdentifier) override;
    bool launchApplication(const QString& name) override;
    std::shared_ptr<ScriptedPlayer> player(const QString& bundleIdentifier,
                                           std::int32_t processIdentifier) override;

  private:
    struct Seat;

    Seat& seat(PlayerRole role) const;
    PlayerProgram* programOfApplication(const QString& name) const;
    PlayerProgram* programOfBundle(const QString& bundleIdentifier) const;
    void announce(PlayerRole role);
    void tellLaunched(PlayerRole role);

    Session& session_;
    std::array<std::unique_ptr<Seat>, kPlayerRoles.size()> seats_;
    Timer firstSign_;
};

} // namespace merlode
