#include "app/demo/web_server.h"
#include "platform/linux/curl_http_client.h"
#include "support/test_session.h"

#include <thread>

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(CurlHttpClientThreadTest, RequestsAreSentCancelledAndLeftBehindAtOnce) {
    constexpr int kRounds = 8; // fewer requests than the server has connections
    WebServer server([](const WebRequest& request) {
        return WebAnswer{.body = "body", .latency = request.path == u"/slow" ? 60.0 : 0.0};
    });
    Session session(std::make_unique<VirtualRunLoop>(), makeThreadPoolExecutor());
    auto client = std::make_unique<CurlHttpClient>(session);
    std::atomic<int> answered = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                client->sendAsync({.url = server.address()}, [](auto&&) {});
                client->sendAsync({.url = server.address() + u"/slow"_qs}, [](auto&&) { FAIL(); });
                answered += client->send({.url = server.address()}).has_value();
                HttpCancellation cancellation;
                const std::jthread canceller([cancellation]() mutable { cancellation.cancel(); });
                EXPECT_FALSE(client->send({.url = server.address() + u"/slow"_qs}, cancellation));
            }
        });
    }
    threads.clear(); // waits for them
    EXPECT_EQ(answered, 4 * kRounds);
    client.reset();
    static_cast<VirtualRunLoop&>(session.runLoop()).runUntilIdle();
}

} // namespace
} // namespace merlode
