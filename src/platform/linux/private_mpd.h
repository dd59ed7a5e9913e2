#pragma once

#include "base/dispatch_queue.h"
#include "platform/linux/mpd_address.h"
#include "platform/linux/sound_output.h"

#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace merlode {

struct PrivateMpdOptions {
    QString stateFolder;              ///< database, playlists, ratings; made with access for the user alone
    QString runtimeFolder;            ///< holds the socket; made likewise
    QString musicFolder;              ///< read only
    std::optional<SoundOutput> sound; ///< looked for where absent
};

/// The configuration of a private MPD, or nothing where a path cannot be written in one: mpd wants absolute
/// paths on one line.
std::optional<QByteArray> privateMpdConfiguration(const PrivateMpdOptions& options, const QString& socketPath,
                                                  SoundOutput sound);

/// An mpd of our own, a child that ends with this process however that ends. Main thread.
class PrivateMpd {
  public:
    /// Longer socket paths do not fit the system's 108 bytes with some to spare; a short temporary folder
    /// takes their place.
    static constexpr qsizetype kLongestSocketPath = 100;

    /// Makes nothing yet. The session must outlive this.
    PrivateMpd(PrivateMpdOptions options, Session& session);

    /// Ends the child: politely, so that it saves its state, and by force after a second.
    ~PrivateMpd();

    /// Where mpd is installed, or nothing.
    static std::optional<QString> executable();

    const PrivateMpdOptions& options() const { return options_; }

    /// Where it listens, started or not.
    const MpdAddress& address() const { return address_; }

    /// Sets the start going and returns at once; it takes about 0.3 s. True also while it runs. False where
    /// mpd is not installed or the folders cannot be made.
    bool start();

    /// From `start` until the child has ended.
    bool isStarted() const;

  private:
    std::optional<QString> writeConfiguration(SoundOutput sound);
    void startWith(SoundOutput sound);

    PrivateMpdOptions options_;
    RunLoop& loop_;
    std::unique_ptr<QTemporaryDir> shortFolder_;
    MpdAddress address_;
    QProcess process_;
    bool probing_ = false;
    std::shared_ptr<char> life_ = std::make_shared<char>();
    DispatchQueue queue_;
};

} // namespace merlode
