#pragma once

#include <QString>

namespace merlode {

/// Where a socket can be reached.
struct SocketAddress {
    QString host; ///< numeric, as getnameinfo writes it: "192.168.1.7", "2001:db8::7", "fe80::7%wlan0"
    quint16 port = 0;
    bool operator==(const SocketAddress&) const = default;
};

} // namespace merlode
