#include "model/service_hosts.h"

#include "base/defaults_keys.h"
#include "platform/user_defaults.h"

#include <QLoggingCategory>
#include <QUrl>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.model", QtWarningMsg)

bool isBaseAddress(const QUrl& url) {
    const bool web = url.scheme() == u"https" || url.scheme() == u"http";
    const bool bare = (url.path().isEmpty() || url.path() == u"/") && !url.hasQuery() && !url.hasFragment();
    return url.isValid() && web && bare && !url.host().isEmpty();
}

} // namespace

ServiceHosts ServiceHosts::fromDefaults(const UserDefaults& userDefaults) {
    ServiceHosts hosts;
    const auto read = [&userDefaults](DefaultsKey<QString> key, QString& host) {
        const auto text = userDefaults.valueFor(key);
        if (!text || text->isEmpty())
            return;
        const QUrl url(text->trimmed(), QUrl::StrictMode);
        if (isBaseAddress(url))
            host = url.adjusted(QUrl::RemovePath).toString();
        else
            qCWarning(log).noquote() << "the setting" << key.text() << "is no web address; using" << host;
    };
    read(defaults::kSpotifyAPIHost, hosts.spotifyAPI);
    read(defaults::kITunesSearchHost, hosts.iTunesSearch);
    read(defaults::kITunesStoreHost, hosts.iTunesStore);
    read(defaults::kLastFMAPIHost, hosts.lastFMAPI);
    read(defaults::kLastFMWebHost, hosts.lastFMWeb);
    read(defaults::kRdioHost, hosts.rdio);
    read(defaults::kPandoraHost, hosts.pandora);
    return hosts;
}

} // namespace merlode
