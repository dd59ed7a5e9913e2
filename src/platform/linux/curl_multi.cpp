#include "platform/linux/curl_multi.h"

namespace merlode {

namespace {

// libcurl's own timers and `curl_multi_wakeup` end the wait sooner; this only bounds it.
constexpr int kLongestWaitMilliseconds = 60'000;

CURLM* makeMulti() {
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    auto* multi = curl_multi_init();
    curl_multi_setopt(multi, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
    return multi;
}

} // namespace

CurlMulti::CurlMulti() : multi_(makeMulti()), thread_([this] { run(); }) {}

void CurlMulti::start(const std::shared_ptr<CurlTransfer>& transfer, const Ended& ended) {
    if (!post({transfer, ended}))
        ended(CURLE_ABORTED_BY_CALLBACK);
}

void CurlMulti::cancel(const std::shared_ptr<CurlTransfer>& transfer) {
    post({transfer, {}});
}

bool CurlMulti::post(Order order) {
    const std::lock_guard lock(mutex_);
    if (closed_)
        return false;
    orders_.push_back(std::move(order));
    curl_multi_wakeup(multi_.get());
    return true;
}

void CurlMulti::close() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        curl_multi_wakeup(multi_.get());
    }
    const std::lock_guard lock(joining_);
    if (thread_.joinable())
        thread_.join();
}

void CurlMulti::run() {
    while (obeyOrders()) {
        int stillRunning = 0;
        curl_multi_perform(multi_.get(), &stillRunning);
        reapEnded();
        curl_multi_poll(multi_.get(), nullptr, 0, kLongestWaitMilliseconds, nullptr);
    }
    while (!running_.empty())
        end(running_.begin()->first, CURLE_ABORTED_BY_CALLBACK);
}

// False when it is time to go. What was ordered before is begun even then, so that it ends like the others.
bool CurlMulti::obeyOrders() {
    std::vector<Order> orders;
    bool goOn = true;
    {
        const std::lock_guard lock(mutex_);
        orders.swap(orders_);
        goOn = !closed_;
    }
    for (auto& order : orders) {
        if (order.ended)
            begin(std::move(order));
        else
            end(order.transfer->handle(), CURLE_ABORTED_BY_CALLBACK);
    }
    return goOn;
}

void CurlMulti::begin(Order order) {
    auto* handle = order.transfer->handle();
    running_.emplace(handle, std::move(order));
    if (curl_multi_add_handle(multi_.get(), handle) != CURLM_OK)
        end(handle, CURLE_FAILED_INIT);
}

void CurlMulti::reapEnded() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg == CURLMSG_DONE)
            end(message->easy_handle, message->data.result);
    }
}

void CurlMulti::end(CURL* handle, CURLcode code) {
    const auto node = running_.extract(handle);
    if (node.empty())
        return;
    curl_multi_remove_handle(multi_.get(), handle);
    node.mapped().ended(code);
}

} // namespace merlode
