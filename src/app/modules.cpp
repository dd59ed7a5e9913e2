#include "app/modules.h"

#include "base/run_loop.h"
#include "base/session.h"
#include "platform/alerts.h"
#include "platform/media_library.h"
#include "ui/windows_link.h"

#include <QCoreApplication>
#include <QFile>
#include <QLibrary>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <filesystem>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

const QString kMissingPart = QStringLiteral("the part of the program that asks the keychain is missing");
const QString kWebQueue = QStringLiteral("co.vantry.Merlode.Web");

// Known without a QCoreApplication, which one of the modules makes.
QString moduleFolder() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return QString::fromStdString((executable.parent_path().parent_path() / "lib" / "merlode").string());
}

template<class Function>
Function* find(const QString& module, const char* symbol) {
    QLibrary library(moduleFolder() + u'/' + module);
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const auto function = library.resolve(symbol);
    if (!function)
        qCWarning(log).noquote() << "a part of the program is missing:" << library.errorString();
    return reinterpret_cast<Function*>(function);
}

QByteArray libraryCacheFile() {
    return QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                             QStringLiteral("/merlode/library.sqlite"));
}

} // namespace

namespace modules {

std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) {
    const auto make =
        find<QCoreApplication*(int*, char**)>(QStringLiteral("merlode-widgets"), "merlodeMakeApplication");
    return std::unique_ptr<QCoreApplication>(make ? make(&argc, argv) : nullptr);
}

std::unique_ptr<Alerts> makeAlerts(RunLoop& loop) {
    const auto make = find<Alerts*(RunLoop*)>(QStringLiteral("merlode-widgets"), "merlodeMakeAlerts");
    return std::unique_ptr<Alerts>(make ? make(&loop) : nullptr);
}

std::unique_ptr<WindowsLink> makeWindows(Session& session, const WindowOptions& options) {
    const auto make = find<WindowsLink*(Session*, const WindowOptions*)>(QStringLiteral("merlode-widgets"),
                                                                         "merlodeMakeWindows");
    return std::unique_ptr<WindowsLink>(make ? make(&session, &options) : nullptr);
}

bool makeDemoAlbum(const QString& folder, int index) {
    const auto make = find<bool(const QString*, int)>(QStringLiteral("merlode-demo"), "merlodeMakeDemoAlbum");
    return make && make(&folder, index);
}

bool makeDemoLibrary(const QString& folder, const std::atomic<bool>& stop) {
    const auto make = find<bool(const QString*, const std::atomic<bool>*)>(QStringLiteral("merlode-demo"),
                                                                           "merlodeMakeDemoLibrary");
    return make && make(&folder, &stop);
}

std::optional<QByteArray> embeddedPicture(const QByteArray& path) {
    static const auto read = find<bool(const QByteArray*, QByteArray*)>(QStringLiteral("merlode-tags"),
                                                                        "merlodeReadEmbeddedPicture");
    QByteArray picture;
    return read && read(&path, &picture) ? std::optional(picture) : std::nullopt;
}

std::unique_ptr<MediaLibrary> makeMediaLibrary(Session& session, const std::function<QString()>& folder) {
    const auto make = find<MediaLibrary*(Session*, const QByteArray*, const std::function<QString()>*)>(
        QStringLiteral("merlode-library"), "merlodeMakeMediaLibrary");
    const auto cache = libraryCacheFile();
    return std::unique_ptr<MediaLibrary>(make ? make(&session, &cache, &folder) : nullptr);
}

std::unique_ptr<MediaLibrary> makeMpdMediaLibrary(Session& session, const MpdAddress& address) {
    const auto make = find<MediaLibrary*(Session*, const QByteArray*, const MpdAddress*)>(
        QStringLiteral("merlode-library"), "merlodeMakeMpdMediaLibrary");
    const auto cache = libraryCacheFile();
    return std::unique_ptr<MediaLibrary>(make ? make(&session, &cache, &address) : nullptr);
}

std::unique_ptr<SecretStore> makeSecretStore(RunLoop& loop) {
    const auto make =
        find<SecretStore*(RunLoop*)>(QStringLiteral("merlode-keychain"), "merlodeMakeSecretStore");
    return std::unique_ptr<SecretStore>(make ? make(&loop) : nullptr);
}

std::unique_ptr<ServiceDiscovery> makeServiceDiscovery(RunLoop& loop) {
    const auto make =
        find<ServiceDiscovery*(RunLoop*)>(QStringLiteral("merlode-discovery"), "merlodeMakeServiceDiscovery");
    return std::unique_ptr<ServiceDiscovery>(make ? make(&loop) : nullptr);
}

QString startDemoServices(std::shared_ptr<void>& keep) {
    QString address;
    if (const auto start = find<void(std::shared_ptr<void>*, QString*)>(QStringLiteral("merlode-demo"),
                                                                        "merlodeStartDemoServices"))
        start(&keep, &address);
    return address;
}

} // namespace modules

HttpClient* LazyHttpClient::client() {
    std::call_once(loaded_, [this] {
        const auto make =
            find<HttpClient*(Session*)>(QStringLiteral("merlode-http"), "merlodeMakeHttpClient");
        client_.reset(make ? make(&session_) : nullptr);
    });
    return client_.get();
}

HttpClient::Reply LazyHttpClient::send(const HttpRequest& request, const HttpCancellation& cancellation,
                                       QString* failure) {
    if (auto* loaded = client())
        return loaded->send(request, cancellation, failure);
    if (failure)
        *failure = QStringLiteral("the part of the program that asks it is missing");
    return std::nullopt;
}

std::vector<HttpClient::Reply> LazyHttpClient::sendAll(const std::vector<HttpRequest>& requests,
                                                       const HttpCancellation& cancellation) {
    auto* loaded = client();
    return loaded ? loaded->sendAll(requests, cancellation) : std::vector<Reply>(requests.size());
}

void LazyHttpClient::sendAsync(HttpRequest request, std::function<void(Reply)> done) {
    // The caller may be the main thread, which does not wait for libraries to be loaded.
    session_.queue(kWebQueue).async([this, request = std::move(request), done = std::move(done)]() mutable {
        if (auto* loaded = client())
            return loaded->sendAsync(std::move(request), std::move(done));
        session_.runLoop().async([done = std::move(done)] { done(std::nullopt); });
    });
}

SecretStore* LazySecretStore::store() {
    if (!std::exchange(loaded_, true))
        store_ = modules::makeSecretStore(loop_);
    return store_.get();
}

void LazySecretStore::read(const QString& account, std::function<void(const Secret&)> done) {
    if (auto* loaded = store())
        return loaded->read(account, std::move(done));
    loop_.async([done = std::move(done)] { done({.problem = kMissingPart}); });
}

void LazySecretStore::write(const QString& account, const QString& secret,
                            std::function<void(const QString&)> done) {
    if (auto* loaded = store())
        return loaded->write(account, secret, std::move(done));
    loop_.async([done = std::move(done)] { done(kMissingPart); });
}

void LazySecretStore::remove(const QString& account, std::function<void(const QString&)> done) {
    if (auto* loaded = store())
        return loaded->remove(account, std::move(done));
    loop_.async([done = std::move(done)] { done(kMissingPart); });
}

// Discovery.

namespace {

const QString kDiscoveryMissing = QStringLiteral("the part of the program that does it is missing");

// What stands in for an activity that cannot begin: it ends as every other does, and tells why at its start.
class MissingActivity final : public ServiceDiscovery::Activity {
  public:
    MissingActivity(RunLoop& loop, const std::function<void(const QString&)>& failed,
                    std::function<void()> didStop)
        : loop_(loop), didStop_(std::move(didStop)) {
        if (failed)
            telling_ = loop.after(0, [failed] { failed(kDiscoveryMissing); });
    }
    void stop() override {
        if (auto didStop = std::exchange(didStop_, nullptr))
            telling_ = loop_.after(0, std::move(didStop));
    }

  private:
    RunLoop& loop_;
    std::function<void()> didStop_;
    Timer telling_;
};

} // namespace

ServiceDiscovery* LazyServiceDiscovery::discovery() {
    if (!std::exchange(loaded_, true))
        discovery_ = modules::makeServiceDiscovery(loop_);
    return discovery_.get();
}

std::unique_ptr<ServiceDiscovery::Activity> LazyServiceDiscovery::publish(const Service& service,
                                                                          PublishCallbacks callbacks) {
    if (auto* loaded = discovery())
        return loaded->publish(service, std::move(callbacks));
    return std::make_unique<MissingActivity>(loop_, callbacks.didNotPublish, callbacks.didStop);
}

std::unique_ptr<ServiceDiscovery::Activity> LazyServiceDiscovery::browse(const QString& type,
                                                                         BrowseCallbacks callbacks) {
    if (auto* loaded = discovery())
        return loaded->browse(type, std::move(callbacks));
    return std::make_unique<MissingActivity>(loop_, callbacks.didNotSearch, callbacks.didStop);
}

std::unique_ptr<ServiceDiscovery::Activity> LazyServiceDiscovery::resolve(const QString& type,
                                                                          const QString& name, double seconds,
                                                                          ResolveCallbacks callbacks) {
    if (auto* loaded = discovery())
        return loaded->resolve(type, name, seconds, std::move(callbacks));
    return std::make_unique<MissingActivity>(loop_, callbacks.didNotResolve, nullptr);
}

QString LazyServiceDiscovery::unavailableReason() const {
    if (discovery_)
        return discovery_->unavailableReason();
    return loaded_ ? kDiscoveryMissing : QString();
}

} // namespace merlode
