#include "app/demo/web_server.h"
#include "app/modules.h"
#include "base/qt_run_loop.h"
#include "platform/linux/curl_http_client.h"
#include "support/fake_http.h"
#include "support/private_bus.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {

/// The fake client on a virtual loop.
struct FakeWeb {
    TestSession test;
    FakeHttp http;

    QString serve(const QString& path, const WebAnswer& answer) {
        http.route(path, {.body = answer.body, .status = answer.status, .latency = 0.5});
        return path;
    }
    void run(const std::function<bool()>&) { test.loop.advance(1); }
};

/// A real client and a server that answers out of a table.
template<class Client>
struct LocalWeb {
    Session session{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope{&session};
    std::mutex mutex;
    std::map<QString, WebAnswer> answers;
    std::vector<WebRequest> requests;
    WebServer server{[this](const WebRequest& request) {
        const std::lock_guard lock(mutex);
        requests.push_back(request);
        return answers[request.path];
    }};
    HttpClient& http = session.install<HttpClient>(std::make_unique<Client>(session));

    QString serve(const QString& path, const WebAnswer& answer) {
        const std::lock_guard lock(mutex);
        answers[path] = answer;
        return server.address() + path;
    }
    static void run(const std::function<bool()>& condition) { waitUntil(condition); }
};

template<class Web>
struct HttpClientContract : testing::Test, Web {};
using Webs = testing::Types<FakeWeb, LocalWeb<CurlHttpClient>, LocalWeb<LazyHttpClient>>;
TYPED_TEST_SUITE(HttpClientContract, Webs);

TYPED_TEST(HttpClientContract, OnlyAWholeGoodAnswerIsAReply) {
    const QString good = this->serve(u"/good"_qs, {.body = "0123456789"});
    const std::vector<std::tuple<QString, qint64, HttpClient::Reply>> rows = {
        {good, 10, "0123456789"},
        {good, 9, {}},
        {this->serve(u"/created"_qs, {.status = 201}), 10, QByteArray("")},
        {this->serve(u"/missing"_qs, {.status = 404}), 10, {}},
        {u"gopher://127.0.0.1/"_qs, 10, {}},
        {QString(), 10, {}}};
    for (const auto& [url, mostBytes, expected] : rows) {
        const HttpRequest request{.url = url, .mostBytes = mostBytes};
        EXPECT_EQ(this->http.send(request), expected) << url.toStdString();
        std::vector<HttpClient::Reply> replies;
        this->http.sendAsync(request, [&](const HttpClient::Reply& reply) { replies.push_back(reply); });
        EXPECT_TRUE(replies.empty()) << "called back within the call";
        this->run([&] { return !replies.empty(); });
        EXPECT_EQ(replies, std::vector{expected}) << url.toStdString();
    }
}

struct CurlHttpClientTest : testing::Test, LocalWeb<CurlHttpClient> {};

TEST_F(CurlHttpClientTest, AnswersAreFollowedUnpackedAndWholeOrNotThere) {
    const auto redirect = [](const QByteArray& to) {
        return WebAnswer{.status = 302, .headers = {{"Location", to}}};
    };
    const auto encoded = [](const char* encoding, const QByteArray& body) {
        return WebAnswer{.body = body, .headers = {{"Content-Encoding", encoding}}};
    };
    const auto packed = QByteArray::fromHex("1f8b08000000000002ff2b4ecd2b5128ce4dccc901008fcc8d810a000000");
    const QByteArray half(50'000, 'h');
    serve(u"/0"_qs, {.body = "arrived"});
    for (int step = 1; step <= 5; ++step)
        serve(u"/%1"_qs.arg(step), redirect("/" + QByteArray::number(step - 1)));
    const std::vector<std::pair<WebAnswer, HttpClient::Reply>> rows = {
        {redirect("/4"), "arrived"},
        {redirect("/5"), {}}, // one too many
        {redirect("/row"), {}},
        {redirect("file:///etc/hostname"), {}},
        {encoded("gzip", packed), "sent small"},
        {encoded("gzip", "no gzip at all"), {}},
        {encoded("deflate", qCompress(QByteArray(1'000'000, 'x')).mid(4)), {}},
        {{.body = half}, half},
        {{.body = half + half}, {}},
        {{.body = half, .duration = 0.3}, half},
        {{.body = half, .breakOff = 20'000}, {}},
        {{.body = half, .duration = 60}, {}}}; // outlasts its time
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const QString url = serve(u"/row"_qs, rows[row].first);
        EXPECT_EQ(http.send({.url = url, .timeoutSeconds = 2, .mostBytes = 60'000}), rows[row].second) << row;
        EXPECT_TRUE(row > 3 || server.connections() == 1) << "requests to one host share a connection";
    }
    const QString closed = WebServer({}).address();
    EXPECT_FALSE(http.send({.url = closed}));
}

TEST_F(CurlHttpClientTest, ARequestIsSentAsItWasAskedForAndNothingElse) {
    const QString url = serve(u"/api"_qs, {.headers = {{"Set-Cookie", "crumb=1"}}});
    EXPECT_TRUE(http.send({.url = url + u"?q=Snø%20på"_qs,
                           .method = HttpRequest::Method::Post,
                           .body = "name=Föhn",
                           .headers = {{"Authorization", "Bearer t"}, {"Content-Length", "4000"}}}));
    EXPECT_FALSE(http.send({.url = url, .headers = {{"X", "1\r\nHost: elsewhere"}}}));
    EXPECT_TRUE(http.send({.url = url}));
    ASSERT_EQ(requests.size(), 2U) << "the one that smuggles a header is not sent";
    auto& sent = requests[0];
    EXPECT_EQ(sent.method + sent.body + sent.headers["authorization"], "POSTname=FöhnBearer t");
    EXPECT_EQ(sent.fields[u"q"_qs], u"Snø på"_qs);
    EXPECT_EQ(sent.headers["user-agent"], "Merlode/" MERLODE_VERSION);
    EXPECT_FALSE(requests[1].headers.contains("cookie"));
}

TEST_F(CurlHttpClientTest, ManyRequestsGoOutSideBySideAndStopTogether) {
    std::vector<HttpRequest> wanted;
    std::vector<HttpClient::Reply> expected;
    for (int number = 0; number < 15; ++number) {
        const bool missing = number % 5 == 4;
        const QByteArray body = QByteArray::number(number);
        const QString url =
            serve(u"/%1"_qs.arg(number), {.status = missing ? 404 : 200, .body = body, .latency = 0.05});
        wanted.push_back({.url = number == 7 ? u"no address"_qs : url});
        expected.push_back(missing || number == 7 ? std::nullopt : HttpClient::Reply(body));
    }
    EXPECT_EQ(http.sendAll(wanted, {}), expected);
    EXPECT_GT(server.connections(), 1);
    EXPECT_LE(server.connections(), int(CurlHttpClient::kSideBySide));

    for (auto& request : wanted)
        request.url = serve(u"/slow"_qs, {.body = "late", .duration = 60});
    HttpCancellation cancellation;
    std::thread stopper([&] {
        const auto asked = [&] {
            const std::lock_guard lock(mutex);
            return requests.size();
        };
        while (asked() < 15) // all but one of the first time, and one of the second
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        cancellation.cancel();
    });
    EXPECT_EQ(http.sendAll(wanted, cancellation), std::vector<HttpClient::Reply>(15));
    stopper.join();
    QString failure;
    EXPECT_FALSE(http.send({.url = serve(u"/gone"_qs, {.status = 410})}, {}, &failure));
    EXPECT_EQ(failure, u"it answered 410"_qs);
}

TEST_F(CurlHttpClientTest, AHostThatAsksForAPauseGetsIt) {
    const QString url = serve(u"/"_qs, {.status = 429, .headers = {{"Retry-After", "600"}}});
    testing::internal::CaptureStderr();
    EXPECT_FALSE(http.send({.url = url}) || http.send({.url = url}));
    const auto log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(log, '\n'), 1) << log;
    EXPECT_EQ(requests.size(), 1U);
}

} // namespace merlode
