#pragma once

#include "platform/linux/curl_transfer.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace merlode {

/// Drives transfers side by side on one thread of its own, so that they share connections: a second request
/// to a host goes out on the connection of the first, over HTTP/2 even at the same time. Any thread.
class CurlMulti {
  public:
    /// Called once for each transfer, on the thread of this object or, where it cannot start, within `start`.
    /// Must neither block nor throw.
    using Ended = std::function<void(CURLcode)>;

    CurlMulti();
    ~CurlMulti() { close(); }
    CurlMulti(const CurlMulti&) = delete;
    CurlMulti& operator=(const CurlMulti&) = delete;

    /// Begins a transfer and returns at once. Nobody else uses the transfer until `ended` is called.
    void start(const std::shared_ptr<CurlTransfer>& transfer, const Ended& ended);

    /// Ends a transfer soon, with CURLE_ABORTED_BY_CALLBACK; one that has ended already is left alone.
    void cancel(const std::shared_ptr<CurlTransfer>& transfer);

    /// Ends all transfers and the thread; whatever is started later ends at once. Not from within `ended`.
    void close();

  private:
    struct MultiDeleter {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };
    struct Running {
        std::shared_ptr<CurlTransfer> transfer;
        Ended ended;
    };
    /// What other threads want done; without `ended` a cancellation.
    using Order = Running;

    bool post(Order order);
    void run();
    bool obeyOrders();
    void begin(Order order);
    void reapEnded();
    void end(CURL* handle, CURLcode code);

    std::unique_ptr<CURLM, MultiDeleter> multi_;
    std::map<CURL*, Running> running_; // the thread's own
    std::mutex mutex_;
    std::vector<Order> orders_;
    bool closed_ = false;
    std::mutex joining_;
    std::thread thread_; // last: it uses the others
};

} // namespace merlode
