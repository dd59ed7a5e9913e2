#pragma once

#include "platform/scripted_player.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace merlode {

/// What a program in a role tells its owner. All three are called through the run loop on the main thread,
/// never from inside a call that the owner makes.
struct PlayerProgramEvents {
    /// The player gave a sign of a change in its track, its state or, by a jump, its position. Called once
    /// for each sign that really changed something: the owner folds bursts.
    std::function<void()> changed;
    /// The program came up after `start`; not called for one that ran already.
    std::function<void()> launched;
    /// The program went away.
    std::function<void()> quit;
};

/// The program behind one role: an MPRIS player by its bus name, or an MPD by its address. Main thread.
class PlayerProgram {
  public:
    virtual ~PlayerProgram() = default;

    /// Begins to watch the program and asks a running one for its state. Returns at once; `events` must stay
    /// callable until this object is destroyed.
    virtual void start(PlayerProgramEvents events) = 0;

    /// Waits, `seconds` at most, until a program that was running at `start` has told its state, so that the
    /// first look at the players finds the one that plays. Returns at once where that is known.
    virtual void settle(double seconds) = 0;

    /// Where the program is installed, or where its socket or host is; nothing where it is not there.
    virtual std::optional<QString> installedPath() = 0;

    /// The process of the running program. For a program on another host a negative number that stands for
    /// this connection. Nothing while it does not run. Never blocks.
    virtual std::optional<std::int32_t> processIdentifier() = 0;

    /// The player, or null while the program does not run. The same object for one run of the program.
    virtual std::shared_ptr<ScriptedPlayer> player() = 0;

    /// Sets the program's start going. False where there is nothing to start.
    virtual bool launch() = 0;

    /// In one line for people: "mpd at /run/user/1000/mpd/socket", "strawberry (org.mpris...)".
    virtual QString description() = 0;
};

} // namespace merlode
