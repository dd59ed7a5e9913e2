#include "app/demo/web_server.h"
#include "platform/linux/curl_http_client.h"
#include "support/test_session.h"

#include <thread>

#include <gtest/gtest.h>

namespace merlode {

TEST(CurlHttpClientThreadTest, RequestsAreAnsweredCancelledAndLeftBehindAtOnce) {
    constexpr std::size_t kThreads = 4, kRounds = 6; // fewer requests than the server has connections
    std::vector<HttpCancellation> cancellations(kThreads * kRounds);
    const WebServer server([&](const WebRequest& request) {
        bool isNumber = false;
        if (const auto number = request.path.mid(1).toULong(&isNumber); isNumber)
            cancellations[number].cancel();
        return WebAnswer{.body = "body", .latency = request.path == u"/" ? 0.0 : 1000.0};
    });
    auto loop = std::make_unique<VirtualRunLoop>();
    auto& mainQueue = *loop;
    Session session(std::move(loop), makeThreadPoolExecutor());
    auto client = std::make_unique<CurlHttpClient>(session);
    const HttpRequest quick{.url = server.address() + u"/"_qs};
    const HttpRequest slow{.url = server.address() + u"/slow"_qs, .timeoutSeconds = 1000};
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t round = thread * kRounds; round < (thread + 1) * kRounds; ++round) {
                for (const auto& request : {quick, slow})
                    client->sendAsync(request, [](auto&&) { FAIL() << "after the client has gone"; });
                EXPECT_EQ(client->send(quick), QByteArray("body"));
                auto cancelled = slow;
                cancelled.url = quick.url + QString::number(round);
                EXPECT_FALSE(client->send(cancelled, cancellations[round]));
            }
        });
    }
    threads.clear(); // waits for them
    client.reset();
    mainQueue.runUntilIdle();
    session.install<HttpClient>(std::make_unique<CurlHttpClient>(session));
    const int connections = server.connections();
    session.queue(u"left"_qs).async([&] { EXPECT_FALSE(session.port<HttpClient>().send(slow)); });
    while (server.connections() == connections)
        std::this_thread::yield();
} // where the session ends, and waits for its queue

} // namespace merlode
