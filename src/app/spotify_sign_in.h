#pragma once

#include <QString>

#include <functional>

namespace merlode {

class Session;
class SigningHttpClient;

/// Signs the user in to Spotify's catalogue with an id and a secret of their own: the id is a setting, the
/// secret lies in the keychain. The session must outlive this object. Main thread.
class SpotifySignIn {
  public:
    /// How an operation ended, in a sentence for people.
    struct Outcome {
        bool done = false;
        QString message{};
    };
    using Done = std::function<void(const Outcome&)>;

    SpotifySignIn(Session& session, SigningHttpClient& client);

    /// Takes up what was stored at an earlier login. Without an id the keychain is left alone.
    void restore();

    /// Tries the two with Spotify and keeps them if it takes them. Where there is no keychain they are good
    /// until the program ends, which the message says.
    void login(const QString& clientID, const QString& clientSecret, const Done& done);
    /// Forgets both.
    void logout(const Done& done);
    /// Tells whether the user is signed in, and under which id.
    Outcome state() const;

  private:
    void keep(const QString& clientID, const QString& clientSecret, const Done& done);

    Session& session_;
    SigningHttpClient& client_;
    QString problem_; ///< why what was stored could not be taken up
};

} // namespace merlode
