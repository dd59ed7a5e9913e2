#pragma once

#include "platform/http_client.h"
#include "platform/secret_store.h"
#include "platform/service_discovery.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

class QCoreApplication;

namespace merlode {

class Alerts;
class MediaLibrary;
struct MpdAddress;
class RunLoop;
class Session;
class WindowsLink;
struct WindowOptions;

/// Parts of the program that are loaded when they are needed, from ../lib/merlode beside the executable. A
/// module that cannot be loaded is reported once in the log; what it would have done is then not there. Any
/// thread.
namespace modules {

/// The core application with widgets, for a display. Null where the module is missing.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv);

/// Alerts as message boxes; null where the module is missing.
std::unique_ptr<Alerts> makeAlerts(RunLoop& loop);

/// The windows and the item in the bar, by Qt's widgets; the session must have all that they ask. Main
/// thread. Null where the module is missing.
std::unique_ptr<WindowsLink> makeWindows(Session& session, const WindowOptions& options);

/// Makes one album of the demo's music below `folder`, counted as in `demoCatalogue`, or all that are not
/// there yet, or until `stop` is set. Blocks for seconds: not on the main thread. False where it cannot be
/// made.
bool makeDemoAlbum(const QString& folder, int index);
bool makeDemoLibrary(const QString& folder, const std::atomic<bool>& stop);

/// The picture that a music file carries. Blocks: for dispatch queues.
std::optional<QByteArray> embeddedPicture(const QByteArray& path);

/// The music below the folder that `folder` tells, which is asked on the main thread now and at each scan;
/// what is known of it lies in XDG_CACHE_HOME/merlode. The session must outlive it. Main thread, which the
/// module's loading holds up for some milliseconds. Null where the module is missing.
std::unique_ptr<MediaLibrary> makeMediaLibrary(Session& session, const std::function<QString()>& folder);

/// The same for the music in the database of the MPD at this address.
std::unique_ptr<MediaLibrary> makeMpdMediaLibrary(Session& session, const MpdAddress& address);

/// The desktop's keychain. Main thread. Null where the module is missing.
std::unique_ptr<SecretStore> makeSecretStore(RunLoop& loop);

/// Services on the local network. Main thread. Null where the module is missing.
std::unique_ptr<ServiceDiscovery> makeServiceDiscovery(RunLoop& loop);

/// Web services that live as long as what `keep` holds, in place of the public ones; see `DemoServices`.
/// Their base address, empty where they cannot be started.
QString startDemoServices(std::shared_ptr<void>& keep);

} // namespace modules

/// Web requests through a client that is loaded with the first of them. Any thread.
class LazyHttpClient final : public HttpClient {
  public:
    /// The session must outlive this object, which is one of its ports.
    explicit LazyHttpClient(Session& session) : session_(session) {}

    using HttpClient::send;
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation, QString* failure) override;
    std::vector<Reply> sendAll(const std::vector<HttpRequest>& requests,
                               const HttpCancellation& cancellation) override;
    void sendAsync(HttpRequest request, std::function<void(Reply)> done) override;

  private:
    HttpClient* client();

    Session& session_;
    std::once_flag loaded_;
    std::unique_ptr<HttpClient> client_;
};

/// The keychain, loaded with the first question to it. Main thread.
class LazySecretStore final : public SecretStore {
  public:
    explicit LazySecretStore(RunLoop& loop) : loop_(loop) {}

    void read(const QString& account, std::function<void(const Secret&)> done) override;
    void write(const QString& account, const QString& secret,
               std::function<void(const QString&)> done) override;
    void remove(const QString& account, std::function<void(const QString&)> done) override;

  private:
    SecretStore* store();

    RunLoop& loop_;
    bool loaded_ = false;
    std::unique_ptr<SecretStore> store_;
};

/// Discovery on the local network, by a part of the program that is loaded with the first use. Main thread,
/// which the loading holds up for some milliseconds.
class LazyServiceDiscovery final : public ServiceDiscovery {
  public:
    explicit LazyServiceDiscovery(RunLoop& loop) : loop_(loop) {}

    std::unique_ptr<Activity> publish(const Service& service, PublishCallbacks callbacks) override;
    std::unique_ptr<Activity> browse(const QString& type, BrowseCallbacks callbacks) override;
    std::unique_ptr<Activity> resolve(const QString& type, const QString& name, double seconds,
                                      ResolveCallbacks callbacks) override;
    QString unavailableReason() const override;

  private:
    ServiceDiscovery* discovery();

    RunLoop& loop_;
    bool loaded_ = false;
    std::unique_ptr<ServiceDiscovery> discovery_;
};

} // namespace merlode
