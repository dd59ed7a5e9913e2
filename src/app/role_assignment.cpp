#include "app/role_assignment.h"

#include "app/local_role.h"
#include "app/modules.h"
#include "base/control_interface.h"
#include "base/runtime_folder.h"
#include "platform/http_client.h"
#include "platform/linux/mpd_program.h"
#include "platform/linux/mpris_names.h"
#include "platform/linux/mpris_program.h"
#include "platform/user_defaults.h"

#include <QProcessEnvironment>
#include <QStandardPaths>

namespace merlode {

namespace {

const QString kArtQueue = QStringLiteral("co.vantry.Merlode.PlayerArt");

ControlError refused(const QString& message) {
    return {QString::fromLatin1(control::kErrorInvalidArgument), message};
}

// The desktop files under which the usual packagings install a player of this name.
QStringList desktopIdsOf(const QString& name) {
    if (name == u"spotify")
        return {name, QStringLiteral("com.spotify.Client"), QStringLiteral("spotify_spotify"),
                QStringLiteral("spotify-client")};
    return {name, QStringLiteral("org.%1.%1").arg(name), QStringLiteral("%1_%1").arg(name)};
}

} // namespace

RoleAssignment::RoleAssignment(Session& session, PlayerRoles& roles, QDBusConnection bus, Options options)
    : session_(session),
      roles_(roles),
      defaults_(session.port<UserDefaults>()),
      bus_(std::move(bus)),
      options_(std::move(options)) {}

void RoleAssignment::assignAll() {
    roles_.assign(PlayerRole::Local, makeLocal());
    if (options_.localOnly)
        return;
    assignDesktopRole(PlayerRole::Spotify);
    assignDesktopRole(PlayerRole::Rdio);
}

void RoleAssignment::assignDesktopRole(PlayerRole role) {
    const QString name = desktopName(role);
    roles_.assign(role, name.isEmpty() ? nullptr : makeMpris(name));
}

QString RoleAssignment::desktopName(PlayerRole role) const {
    const auto key = role == PlayerRole::Local     ? defaults::kLocalPlayerName
                     : role == PlayerRole::Spotify ? defaults::kSpotifyPlayerName
                                                   : defaults::kRdioPlayerName;
    return defaults_.valueFor(key).value_or(QString());
}

std::unique_ptr<PlayerProgram> RoleAssignment::makeLocal() {
    auto addresses = userMpdAddresses(QProcessEnvironment::systemEnvironment());
    LocalRoleFacts facts{defaults_.valueFor(defaults::kLocalPlayerKind).value_or(QString()),
                         desktopName(PlayerRole::Local), false};
    for (auto& address : addresses)
        address.guessed = address.guessed && facts.setting != u"mpd"; // asked for, with music or without
    std::optional<MpdAddress> running;
    if (chooseLocalPlayer(facts) == LocalPlayerKind::UserMpd || facts.setting == u"auto" ||
        facts.setting.isEmpty())
        running = findRunningMpd(addresses, kMpdLookTime, session_.executor());
    facts.userMpdRuns = running.has_value();
    const auto kind = chooseLocalPlayer(facts);
    localIsPrivate_ = kind == LocalPlayerKind::Private;
    userMpd_.reset();
    switch (kind) {
    case LocalPlayerKind::UserMpd:
        userMpd_ = running.value_or(addresses.front());
        return std::make_unique<MpdProgram>(*userMpd_, session_);
    case LocalPlayerKind::Desktop:
        return makeMpris(facts.desktopName);
    case LocalPlayerKind::Private:
        break;
    }
    return makePrivateMpd();
}

std::unique_ptr<PlayerProgram> RoleAssignment::makePrivateMpd() const {
    return std::make_unique<MpdProgram>(PrivateMpdOptions{options_.privateMpdState,
                                                          options_.privateMpdRuntime, options_.musicFolder(),
                                                          std::nullopt},
                                        session_);
}

std::unique_ptr<PlayerProgram> RoleAssignment::makeMpris(const QString& name) const {
    MprisProgramOptions program;
    program.busSuffix = name;
    program.desktopIds = desktopIdsOf(name);
    program.player.http = &session_.port<HttpClient>();
    program.player.artQueue = &session_.queue(kArtQueue);
    program.player.embeddedPicture = modules::embeddedPicture;
    program.player.filesFor = options_.filesFor;
    program.player.playlistFolder = runtimeFolder() + QStringLiteral("/merlode");
    return std::make_unique<MprisProgram>(bus_, session_.runLoop(), std::move(program));
}

std::optional<ControlError> RoleAssignment::use(const QString& role, const QString& program) {
    if (options_.localOnly)
        return refused(QStringLiteral("The demo plays its own library only."));
    const bool none = program == u"none";
    const bool word = none || program == u"auto" || program == u"mpd" || program == u"private";
    if (!word && !mpris::isPlayerSuffix(program))
        return refused(QStringLiteral("\"%1\" is not the name of a player. Those that run are listed by "
                                      "\"merlodectl players\".")
                           .arg(program));
    if (role != u"local" && role != u"spotify" && role != u"rdio")
        return refused(QStringLiteral("There is no role \"%1\": use local, spotify or rdio.").arg(role));
    if (role != u"local" && word && !none)
        return refused(QStringLiteral("\"%1\" can only stand behind the role local.").arg(program));
    if (!word)
        takeOutOfItsRole(program);
    if (role == u"local")
        return useLocal(program);
    const bool spotify = role == u"spotify";
    defaults_.set(spotify ? defaults::kSpotifyPlayerName : defaults::kRdioPlayerName,
                  none ? QString() : program);
    assignDesktopRole(spotify ? PlayerRole::Spotify : PlayerRole::Rdio);
    return std::nullopt;
}

// One player in two roles would silence itself whenever one of them takes over from the other.
void RoleAssignment::takeOutOfItsRole(const QString& name) {
    if (desktopName(PlayerRole::Local) == name) {
        defaults_.remove(defaults::kLocalPlayerName);
        defaults_.remove(defaults::kLocalPlayerKind);
        roles_.assign(PlayerRole::Local, makeLocal());
    }
    for (const auto& [role, key] : {std::pair{PlayerRole::Spotify, defaults::kSpotifyPlayerName},
                                    std::pair{PlayerRole::Rdio, defaults::kRdioPlayerName}}) {
        if (desktopName(role) != name)
            continue;
        defaults_.set(key, QString());
        roles_.assign(role, nullptr);
    }
}

std::optional<ControlError> RoleAssignment::useLocal(const QString& program) {
    if (program == u"none")
        return refused(QStringLiteral("The role local is never empty; \"auto\" picks a program for it."));
    if (program == u"auto" || program == u"mpd" || program == u"private") {
        defaults_.set(defaults::kLocalPlayerKind, program);
    } else {
        defaults_.set(defaults::kLocalPlayerName, program);
        defaults_.set(defaults::kLocalPlayerKind, QStringLiteral("desktop"));
    }
    roles_.assign(PlayerRole::Local, makeLocal());
    return std::nullopt;
}

void RoleAssignment::musicFolderChanged() {
    if (localIsPrivate_)
        roles_.assign(PlayerRole::Local, makePrivateMpd());
}

void RoleAssignment::launchPrivateMpd() {
    auto* local = roles_.program(PlayerRole::Local);
    if (localIsPrivate_ && local && !local->processIdentifier() && local->installedPath())
        local->launch();
}

QStringList RoleAssignment::otherPlayers() const {
    QStringList names = mprisPlayerNames(bus_);
    for (const auto role : kPlayerRoles)
        names.removeAll(desktopName(role));
    return names;
}

} // namespace merlode
