#include "platform/linux/mpd_address.h"

#include "platform/linux/mpd_connection.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace merlode {

namespace {

// "password@host", as every MPD client reads it: the first '@' divides, and a leading one marks an abstract
// socket.
MpdAddress parseHost(const QString& text, quint16 port) {
    MpdAddress address;
    address.port = port;
    const auto at = text.indexOf(u'@');
    if (at > 0)
        address.password = text.left(at);
    const QString place = at > 0 ? text.mid(at + 1) : text;
    if (place.startsWith(u'/') || place.startsWith(u'@'))
        address.socketPath = place;
    else if (place.startsWith(u'[') && place.endsWith(u']'))
        address.host = place.mid(1, place.size() - 2);
    else
        address.host = place.isEmpty() ? QStringLiteral("localhost") : place;
    return address;
}

quint16 parsePort(const QString& text) {
    bool ok = false;
    const ushort port = text.trimmed().toUShort(&ok);
    return ok && port > 0 ? port : MpdAddress::kDefaultPort;
}

// One that does not tell, to whoever has no password say, is somebody's.
bool hasMusic(MpdConnection& connection, double seconds) {
    const auto reply = connection.run({"stats", {}}, seconds);
    return !reply || reply.value("songs") != "0";
}

// The answers of all candidates. Shared with the probes, which may outlive the call that waits for them.
struct Answers {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::optional<bool>> greeted;

    void note(std::size_t index, bool value) {
        const std::lock_guard lock(mutex);
        greeted[index] = value;
        changed.notify_all();
    }

    // Decided once everything before the first greeting has failed: the order is the user's preference.
    bool decided() const {
        const auto first = std::ranges::find_if(greeted, [](auto& answer) { return answer.value_or(true); });
        return first == greeted.end() || first->has_value();
    }
};

} // namespace

QString MpdAddress::text() const {
    if (isSocket())
        return socketPath;
    const QString name = host.contains(u':') ? u'[' + host + u']' : host;
    return name + u':' + QString::number(port);
}

std::vector<MpdAddress> userMpdAddresses(const QProcessEnvironment& environment) {
    std::vector<MpdAddress> addresses;
    const auto add = [&addresses](const MpdAddress& address) {
        if (std::ranges::find(addresses, address.text(), &MpdAddress::text) == addresses.end())
            addresses.push_back(address);
    };
    const QString host = environment.value(QStringLiteral("MPD_HOST"));
    const QString port = environment.value(QStringLiteral("MPD_PORT"));
    if (!host.isEmpty() || !port.isEmpty())
        add(parseHost(host, parsePort(port)));
    const QString runtime = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    if (runtime.startsWith(u'/'))
        add({.socketPath = runtime + QStringLiteral("/mpd/socket"), .host = {}, .password = {}});
    add({.socketPath = {}, .host = QStringLiteral("localhost"), .password = {}, .guessed = true});
    return addresses;
}

std::optional<MpdAddress> findRunningMpd(const std::vector<MpdAddress>& candidates, double seconds,
                                         Executor& executor) {
    const auto answers = std::make_shared<Answers>();
    answers->greeted.resize(candidates.size());
    for (std::size_t index = 0; index < candidates.size(); ++index) {
        executor.execute([answers, index, seconds, address = candidates[index]] {
            MpdConnection connection(address);
            const bool greeted = connection.open(seconds);
            answers->note(index, greeted && (!address.guessed || hasMusic(connection, seconds)));
        });
    }
    std::unique_lock lock(answers->mutex);
    answers->changed.wait_for(lock, std::chrono::duration<double>(seconds),
                              [&] { return answers->decided(); });
    const auto first = std::ranges::find(answers->greeted, std::optional(true));
    if (first == answers->greeted.end())
        return std::nullopt;
    return candidates[static_cast<std::size_t>(first - answers->greeted.begin())];
}

} // namespace merlode
