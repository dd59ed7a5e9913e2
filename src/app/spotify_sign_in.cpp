#include "app/spotify_sign_in.h"

#include "base/session.h"
#include "model/signing_http_client.h"
#include "model/spotify_account.h"
#include "platform/secret_store.h"
#include "platform/user_defaults.h"

#include <QLoggingCategory>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

const QString kSignInQueue = QStringLiteral("co.vantry.Merlode.SignIn");
const QString kSecretAccount = QStringLiteral("Spotify Client Secret");

// What goes into a header and a settings file: no colon, which parts the two, and nothing that is not a
// letter.
bool isCredential(const QString& text) {
    return !text.isEmpty() && text.size() <= 256 && std::ranges::all_of(text, [](QChar letter) {
        return letter > u' ' && letter < u'\x7f' && letter != u':';
    });
}

QString storedID(Session& session) {
    return session.port<UserDefaults>().valueFor(defaults::kSpotifyClientID).value_or(QString());
}

} // namespace

SpotifySignIn::SpotifySignIn(Session& session, SigningHttpClient& client)
    : session_(session), client_(client) {}

void SpotifySignIn::restore() {
    const auto clientID = storedID(session_);
    if (clientID.isEmpty())
        return;
    session_.port<SecretStore>().read(kSecretAccount, [this, clientID](const SecretStore::Secret& secret) {
        // A login that came first has the say.
        if (session_.shared<SpotifyAccount>().hasCredentials() || storedID(session_) != clientID)
            return;
        if (secret.value) {
            session_.shared<SpotifyAccount>().setCredentials(SpotifyCredentials{clientID, *secret.value});
            return;
        }
        problem_ = secret.problem.isEmpty() ? QStringLiteral("the keychain does not have the secret any more")
                                            : secret.problem;
        qCWarning(log).noquote() << "not signed in to Spotify:" << problem_;
    });
}

void SpotifySignIn::login(const QString& clientID, const QString& clientSecret, const Done& done) {
    if (!isCredential(clientID) || !isCredential(clientSecret))
        return done(
            {false, QStringLiteral("The client id and the secret are letters and digits, as Spotify's "
                                   "page for developers shows them.")});
    session_.queue(kSignInQueue)
        .async([this, credentials = SpotifyCredentials{clientID, clientSecret}, done] {
            QString failure;
            const auto token = SpotifyAccount::fetch(client_.plain(), credentials, {}, &failure);
            session_.runLoop().async([this, accepted = token.has_value(), failure, credentials, done] {
                if (accepted)
                    keep(credentials.clientID, credentials.clientSecret, done);
                else
                    done({false, QStringLiteral("Spotify did not accept them: %1.").arg(failure)});
            });
        });
}

void SpotifySignIn::keep(const QString& clientID, const QString& clientSecret, const Done& done) {
    problem_.clear();
    session_.shared<SpotifyAccount>().setCredentials(SpotifyCredentials{clientID, clientSecret});
    session_.port<SecretStore>().write(
        kSecretAccount, clientSecret, [this, clientID, done](const QString& problem) {
            if (!problem.isEmpty())
                return done(
                    {true, QStringLiteral("Signed in until merlode ends: the secret could not be kept, "
                                          "since %1.")
                               .arg(problem)});
            session_.port<UserDefaults>().set(defaults::kSpotifyClientID, clientID);
            done({true, QStringLiteral("Signed in to Spotify's catalogue.")});
        });
}

void SpotifySignIn::logout(const Done& done) {
    const bool wasKept = !storedID(session_).isEmpty();
    problem_.clear();
    session_.shared<SpotifyAccount>().setCredentials(std::nullopt);
    session_.port<UserDefaults>().remove(defaults::kSpotifyClientID);
    if (!wasKept)
        return done({true, QStringLiteral("Signed out.")});
    session_.port<SecretStore>().remove(kSecretAccount, [done](const QString& problem) {
        done(problem.isEmpty()
                 ? Outcome{true, QStringLiteral("Signed out.")}
                 : Outcome{false, QStringLiteral("Signed out, but the secret is still in the keychain: %1.")
                                      .arg(problem)});
    });
}

SpotifySignIn::Outcome SpotifySignIn::state() const {
    const auto clientID = storedID(session_);
    if (session_.shared<SpotifyAccount>().hasCredentials())
        return {true, clientID.isEmpty()
                          ? QStringLiteral("Signed in to Spotify's catalogue until merlode ends.")
                          : QStringLiteral("Signed in to Spotify's catalogue as %1.").arg(clientID)};
    if (!problem_.isEmpty())
        return {false, QStringLiteral("Not signed in as %1: %2.").arg(clientID, problem_)};
    return {false, QStringLiteral("Not signed in. Register a client at Spotify's page for developers, then "
                                  "write \"merlodectl spotify login ID\".")};
}

} // namespace merlode
