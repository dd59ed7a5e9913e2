#include "app/demo/web_server.h"
#include "base/qt_run_loop.h"
#include "platform/linux/curl_http_client.h"
#include "support/fake_http.h"
#include "support/http_client_contract.h"
#include "support/private_bus.h"
#include "support/test_session.h"

#include <QElapsedTimer>

#include <future>
#include <thread>

namespace merlode {
namespace {

/// The fake client on a virtual loop.
struct FakeWeb {
    TestSession test;
    FakeHttp http;

    HttpClient& client() { return http; }
    QString serve(const QString& path, int status, const QByteArray& body) {
        const QString url = u"http://fake.example"_qs + path;
        http.route(url, {.body = body, .status = status, .latency = 0.5});
        return url;
    }
    bool run(const std::function<bool()>& condition) {
        test.loop.advance(1);
        return condition();
    }
};

/// The real client and a server that answers out of a table, with 404 to what is not in it.
struct LocalWeb {
    Session session{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope{&session};
    std::mutex mutex;
    std::map<QString, WebAnswer> answers;
    std::vector<WebRequest> requests;
    WebServer server{[this](const WebRequest& request) {
        const std::lock_guard lock(mutex);
        requests.push_back(request);
        const auto found = answers.find(request.path);
        return found == answers.end() ? WebAnswer{.status = 404} : found->second;
    }};
    std::unique_ptr<CurlHttpClient> http = std::make_unique<CurlHttpClient>(session);

    HttpClient& client() { return *http; }
    QString serve(const QString& path, WebAnswer answer) {
        const std::lock_guard lock(mutex);
        answers[path] = std::move(answer);
        return server.address() + path;
    }
    QString serve(const QString& path, int status, const QByteArray& body) {
        return serve(path, {.status = status, .body = body});
    }
    QString redirect(const QString& path, const QString& target) {
        return serve(path, {.status = 302, .headers = {{"Location", target.toUtf8()}}});
    }
    static bool run(const std::function<bool()>& condition) { return waitUntil(condition); }
};

using Webs = testing::Types<FakeWeb, LocalWeb>;
INSTANTIATE_TYPED_TEST_SUITE_P(Both, HttpClientContract, Webs);

class CurlHttpClientTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_LT(timer.elapsed(), 20'000) << "something was waited out"; }

    LocalWeb web;
    QElapsedTimer timer = [] {
        QElapsedTimer started;
        started.start();
        return started;
    }();
};

TEST_F(CurlHttpClientTest, RedirectsAreFollowedFiveTimesAndOnTheWebOnly) {
    web.serve(u"/0"_qs, 200, "arrived");
    for (int step = 1; step <= 6; ++step)
        web.redirect(u"/%1"_qs.arg(step), u"/%1"_qs.arg(step - 1));
    EXPECT_EQ(web.http->send({.url = web.server.address() + u"/5"_qs}), QByteArray("arrived"));
    EXPECT_FALSE(web.http->send({.url = web.server.address() + u"/6"_qs}));
    EXPECT_FALSE(web.http->send({.url = web.redirect(u"/loop"_qs, u"/loop"_qs)}));
    EXPECT_FALSE(web.http->send({.url = web.redirect(u"/file"_qs, u"file:///etc/hostname"_qs)}));
    EXPECT_EQ(web.server.connections(), 1) << "requests to one host share a connection";
}

TEST_F(CurlHttpClientTest, BodiesAreUnpackedAndWholeOrNotThere) {
    // "sent small", as gzip packs it.
    const auto packed = QByteArray::fromHex("1f8b08000000000002ff2b4ecd2b5128ce4dccc901008fcc8d810a000000");
    const auto bomb = qCompress(QByteArray(1'000'000, 'x')).mid(4);
    EXPECT_LT(bomb.size(), 10'000);
    const auto encoded = [](const char* encoding, const QByteArray& body) {
        return WebAnswer{.body = body, .headers = {{"Content-Encoding", encoding}}};
    };
    const QByteArray half(50'000, 'h');
    const struct {
        WebAnswer answer;
        HttpClient::Reply reply;
    } rows[] = {
        {encoded("gzip", packed), "sent small"},        {encoded("gzip", "no gzip at all"), std::nullopt},
        {encoded("deflate", bomb), std::nullopt},       {{.body = half}, half},
        {{.body = half + half}, std::nullopt},          {{.body = half, .breakOff = 20'000}, std::nullopt},
        {{.body = half, .breakOff = 0}, std::nullopt},  {{.body = half, .duration = 0.3}, half},
        {{.body = half, .duration = 60}, std::nullopt}, // outlasts its time
        {{.body = half, .latency = 60}, std::nullopt},
    };
    for (const auto& row : rows) {
        const HttpRequest request{
            .url = web.serve(u"/body"_qs, row.answer), .timeoutSeconds = 1, .mostBytes = 60'000};
        EXPECT_EQ(web.http->send(request), row.reply) << &row - rows;
    }
}

TEST_F(CurlHttpClientTest, NothingIsWhereNobodyListens) {
    const QString address = WebServer({}).address(); // whose port is free again
    EXPECT_FALSE(web.http->send({.url = address}));
}

TEST_F(CurlHttpClientTest, ARequestIsSentAsItWasAskedForAndNothingElse) {
    const QString url = web.serve(u"/api"_qs, {.headers = {{"Set-Cookie", "crumb=1"}}});
    const HttpRequest request{.url = url + u"?q=Snø%20på"_qs,
                              .method = HttpRequest::Method::Post,
                              .body = "name=Föhn",
                              .headers = {{"Authorization", "Bearer t"}, {"Content-Length", "4000"}}};
    EXPECT_TRUE(web.http->send(request));
    EXPECT_TRUE(web.http->send({.url = url}));
    EXPECT_FALSE(web.http->send({.url = url, .headers = {{"X", "1\r\nHost: elsewhere"}}}));
    ASSERT_EQ(web.requests.size(), 2U);
    const auto& sent = web.requests[0];
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.body, request.body);
    EXPECT_EQ(sent.fields[u"q"_qs], u"Snø på"_qs);
    EXPECT_EQ(sent.headers["authorization"], "Bearer t");
    EXPECT_EQ(sent.headers["user-agent"], "Merlode/" MERLODE_VERSION);
    EXPECT_TRUE(sent.headers["accept-encoding"].contains("gzip"));
    EXPECT_EQ(web.requests[1].method, "GET");
    EXPECT_FALSE(web.requests[1].headers.contains("cookie"));
}

TEST_F(CurlHttpClientTest, AHostThatAsksForAPauseGetsIt) {
    const QString url = web.serve(u"/"_qs, {.status = 429, .headers = {{"Retry-After", "600"}}});
    testing::internal::CaptureStderr();
    for (int call = 0; call < 3; ++call)
        EXPECT_FALSE(web.http->send({.url = url}));
    const auto log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(log, '\n'), 1) << log;
    EXPECT_EQ(web.requests.size(), 1U);
}

TEST_F(CurlHttpClientTest, ACancelledTransferEndsAtOnce) {
    for (const auto& answer : {WebAnswer{.latency = 60}, WebAnswer{.body = "slow", .duration = 60}}) {
        const QString url = web.serve(u"/slow"_qs, answer);
        web.requests.clear();
        HttpCancellation cancellation;
        std::jthread canceller([&] {
            while (true) {
                const std::lock_guard lock(web.mutex);
                if (!web.requests.empty())
                    return cancellation.cancel();
            }
        });
        EXPECT_FALSE(web.http->send({.url = url}, cancellation));
    }
}

TEST_F(CurlHttpClientTest, NeitherTheClientNorTheSessionWaitsForReplies) {
    const QString slow = web.serve(u"/slow"_qs, {.latency = 60});
    bool called = false;
    web.http->sendAsync({.url = web.serve(u"/quick"_qs, 200, "late")}, [&](auto&&) { called = true; });
    web.http->sendAsync({.url = slow}, [&](auto&&) { called = true; });
    while (web.server.connections() < 2)
        std::this_thread::yield();
    web.http.reset();
    waitUntil([&] { return called; }, 0.1);
    EXPECT_FALSE(called);

    Session session(std::make_unique<VirtualRunLoop>(), makeThreadPoolExecutor());
    auto& client = session.install<HttpClient>(std::make_unique<CurlHttpClient>(session));
    std::promise<void> sending;
    session.queue(u"blocked"_qs).async([&] {
        sending.set_value();
        EXPECT_FALSE(client.send({.url = slow}));
    });
    sending.get_future().wait();
}

} // namespace
} // namespace merlode
