#include "platform/linux/keychain_secret_store.h"

// Loaded by those who have a secret to keep: most people never sign in anywhere.
extern "C" merlode::SecretStore* merlodeMakeSecretStore(merlode::RunLoop* loop) {
    return new merlode::KeychainSecretStore(*loop);
}
