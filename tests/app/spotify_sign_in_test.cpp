#include "app/spotify_sign_in.h"
#include "model/signing_http_client.h"
#include "model/spotify_account.h"
#include "platform/secret_store.h"
#include "support/fake_http.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

/// A keychain in memory, which answers at once.
class MemorySecretStore final : public SecretStore {
  public:
    std::map<QString, QString> secrets;
    QString problem;

    void read(const QString& account, std::function<void(const Secret&)> done) override {
        const auto found = secrets.find(account);
        done(found == secrets.end() || !problem.isEmpty() ? Secret{.problem = problem}
                                                          : Secret{found->second, {}});
    }
    void write(const QString& account, const QString& secret,
               std::function<void(const QString&)> done) override {
        if (problem.isEmpty())
            secrets[account] = secret;
        done(problem);
    }
    void remove(const QString& account, std::function<void(const QString&)> done) override {
        secrets.erase(account);
        done(problem);
    }
};

TEST(SpotifySignIn, WhatWasKeptIsTakenUpAtTheNextStart) {
    MemoryUserDefaults userDefaults;
    MemorySecretStore store;
    const auto inANewProgram = [&](const std::function<void(SpotifySignIn&, TestSession&)>& work) {
        TestSession test;
        test.session.installReference<UserDefaults>(userDefaults);
        test.session.installReference<SecretStore>(store);
        auto http = std::make_unique<FakeHttp>();
        http->route(u"https://accounts.spotify.com/api/token"_qs,
                    R"({"access_token":"T","expires_in":3600})");
        SigningHttpClient client(test.session, std::move(http));
        SpotifySignIn signIn(test.session, client);
        signIn.restore();
        work(signIn, test);
    };
    SpotifySignIn::Outcome outcome;
    const auto login = [&](SpotifySignIn& signIn, TestSession& test) {
        signIn.login(u"id"_qs, u"secret"_qs, [&](const auto& result) { outcome = result; });
        test.loop.runUntilIdle();
    };
    store.problem = u"it is locked"_qs;
    inANewProgram(login);
    EXPECT_TRUE(outcome.done && outcome.message.contains(u"it is locked"_qs));
    store.problem.clear();
    inANewProgram([&](auto& signIn, auto& test) {
        EXPECT_FALSE(signIn.state().done) << "an id without its secret is not kept";
        login(signIn, test);
    });
    inANewProgram([&](auto& signIn, auto&) {
        EXPECT_EQ(signIn.state().message, u"Signed in to Spotify's catalogue as id."_qs);
    });
    store.problem = u"it is locked"_qs;
    inANewProgram([&](auto& signIn, auto&) {
        EXPECT_EQ(signIn.state().message, u"Not signed in as id: it is locked."_qs);
    });
    store.problem.clear();
    inANewProgram([&](auto& signIn, auto&) {
        signIn.login(u"i d"_qs, u"x"_qs, [&](const auto& result) { EXPECT_FALSE(result.done); });
        signIn.logout([](const auto& result) { EXPECT_TRUE(result.done); });
        EXPECT_FALSE(signIn.state().done);
    });
    EXPECT_TRUE(store.secrets.empty());
}

} // namespace
} // namespace merlode
