#include "ctl/render.h"

#include "base/control_interface.h"
#include "ctl/plain_text.h"

#include <QJsonDocument>
#include <QStringList>

#include <algorithm>
#include <array>
#include <map>

namespace merlode::ctl {

namespace {

QString text(const QJsonObject& object, const char* key) {
    return plainText(object.value(QLatin1String(key)).toString());
}

QString clockOf(const QJsonObject& status, const char* key) {
    const auto value = status.value(QLatin1String(key));
    return value.isDouble() ? clockText(static_cast<qint64>(value.toDouble())) : QString();
}

QString line(const QString& name, const QString& value) {
    return value.isEmpty() ? QString() : QStringLiteral("%1%2\n").arg(name, -10).arg(value);
}

QString positionText(const QJsonObject& status) {
    const auto position = clockOf(status, control::status::kPosition);
    const auto duration = clockOf(status, control::status::kDuration);
    if (position.isEmpty() || duration.isEmpty())
        return position + duration;
    return position + QStringLiteral(" / ") + duration;
}

QString volumeText(const QJsonObject& status) {
    const auto volume = status.value(QLatin1String(control::status::kVolume));
    const bool muted = status.value(QLatin1String(control::status::kMuted)).toBool();
    if (!volume.isDouble())
        return muted ? QStringLiteral("muted") : QString();
    return QString::number(volume.toInt()) + (muted ? QStringLiteral(" (muted)") : QString());
}

// The program is what people know; the role has its name for historical reasons.
QString playerText(const QJsonObject& status) {
    const auto program = text(status, control::status::kProgram);
    return program.isEmpty() ? text(status, control::status::kPlayer) : program;
}

// Nothing where no other machine has to do with it.
QString roleText(const QJsonObject& status) {
    const auto role = text(status, control::status::kRole);
    return role == QStringLiteral("local") ? QString() : line(QStringLiteral("Role"), role);
}

QString playerState(const QJsonObject& player) {
    const auto holds = [&](const char* key) { return player.value(QLatin1String(key)).toBool(); };
    QString state;
    if (text(player, "state") == QStringLiteral("playing"))
        state = QStringLiteral("playing");
    else if (holds("running"))
        state = QStringLiteral("running");
    else
        state = holds("installed")                  ? QStringLiteral("installed")
                : text(player, "program").isEmpty() ? QStringLiteral("not set")
                                                    : QStringLiteral("not installed");
    const bool switchedOff = player.contains(QStringLiteral("enabled")) && !holds("enabled");
    return switchedOff ? state + QStringLiteral(", switched off") : state;
}

using Row = std::array<QString, 3>;

Row playerRow(const QJsonObject& player) {
    const auto role = text(player, "role");
    const auto program = text(player, "program");
    const QChar mark = player.value(QStringLiteral("active")).toBool() ? u'*' : u' ';
    return {QString(mark) + u' ' + (role.isEmpty() ? QStringLiteral("-") : role),
            program.isEmpty() ? QStringLiteral("-") : program, playerState(player)};
}

// Columns two blanks apart; the last may be of any width.
template<std::size_t Columns>
QString table(const std::vector<std::array<QString, Columns>>& rows) {
    std::array<qsizetype, Columns - 1> widths{};
    for (const auto& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    QString result;
    for (const auto& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column)
            result += row[column].leftJustified(widths[column]) + QStringLiteral("  ");
        result += row.back() + u'\n';
    }
    return result;
}

// Titles can be of any length; a row is one line.
QString cut(const QString& name) {
    constexpr qsizetype kWidest = 36;
    return name.size() <= kWidest ? name : name.left(kWidest - 1) + u'\u2026';
}

std::array<QString, 6> searchRow(const QJsonObject& row) {
    QStringList services;
    for (const auto& service : row.value(QStringLiteral("services")).toArray())
        services << plainText(service.toString());
    return {QString::number(row.value(QStringLiteral("row")).toInt()).rightJustified(3),
            text(row, "kind"),
            cut(text(row, "title")),
            cut(text(row, "artist")),
            cut(text(row, "album")),
            services.join(u' ')};
}

} // namespace

bool hasNoPlayer(const QJsonObject& status) {
    const auto state = status.value(QLatin1String(control::status::kState)).toString();
    return state.isEmpty() || state == QStringLiteral("none");
}

QString statusText(const QJsonObject& status) {
    const QString roleLine = roleText(status);
    if (hasNoPlayer(status))
        return QStringLiteral("no player is active\n") + roleLine;
    return line(QStringLiteral("State"), text(status, control::status::kState)) +
           line(QStringLiteral("Title"), text(status, control::status::kTitle)) +
           line(QStringLiteral("Artist"), text(status, control::status::kArtist)) +
           line(QStringLiteral("Album"), text(status, control::status::kAlbum)) +
           line(QStringLiteral("Position"), positionText(status)) +
           line(QStringLiteral("Volume"), volumeText(status)) +
           line(QStringLiteral("Player"), playerText(status)) +
           line(QStringLiteral("Art"), text(status, control::status::kArtFile)) + roleLine;
}

QString statusLine(const QJsonObject& status) {
    if (hasNoPlayer(status))
        return QStringLiteral("no player is active");
    QStringList names{text(status, control::status::kArtist), text(status, control::status::kTitle)};
    names.removeAll(QString());
    const auto state = text(status, control::status::kState);
    return names.isEmpty() ? state : state + QStringLiteral(": ") + names.join(QStringLiteral(" - "));
}

QString playersText(const QJsonArray& players) {
    std::vector<Row> roles{{QStringLiteral("  ROLE"), QStringLiteral("PROGRAM"), QStringLiteral("STATE")}};
    std::vector<Row> others;
    for (const auto& value : players) {
        const auto player = value.toObject();
        (text(player, "role").isEmpty() ? others : roles).push_back(playerRow(player));
    }
    roles.insert(roles.end(), others.begin(), others.end());
    return table(roles);
}

QJsonObject limited(const QJsonObject& found, std::optional<int> limit) {
    if (!limit)
        return found;
    std::map<QString, int> counts;
    QJsonArray rows;
    for (const auto& row : found.value(QStringLiteral("rows")).toArray()) {
        if (++counts[text(row.toObject(), "kind")] <= *limit)
            rows.append(row);
    }
    QJsonObject result = found;
    result.insert(QStringLiteral("rows"), rows);
    return result;
}

QString searchText(const QJsonObject& found) {
    std::vector<std::array<QString, 6>> rows;
    for (const auto& row : found.value(QStringLiteral("rows")).toArray())
        rows.push_back(searchRow(row.toObject()));
    QString result = rows.empty() ? QStringLiteral("nothing was found\n") : table(rows);
    for (const auto& value : found.value(QStringLiteral("services")).toArray()) {
        const auto service = value.toObject();
        if (const auto failure = text(service, "failure"); !failure.isEmpty())
            result += QStringLiteral("%1 gave nothing: %2\n").arg(text(service, "service"), failure);
    }
    return result;
}

QString hostsText(const QJsonObject& hosts) {
    const auto connected = text(hosts, "connected");
    bool listed = false;
    QString result;
    for (const auto& host : hosts.value(QStringLiteral("hosts")).toArray()) {
        const auto name = plainText(host.toString());
        listed = listed || name == connected;
        result += (name == connected ? QStringLiteral("* ") : QStringLiteral("  ")) + name + u'\n';
    }
    if (!connected.isEmpty() && !listed)
        result += QStringLiteral("* %1\n").arg(connected); // by its address, or announced no more
    if (result.isEmpty())
        result = QStringLiteral("no host was found\n");
    if (const auto problem = text(hosts, "problem"); !problem.isEmpty())
        result += QStringLiteral("hosts cannot be found here: %1\n").arg(problem);
    return result;
}

QString servicesText(const QJsonObject& services) {
    QString result;
    for (auto entry = services.begin(); entry != services.end(); ++entry)
        result += QStringLiteral("%1  %2\n")
                      .arg(entry.key(), -7)
                      .arg(entry.value().toBool() ? QStringLiteral("on") : QStringLiteral("off"));
    return result;
}

QString libraryText(const QJsonObject& library) {
    const auto state = text(library, "state");
    const auto number = [&](const char* key) {
        return QString::number(library.value(QLatin1String(key)).toInteger());
    };
    if (state != QStringLiteral("scanning"))
        return QStringLiteral("%1: %2 songs in %3\n").arg(state, number("songs"), text(library, "folder"));
    return QStringLiteral("scanning %1: %2 of %3 files, %4 songs so far\n")
        .arg(text(library, "folder"), number("filesSeen"), number("filesTotal"), number("songs"));
}

QString doctorText(const QJsonArray& checks) {
    QString result;
    for (const auto& value : checks) {
        const auto check = value.toObject();
        const auto state = text(check, "state");
        const auto found = text(check, "found");
        const auto mend = text(check, "mend");
        result += QStringLiteral("%1%2").arg(state, -9).arg(text(check, "name"));
        result += found.isEmpty() ? QStringLiteral("\n") : QStringLiteral(": %1\n").arg(found);
        if (state != QStringLiteral("ok") && !mend.isEmpty())
            result += QStringLiteral("         to mend: %1\n").arg(mend);
    }
    return result;
}

QJsonObject notRunningCheck() {
    return {{QStringLiteral("name"), QStringLiteral("merlode")},
            {QStringLiteral("state"), QStringLiteral("warning")},
            {QStringLiteral("found"), QStringLiteral("not running")},
            {QStringLiteral("mend"), QStringLiteral("start it with: merlode")}};
}

bool anyMissing(const QJsonArray& checks) {
    return std::any_of(checks.begin(), checks.end(), [](const QJsonValue& check) {
        return check.toObject().value(QStringLiteral("state")).toString() == QStringLiteral("missing");
    });
}

QByteArray jsonLine(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray jsonLine(const QJsonArray& array) {
    return QJsonDocument(array).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace merlode::ctl
