#pragma once

#include "platform/secret_store.h"

#include <memory>

namespace merlode {

class RunLoop;

/// The desktop's Secret Service. Never falls back to a file in plain text: where there is no keychain, that
/// is the problem that is told.
class KeychainSecretStore final : public SecretStore {
  public:
    /// Seconds after which a keychain counts as stuck. Long enough for somebody to type a password.
    static constexpr double kTimeOut = 60.0;

    explicit KeychainSecretStore(RunLoop& loop);
    ~KeychainSecretStore() override;

    void read(const QString& account, std::function<void(const Secret&)> done) override;
    void write(const QString& account, const QString& secret,
               std::function<void(const QString&)> done) override;
    void remove(const QString& account, std::function<void(const QString&)> done) override;

  private:
    struct Jobs;

    RunLoop& loop_;
    std::shared_ptr<Jobs> jobs_;
};

} // namespace merlode
