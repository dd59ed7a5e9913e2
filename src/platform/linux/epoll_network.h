#pragma once

#include "platform/stream_network.h"

#include <memory>

namespace merlode {

class EpollThread;

/// TCP, with one thread for all sockets of a session, which is made with the first.
class EpollNetwork final : public StreamNetwork {
  public:
    EpollNetwork();
    ~EpollNetwork() override;
    EpollNetwork(const EpollNetwork&) = delete;
    EpollNetwork& operator=(const EpollNetwork&) = delete;

    std::unique_ptr<StreamListener> listen(quint16 port, std::weak_ptr<ListenerHandler> handler,
                                           QString* error) override;
    std::unique_ptr<Stream> connect(const SocketAddress& address, std::weak_ptr<StreamHandler> handler,
                                    QString* error) override;

  private:
    const std::shared_ptr<EpollThread> thread_;
};

} // namespace merlode
