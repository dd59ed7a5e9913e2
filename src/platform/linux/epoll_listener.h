#pragma once

#include "platform/linux/epoll_thread.h"
#include "platform/stream_network.h"

namespace merlode {

/// Accepts connections on a listening socket. When descriptors or memory have run out, peers wait in the
/// kernel's queue and are tried again a tenth of a second later.
class EpollListener final : public StreamListener {
  public:
    EpollListener(OwnedDescriptor socket, const std::shared_ptr<EpollThread>& thread,
                  std::weak_ptr<ListenerHandler> handler);
    ~EpollListener() override;
    EpollListener(const EpollListener&) = delete;
    EpollListener& operator=(const EpollListener&) = delete;

    quint16 port() const override;

  private:
    struct Shared;

    const std::shared_ptr<EpollThread> thread_;
    const std::shared_ptr<Shared> shared_;
};

} // namespace merlode
