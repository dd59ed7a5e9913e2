#pragma once

#include "base/run_loop.h"

#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace merlode {

/// An address of this machine on one of its interfaces that are up.
struct NetworkAddress {
    unsigned interfaceIndex = 0;
    QString text; ///< numeric, without a scope
    bool operator==(const NetworkAddress&) const = default;
};

/// All of them; none where the system does not tell.
std::vector<NetworkAddress> networkAddresses();

/// Tells when addresses or interfaces of this machine have come, gone or changed: once for changes that come
/// together. Without the system's news nothing is ever told. Main thread.
class NetworkChanges {
  public:
    /// Seconds from a change to the call: a cable that is plugged in brings several.
    static constexpr double kSettleTime = 0.5;

    NetworkChanges(RunLoop& loop, std::function<void()> changed);
    ~NetworkChanges();
    NetworkChanges(const NetworkChanges&) = delete;
    NetworkChanges& operator=(const NetworkChanges&) = delete;

  private:
    void drain();

    RunLoop& loop_;
    std::function<void()> changed_;
    int socket_ = -1;
    Timer settle_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace merlode
