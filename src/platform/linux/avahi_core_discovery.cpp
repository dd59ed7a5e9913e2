#include "platform/linux/avahi_core_discovery.h"

#include "platform/linux/deferred_calls.h"
#include "platform/linux/found_services.h"
#include "platform/linux/service_names.h"

#include <array>

#include <avahi-common/error.h>
#include <avahi-core/lookup.h>
#include <net/if.h>

namespace merlode {

namespace {

// Seconds that an answer of the one address family waits for that of the other.
constexpr double kOtherFamilyTime = 0.2;

const QString kNotAvailable = QStringLiteral("multicast DNS is not available");

class CorePublication final : public ServiceDiscovery::Activity {
  public:
    CorePublication(RunLoop& loop, std::shared_ptr<AvahiResponder> responder,
                    const ServiceDiscovery::Service& service, ServiceDiscovery::PublishCallbacks callbacks)
        : calls_(loop), callbacks_(std::move(callbacks)), responder_(std::move(responder)) {
        const QString wrong = whyNotAName(service.name);
        if (!wrong.isEmpty())
            failed(wrong);
        else if (!responder_)
            failed(kNotAvailable);
        else
            announce(service);
    }

    ~CorePublication() override { withdraw(); }

    void stop() override {
        if (std::exchange(stopped_, true))
            return;
        withdraw();
        calls_.forget();
        calls_.call(callbacks_.didStop);
    }

  private:
    void announce(const ServiceDiscovery::Service& service) {
        group_ = avahi_s_entry_group_new(
            responder_->server(),
            [](AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
                static_cast<CorePublication*>(self)->changed(state);
            },
            this);
        if (!group_)
            return failed(responder_->lastError());
        const int code = avahi_server_add_service(
            responder_->server(), group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
            service.name.toUtf8().constData(), plainServiceType(service.type).constData(), "local",
            responder_->announcedHostName().constData(), service.port, nullptr);
        if (code < 0)
            return code == AVAHI_ERR_COLLISION ? changed(AVAHI_ENTRY_GROUP_COLLISION)
                                               : failed(QString::fromUtf8(avahi_strerror(code)));
        if (avahi_s_entry_group_commit(group_) < 0)
            failed(responder_->lastError());
    }

    void changed(AvahiEntryGroupState state) {
        if (state == AVAHI_ENTRY_GROUP_ESTABLISHED && !std::exchange(published_, true))
            calls_.call(callbacks_.didPublish);
        else if (state == AVAHI_ENTRY_GROUP_COLLISION)
            failed(ServiceDiscovery::nameIsTaken());
        else if (state == AVAHI_ENTRY_GROUP_FAILURE)
            failed(responder_->lastError());
    }

    void failed(const QString& reason) {
        if (!callbacks_.didNotPublish)
            return;
        calls_.call([tell = callbacks_.didNotPublish, reason] { tell(reason); });
    }

    void withdraw() {
        if (auto* group = std::exchange(group_, nullptr))
            avahi_s_entry_group_free(group);
    }

    DeferredCalls calls_;
    ServiceDiscovery::PublishCallbacks callbacks_;
    std::shared_ptr<AvahiResponder> responder_;
    AvahiSEntryGroup* group_ = nullptr;
    bool published_ = false;
    bool stopped_ = false;
};

class CoreBrowsing final : public ServiceDiscovery::Activity {
  public:
    CoreBrowsing(RunLoop& loop, std::shared_ptr<AvahiResponder> responder, const QString& type,
                 ServiceDiscovery::BrowseCallbacks callbacks)
        : calls_(loop), callbacks_(std::move(callbacks)), responder_(std::move(responder)) {
        if (!responder_)
            failed(kNotAvailable);
        else
            begin(type);
    }

    ~CoreBrowsing() override { end(); }

    void stop() override {
        if (std::exchange(stopped_, true))
            return;
        end();
        calls_.forget();
        calls_.call(callbacks_.didStop);
    }

  private:
    void begin(const QString& type) {
        browser_ = avahi_s_service_browser_new(responder_->server(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                               plainServiceType(type).constData(), "local",
                                               AvahiLookupFlags{}, event, this);
        if (!browser_)
            return failed(responder_->lastError());
        calls_.call(callbacks_.willSearch);
    }

    static void event(AvahiSServiceBrowser*, AvahiIfIndex, AvahiProtocol, AvahiBrowserEvent what,
                      const char* name, const char*, const char*, AvahiLookupResultFlags, void* userdata) {
        auto& self = *static_cast<CoreBrowsing*>(userdata);
        if (what == AVAHI_BROWSER_FAILURE)
            return self.failed(self.responder_->lastError());
        if (what == AVAHI_BROWSER_NEW)
            self.found_.add(QString::fromUtf8(name));
        else if (what == AVAHI_BROWSER_REMOVE)
            self.found_.remove(QString::fromUtf8(name));
        else if (what == AVAHI_BROWSER_ALL_FOR_NOW)
            self.found_.settled();
        self.calls_.call([&self] {
            tellFound(self.calls_, self.found_, self.callbacks_.didFind);
        }); // behind what else this turn brings
    }

    void failed(const QString& reason) {
        if (callbacks_.didNotSearch)
            calls_.call([tell = callbacks_.didNotSearch, reason] { tell(reason); });
    }

    void end() {
        if (auto* browser = std::exchange(browser_, nullptr))
            avahi_s_service_browser_free(browser);
    }

    DeferredCalls calls_;
    ServiceDiscovery::BrowseCallbacks callbacks_;
    std::shared_ptr<AvahiResponder> responder_;
    AvahiSServiceBrowser* browser_ = nullptr;
    FoundServices found_;
    bool stopped_ = false;
};

/// Asks for both address families apart: asked for any, the library is content with the first that it sees.
class CoreResolution final : public ServiceDiscovery::Activity {
  public:
    CoreResolution(RunLoop& loop, std::shared_ptr<AvahiResponder> responder, const QString& type,
                   const QString& name, double seconds, ServiceDiscovery::ResolveCallbacks callbacks)
        : calls_(loop), callbacks_(std::move(callbacks)), responder_(std::move(responder)) {
        if (!responder_)
            failed(kNotAvailable);
        else
            begin(type, name, seconds);
    }

    ~CoreResolution() override { end(); }

    void stop() override {
        end();
        calls_.forget();
    }

  private:
    void begin(const QString& type, const QString& name, double seconds) {
        constexpr std::array families{AVAHI_PROTO_INET, AVAHI_PROTO_INET6};
        for (std::size_t i = 0; i < families.size(); ++i) {
            resolvers_[i] = avahi_s_service_resolver_new(
                responder_->server(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, name.toUtf8().constData(),
                plainServiceType(type).constData(), "local", families[i], AvahiLookupFlags{}, event, this);
        }
        if (!resolvers_[0] && !resolvers_[1])
            return failed(responder_->lastError());
        limit_ = calls_.loop().after(seconds, [this] { timedOut(); });
    }

    static void event(AvahiSServiceResolver*, AvahiIfIndex interface, AvahiProtocol, AvahiResolverEvent what,
                      const char*, const char*, const char*, const char*, const AvahiAddress* address,
                      uint16_t port, AvahiStringList*, AvahiLookupResultFlags, void* userdata) {
        // A failure is left to the time-out: the one family may be there without the other.
        if (what == AVAHI_RESOLVER_FOUND && address)
            static_cast<CoreResolution*>(userdata)->found(*address, interface, port);
    }

    void found(const AvahiAddress& address, AvahiIfIndex interface, quint16 port) {
        std::array<char, AVAHI_ADDRESS_STR_MAX> text{};
        avahi_address_snprint(text.data(), text.size(), &address);
        port_ = port;
        answers_.add(QString::fromLatin1(text.data()), static_cast<unsigned>(interface));
        if (address.proto == AVAHI_PROTO_INET)
            settle_ = calls_.loop().after(0, [this] { resolved(); });
        else if (!settle_)
            settle_ = calls_.loop().after(kOtherFamilyTime, [this] { resolved(); });
    }

    void resolved() {
        end();
        if (callbacks_.didResolve)
            calls_.call([tell = callbacks_.didResolve, addresses = answers_.inOrder(port_), port = port_] {
                tell(addresses, port);
            });
    }

    void timedOut() {
        if (settle_)
            return;
        failed(QStringLiteral("nobody answered"));
    }

    void failed(const QString& reason) {
        end();
        if (callbacks_.didNotResolve)
            calls_.call([tell = callbacks_.didNotResolve, reason] { tell(reason); });
    }

    void end() {
        limit_.invalidate();
        settle_.invalidate();
        for (auto& resolver : resolvers_) {
            if (auto* ended = std::exchange(resolver, nullptr))
                avahi_s_service_resolver_free(ended);
        }
    }

    DeferredCalls calls_;
    ServiceDiscovery::ResolveCallbacks callbacks_;
    std::shared_ptr<AvahiResponder> responder_;
    std::array<AvahiSServiceResolver*, 2> resolvers_{};
    ResolvedAddresses answers_;
    quint16 port_ = 0;
    Timer limit_;
    Timer settle_;
};

} // namespace

AvahiCoreDiscovery::AvahiCoreDiscovery(RunLoop& loop, QStringList interfaces)
    : loop_(loop), interfaces_(std::move(interfaces)) {}

std::shared_ptr<AvahiResponder> AvahiCoreDiscovery::responder() {
    auto responder = running_.lock();
    if (!responder)
        responder = AvahiResponder::start(loop_, interfaces_, error_);
    if (responder) {
        error_.clear();
        running_ = responder;
        linger_ = loop_.after(kLingerTime, [this, held = responder] { linger_ = {}; });
    }
    return responder;
}

std::unique_ptr<ServiceDiscovery::Activity> AvahiCoreDiscovery::publish(const Service& service,
                                                                        PublishCallbacks callbacks) {
    return std::make_unique<CorePublication>(loop_, responder(), service, std::move(callbacks));
}

std::unique_ptr<ServiceDiscovery::Activity> AvahiCoreDiscovery::browse(const QString& type,
                                                                       BrowseCallbacks callbacks) {
    return std::make_unique<CoreBrowsing>(loop_, responder(), type, std::move(callbacks));
}

std::unique_ptr<ServiceDiscovery::Activity> AvahiCoreDiscovery::resolve(const QString& type,
                                                                        const QString& name, double seconds,
                                                                        ResolveCallbacks callbacks) {
    return std::make_unique<CoreResolution>(loop_, responder(), type, name, seconds, std::move(callbacks));
}

} // namespace merlode
