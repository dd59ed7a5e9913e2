#pragma once

#include "base/session.h"

#include <QProcessEnvironment>
#include <QString>

#include <optional>
#include <vector>

namespace merlode {

/// Where an MPD listens: a unix socket, or a host and a port.
struct MpdAddress {
    static constexpr quint16 kDefaultPort = 6600;

    QString socketPath{}; ///< a file, or an abstract name that begins with '@'; empty for a host
    QString host{};
    quint16 port = kDefaultPort;
    QString password{}; ///< sent in the clear after connecting; empty for none
    /// Nobody has named it. Distributions start an mpd for the whole machine at the usual port when they
    /// install one, and that has no music until somebody gives it some.
    bool guessed = false;

    bool operator==(const MpdAddress&) const = default;
    bool isSocket() const { return !socketPath.isEmpty(); }
    /// For people and logs: without the password.
    QString text() const;
};

/// The places where a user's MPD is looked for, the most deliberate first: what MPD_HOST and MPD_PORT name,
/// the socket below XDG_RUNTIME_DIR, the usual port of this machine. None twice.
std::vector<MpdAddress> userMpdAddresses(const QProcessEnvironment& environment);

/// The first of the candidates that greets as an MPD does and, where it was guessed, has music; or nothing.
/// All are asked side by side on the executor and `seconds` bounds the whole call, name look-ups included.
/// Blocks for that long at most.
std::optional<MpdAddress> findRunningMpd(const std::vector<MpdAddress>& candidates, double seconds,
                                         Executor& executor = Session::current().executor());

} // namespace merlode
