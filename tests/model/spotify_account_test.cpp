#include "model/catalogue_requests.h"
#include "model/service_hosts.h"
#include "model/signing_http_client.h"
#include "model/spotify_account.h"
#include "support/fake_http.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kTokenURL = u"https://accounts.spotify.com/api/token"_qs;

struct SpotifyAccountTest : testing::Test {
    SpotifyAccountTest() {
        test.session.installReference<UserDefaults>(userDefaults);
        http->route(kTokenURL, R"({"access_token":"T1","expires_in":3600})");
        for (const auto* url :
             {kAlbum, "https://api.spotify.com.evil.example/v1/x", "https://ws.example/v1/x"})
            http->route(QLatin1String(url), "{}");
    }
    /// The token that the request for this address carried; nothing for none.
    QByteArray tokenOf(const char* url) {
        (void)client.send({.url = QLatin1String(url)}, {}, &failure);
        const auto request = http->requests().back();
        return request.headers.empty() ? QByteArray() : request.headers.back().second;
    }
    int tokensFetched() { return int(std::ranges::count(http->requests(), kTokenURL, &HttpRequest::url)); }
    void signIn() { account().setCredentials(SpotifyCredentials{u"id"_qs, u"secret"_qs}); }
    SpotifyAccount& account() { return SpotifyAccount::sharedController(); }

    static constexpr const char* kAlbum = "https://api.spotify.com/v1/albums/1";
    TestSession test;
    MemoryUserDefaults userDefaults;
    FakeHttp* http = new FakeHttp;
    SigningHttpClient client{test.session, std::unique_ptr<HttpClient>(http)};
    QString failure;
};

TEST_F(SpotifyAccountTest, OneTokenServesAllRequestsToTheCatalogueAndNobodyElse) {
    EXPECT_EQ(tokenOf(kAlbum), "") << "not signed in";
    signIn();
    EXPECT_EQ(tokenOf(kAlbum), "Bearer T1");
    EXPECT_EQ(http->requests()[1].headers[0].second, "Basic " + QByteArray("id:secret").toBase64());
    EXPECT_EQ(client.sendAll({{.url = QLatin1String(kAlbum)}}, {}).size(), 1u);
    EXPECT_EQ(http->requests().back().headers.size(), 1u);
    EXPECT_EQ(tokenOf("https://api.spotify.com.evil.example/v1/x"), "") << "a token is for its host";
    EXPECT_EQ(tokenOf("https://ws.example/v1/x"), "");
    EXPECT_EQ(tokensFetched(), 1);

    test.loop.advance(3600 - SpotifyAccount::kRenewalMargin);
    http->route(kTokenURL, R"({"access_token":"T2","expires_in":3600})");
    bool answered = false;
    client.sendAsync({.url = QLatin1String(kAlbum)},
                     [&](const auto& reply) { answered = reply.has_value(); });
    test.loop.runUntilIdle();
    EXPECT_TRUE(answered);
    EXPECT_EQ(http->requests().back().headers.back().second, "Bearer T2");
    account().setCredentials({});
    EXPECT_EQ(tokenOf(kAlbum), "");
}

TEST_F(SpotifyAccountTest, ARefusalStandsForAMinuteAndIsNoAnswerToOthers) {
    signIn();
    http->route(kTokenURL, FakeHttp::Answer{.status = 400});
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(client.send({.url = QLatin1String(kAlbum)}, {}, &failure));
    EXPECT_EQ(failure, u"signing in failed: it did not answer"_qs);
    EXPECT_EQ(http->requests().size(), 1u) << "one search asks with a wrong secret once";
    for (const auto* answer : {"[]", "{\"access_token\":\"A\\r\\nB: c\",\"expires_in\":9}",
                               "{\"access_token\":\"T\",\"expires_in\":-1}", "\xff"}) {
        test.loop.advance(SpotifyAccount::kRefusalStands);
        http->route(kTokenURL, answer);
        EXPECT_FALSE(client.send({.url = QLatin1String(kAlbum)}, {}, &failure)) << answer;
    }
    EXPECT_EQ(failure, u"signing in failed: its answer holds no token"_qs);

    signIn(); // again, with what is right
    http->route(kTokenURL, R"({"access_token":"T3","expires_in":3600})");
    HttpCancellation cancelled;
    cancelled.cancel();
    EXPECT_FALSE(client.send({.url = QLatin1String(kAlbum)}, cancelled, &failure));
    EXPECT_EQ(tokenOf(kAlbum), "Bearer T3") << "a search that was given up is no refusal";
    http->route(QLatin1String(kAlbum), FakeHttp::Answer{.status = 401});
    EXPECT_EQ(tokenOf(kAlbum), "Bearer T3");
    http->route(kTokenURL, R"({"access_token":"T4","expires_in":3600})");
    test.loop.advance(SpotifyAccount::kRefusalStands + 1);
    EXPECT_EQ(tokenOf(kAlbum), "Bearer T3") << "taken back meanwhile, which shows only now";
    EXPECT_EQ(tokenOf(kAlbum), "Bearer T4");
}

} // namespace
} // namespace merlode
