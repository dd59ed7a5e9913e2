#include "platform/linux/keychain_secret_store.h"

#include "base/run_loop.h"

#include <qt6keychain/keychain.h>

#include <list>

namespace merlode {

namespace {

const QString kService = QStringLiteral("co.vantry.Merlode");

QString problemOf(const QKeychain::Job& job) {
    switch (job.error()) {
    case QKeychain::NoError:
    case QKeychain::EntryNotFound:
        return {};
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented:
        return QStringLiteral("there is no keychain (Secret Service) on this desktop");
    case QKeychain::AccessDeniedByUser:
    case QKeychain::AccessDenied:
        return QStringLiteral("the keychain was not opened");
    default:
        break;
    }
    return QStringLiteral("the keychain failed: %1").arg(job.errorString());
}

} // namespace

/// The calls under way. What ends first, the answer or the time, is what counts.
struct KeychainSecretStore::Jobs {
    struct Running {
        std::function<void(QKeychain::Job*)> done; ///< with null when the time is over
        Timer timeOut{};
    };
    std::list<Running> running;

    static void start(const std::shared_ptr<Jobs>& jobs, RunLoop& loop, QKeychain::Job* job,
                      std::function<void(QKeychain::Job*)> done) {
        const auto place = jobs->running.insert(jobs->running.end(), Running{std::move(done)});
        const auto finished = std::make_shared<bool>(false);
        const auto finish = [weak = std::weak_ptr(jobs), place, finished](QKeychain::Job* ended) {
            const auto held = weak.lock();
            if (!held || std::exchange(*finished, true))
                return;
            const Running last = std::move(*place);
            held->running.erase(place);
            last.done(ended);
        };
        place->timeOut = loop.after(kTimeOut, [finish] { finish(nullptr); });
        job->setInsecureFallback(false);
        // A job ends on Qt's loop; what follows belongs on the program's. It deletes itself only afterwards.
        job->setAutoDelete(false);
        QObject::connect(job, &QKeychain::Job::finished, job,
                         [&loop, finish, job, weak = std::weak_ptr(jobs)] {
                             if (weak.expired())
                                 return job->deleteLater();
                             loop.async([finish, job] {
                                 finish(job);
                                 job->deleteLater();
                             });
                         });
        job->start();
    }
};

KeychainSecretStore::KeychainSecretStore(RunLoop& loop) : loop_(loop), jobs_(std::make_shared<Jobs>()) {}

KeychainSecretStore::~KeychainSecretStore() = default;

static QString problemOrLate(const QKeychain::Job* job) {
    return job ? problemOf(*job) : QStringLiteral("the keychain did not answer");
}

void KeychainSecretStore::read(const QString& account, std::function<void(const Secret&)> done) {
    auto* job = new QKeychain::ReadPasswordJob(kService);
    job->setKey(account);
    Jobs::start(jobs_, loop_, job, [done = std::move(done)](QKeychain::Job* ended) {
        Secret secret{.problem = problemOrLate(ended)};
        if (ended && ended->error() == QKeychain::NoError)
            secret.value = static_cast<QKeychain::ReadPasswordJob*>(ended)->textData();
        done(secret);
    });
}

void KeychainSecretStore::write(const QString& account, const QString& secret,
                                std::function<void(const QString&)> done) {
    auto* job = new QKeychain::WritePasswordJob(kService);
    job->setKey(account);
    job->setTextData(secret);
    Jobs::start(jobs_, loop_, job,
                [done = std::move(done)](QKeychain::Job* ended) { done(problemOrLate(ended)); });
}

void KeychainSecretStore::remove(const QString& account, std::function<void(const QString&)> done) {
    auto* job = new QKeychain::DeletePasswordJob(kService);
    job->setKey(account);
    Jobs::start(jobs_, loop_, job,
                [done = std::move(done)](QKeychain::Job* ended) { done(problemOrLate(ended)); });
}

} // namespace merlode
