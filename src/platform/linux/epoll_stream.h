#pragma once

#include "platform/linux/epoll_thread.h"
#include "platform/stream_network.h"

namespace merlode {

/// A stream over a TCP socket.
class EpollStream final : public Stream {
  public:
    /// Over a socket that is connected or being connected.
    EpollStream(OwnedDescriptor socket, std::shared_ptr<EpollThread> thread);
    ~EpollStream() override;
    EpollStream(const EpollStream&) = delete;
    EpollStream& operator=(const EpollStream&) = delete;

    QString openingError() override;
    void setHandler(std::weak_ptr<StreamHandler> handler) override;
    void watch(unsigned interests) override;
    Transfer read(char* buffer, qsizetype size) override;
    Transfer write(const char* bytes, qsizetype size) override;
    SocketAddress localAddress() const override;
    SocketAddress remoteAddress() const override;

  private:
    const OwnedDescriptor socket_;
    const std::shared_ptr<EpollThread> thread_;
    EpollThread::Id id_ = 0; // none before there is a handler
};

} // namespace merlode
