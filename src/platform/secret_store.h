#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace merlode {

/// The desktop's keychain. Secrets are kept under this program's name and the name of an account. Main
/// thread; every call returns at once and calls back later, exactly once, unless the store goes before. A
/// user may be asked to unlock the keychain meanwhile, so that an answer can take as long as people do.
class SecretStore {
  public:
    struct Secret {
        std::optional<QString> value{}; ///< nothing where none is kept
        QString problem{};              ///< in words for people where the keychain could not be asked
    };

    virtual ~SecretStore() = default;

    virtual void read(const QString& account, std::function<void(const Secret&)> done) = 0;

    /// The other two call back with the problem in words for people, or with an empty text. Removing what is
    /// not there is no problem.
    virtual void write(const QString& account, const QString& secret,
                       std::function<void(const QString& problem)> done) = 0;
    virtual void remove(const QString& account, std::function<void(const QString& problem)> done) = 0;
};

} // namespace merlode
