#include "platform/linux/avahi_responder.h"

#include <QLoggingCategory>
#include <QRandomGenerator>

#include <avahi-common/address.h>
#include <avahi-common/error.h>
#include <avahi-core/log.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

QByteArray randomHostName() {
    return "merlode-" +
           QByteArray::number(QRandomGenerator::system()->generate(), 16).rightJustified(8, '0') + ".local";
}

// It grumbles about each interface without IPv6, every time that it sends.
void logQuietly(AvahiLogLevel, const char* text) {
    qCDebug(log) << text;
}

struct Configuration : AvahiServerConfig {
    explicit Configuration(const QStringList& interfaces) : AvahiServerConfig() {
        avahi_server_config_init(this);
        publish_hinfo = 0;
        publish_workstation = 0;
        publish_domain = 0;
        publish_addresses = 0; // see `announcedHostName`
        publish_a_on_ipv6 = 1;
        enable_wide_area = 0;
        for (const auto& name : interfaces)
            allow_interfaces = avahi_string_list_add(allow_interfaces, name.toUtf8().constData());
    }
    ~Configuration() { avahi_server_config_free(this); }
    Configuration(const Configuration&) = delete;
    Configuration& operator=(const Configuration&) = delete;
};

} // namespace

AvahiResponder::AvahiResponder(RunLoop& loop) : runLoop_(loop), loop_(loop), hostName_(randomHostName()) {}

std::shared_ptr<AvahiResponder> AvahiResponder::start(RunLoop& loop, const QStringList& interfaces,
                                                      QString& error) {
    std::shared_ptr<AvahiResponder> responder(new AvahiResponder(loop));
    avahi_set_log_function(logQuietly);
    const Configuration configuration(interfaces);
    int code = 0;
    responder->server_ = avahi_server_new(
        responder->loop_.api(), &configuration,
        [](AvahiServer* server, AvahiServerState state, void*) {
            if (state == AVAHI_SERVER_FAILURE)
                qCWarning(log) << "multicast DNS failed:" << avahi_strerror(avahi_server_errno(server));
        },
        nullptr, &code);
    if (responder->server_)
        return responder;
    error = QString::fromUtf8(avahi_strerror(code));
    return nullptr;
}

AvahiResponder::~AvahiResponder() {
    if (server_)
        avahi_server_free(server_); // says good-bye for everything
}

QString AvahiResponder::lastError() const {
    return QString::fromUtf8(avahi_strerror(avahi_server_errno(server_)));
}

const QByteArray& AvahiResponder::announcedHostName() {
    if (!changes_) {
        announceAddresses();
        changes_.emplace(runLoop_, [this] { announceAddresses(); });
    }
    return hostName_;
}

void AvahiResponder::announceAddresses() {
    const auto present = networkAddresses();
    if (addressGroup_ && present == announced_)
        return;
    announced_ = present;
    if (addressGroup_)
        avahi_s_entry_group_free(addressGroup_);
    addressGroup_ = avahi_s_entry_group_new(
        server_, [](AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState, void*) {}, nullptr);
    for (const auto& [interfaceIndex, text] : present) {
        AvahiAddress address{};
        if (!avahi_address_parse(text.toLatin1().constData(), AVAHI_PROTO_UNSPEC, &address))
            continue;
        // Without the record that leads from the address back to a name: of those there can be one only.
        const int code = avahi_server_add_address(
            server_, addressGroup_, static_cast<AvahiIfIndex>(interfaceIndex), AVAHI_PROTO_UNSPEC,
            AVAHI_PUBLISH_NO_REVERSE, hostName_.constData(), &address);
        if (code < 0)
            qCWarning(log) << "the address" << text << "cannot be announced:" << avahi_strerror(code);
    }
    avahi_s_entry_group_commit(addressGroup_);
}

} // namespace merlode
