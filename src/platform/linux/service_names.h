#pragma once

#include "platform/service_discovery.h"

#include <QByteArray>

#include <algorithm>

namespace merlode {

/// Why this is no name for a service, for people; empty for a name.
inline QString whyNotAName(const QString& name) {
    if (name.isEmpty())
        return QStringLiteral("a name is needed");
    if (name.toUtf8().size() > ServiceDiscovery::kMostNameBytes)
        return QStringLiteral("the name is longer than %1 bytes").arg(ServiceDiscovery::kMostNameBytes);
    return {};
}

/// A type as Avahi wants it: without the dot at its end.
inline QByteArray plainServiceType(const QString& type) {
    return type.endsWith(u'.') ? type.chopped(1).toUtf8() : type.toUtf8();
}

/// The addresses under which a service was found, each once.
class ResolvedAddresses {
  public:
    /// `interfaceIndex` is where the answer came in: a link-local address means nothing without it.
    void add(const QString& address, unsigned interfaceIndex);

    /// IPv4 first, which nearly every network routes; addresses of one link last.
    std::vector<SocketAddress> inOrder(quint16 port) const;

  private:
    std::vector<QString> hosts_;
};

} // namespace merlode
