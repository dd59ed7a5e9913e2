#pragma once

#include "platform/linux/mpd_idle.h"
#include "platform/linux/mpd_player.h"
#include "platform/linux/player_program.h"
#include "platform/linux/private_mpd.h"

#include <memory>
#include <optional>

namespace merlode {

class Session;

/// An MPD at a fixed address: one that somebody else runs, or a private one. While it does not run it is
/// looked for again and again, since nothing announces it; its end shows at once. Main thread.
class MpdProgram final : public PlayerProgram {
  public:
    /// How often one that does not run is looked for, in seconds.
    static constexpr double kRetryInterval = 2.0;
    /// The same while a private one is starting, and for how long.
    static constexpr double kStartingRetryInterval = 0.05;
    static constexpr double kUsualStart = 10.0;
    /// How long a private one that has come up is left to its first scan, in seconds: what is played out of a
    /// small library before the scan is over lacks songs, and a large one is not worth the wait.
    static constexpr double kFirstScan = 2.0;

    /// The session must outlive the program.
    MpdProgram(MpdAddress address, Session& session);
    MpdProgram(PrivateMpdOptions options, Session& session);
    ~MpdProgram() override;

    void start(PlayerProgramEvents events) override;
    void settle(double seconds) override;
    std::optional<QString> installedPath() override;
    std::optional<std::int32_t> processIdentifier() override;
    std::shared_ptr<ScriptedPlayer> player() override;
    bool launch() override;
    QString description() override;

  private:
    struct Attempt;

    void connect();
    void conclude(const std::shared_ptr<Attempt>& attempt, bool settling);
    bool isInFirstScan(const MpdSnapshot& snapshot);
    void retryLater();
    void adopt(Attempt& attempt);
    void lose();

    Session& session_;
    std::unique_ptr<PrivateMpd> private_;
    MpdAddress address_;
    PlayerProgramEvents events_;
    std::shared_ptr<MpdPlayer> player_;
    std::unique_ptr<MpdIdle> idle_;
    std::int32_t process_ = 0;
    std::int32_t runs_ = 0;
    bool first_ = true; // the attempt of `start` itself: what it finds ran already
    double startingUntil_ = 0;
    std::optional<double> scanAwaitedUntil_;
    bool hasLookedThrough_ = false; // the private one has been told to, in this run of it
    Timer retry_;
    std::shared_ptr<Attempt> attempt_;
    std::shared_ptr<char> life_ = std::make_shared<char>();
    DispatchQueue queue_; // last: its destructor waits for the attempt
};

} // namespace merlode
