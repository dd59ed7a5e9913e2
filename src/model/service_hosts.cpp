#include "model/service_hosts.h"

#include "base/session.h"
#include "platform/user_defaults.h"

#include <QLoggingCategory>
#include <QUrl>

#include <optional>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.model", QtWarningMsg)

struct Host {
    DefaultsKey<QString> key;
    const char* address = "";
};

// In the order of WebService. "Defaults.plist" says the same, for whoever looks for the settings there; these
// are for a setting that makes no sense.
constexpr std::array<Host, 8> kHosts = {{
    {defaults::kSpotifyAPIAddress, "https://api.spotify.com"},
    {defaults::kSpotifyAccountsAddress, "https://accounts.spotify.com"},
    {defaults::kITunesSearchAddress, "https://itunes.apple.com"},
    {defaults::kITunesStoreAddress, "https://itunes.apple.com"},
    {defaults::kLastFMAPIAddress, "https://ws.audioscrobbler.com"},
    {defaults::kLastFMWebAddress, "https://www.last.fm"},
    {defaults::kRdioAddress, "https://services.rdio.com"},
    {defaults::kPandoraAddress, "http://www.pandora.com"},
}};

// Scheme, host and port, and nothing more.
std::optional<QString> baseAddress(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb = url.isValid() && (url.scheme() == u"http" || url.scheme() == u"https");
    const bool isBare = (url.path().isEmpty() || url.path() == u"/") && url.userInfo().isEmpty() &&
                        !url.hasQuery() && !url.hasFragment();
    if (!isWeb || !isBare || url.host().isEmpty())
        return std::nullopt;
    return url.toString(QUrl::RemovePath | QUrl::FullyEncoded);
}

} // namespace

ServiceHosts& ServiceHosts::sharedController() {
    return Session::current().shared<ServiceHosts>();
}

ServiceHosts::ServiceHosts() {
    const auto& userDefaults = Session::current().port<UserDefaults>();
    for (std::size_t index = 0; index < kHosts.size(); ++index) {
        const auto& host = kHosts[index];
        addresses_[index] = QString::fromLatin1(host.address);
        const QVariant setting = userDefaults.value(host.key.text());
        if (!setting.isValid())
            continue;
        if (const auto address = baseAddress(setting.toString()))
            addresses_[index] = *address;
        else
            qCWarning(log).noquote() << QStringLiteral("the setting \"%1\" is no base address; %2 is asked")
                                            .arg(host.key.text(), addresses_[index]);
    }
}

void ServiceHosts::setAll(UserDefaults& userDefaults, const QString& address) {
    for (const auto& host : kHosts)
        userDefaults.set(host.key, address);
}

} // namespace merlode
