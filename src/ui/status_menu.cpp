#include "ui/status_menu.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/user_defaults.h"
#include "ui/now_playing_controls.h"

namespace merlode {

namespace {

// Menus as wide as the screen help nobody.
constexpr qsizetype kMostLetters = 48;

QString shortened(const QString& text) {
    const QString line = text.left(4 * kMostLetters).simplified();
    return line.size() <= kMostLetters ? line : line.left(kMostLetters - 1) + QStringLiteral("…");
}

MenuEntry entry(const QString& text, std::function<void()> action, bool enabled = true) {
    return {text, enabled, std::nullopt, std::move(action), {}};
}

MenuEntry setting(Session& session, const QString& text, DefaultsKey<bool> key, NotificationName changed) {
    const bool on = session.port<UserDefaults>().boolFor(key);
    return {text,
            true,
            on,
            [&session, key, changed, on] {
                session.port<UserDefaults>().set(key, !on);
                session.notificationCenter().post(changed);
            },
            {}};
}

void addNowPlaying(std::vector<MenuEntry>& menu, const NowPlayingControls& controls) {
    const QString track = controls.trackName(), artist = controls.artistName();
    for (const auto& text : {track, artist}) {
        if (!text.simplified().isEmpty())
            menu.push_back(entry(shortened(text), {}, false));
    }
    if (menu.empty())
        menu.push_back(entry(QStringLiteral("Nothing is playing"), {}, false));
    menu.emplace_back();
}

void addTransport(std::vector<MenuEntry>& menu, NowPlayingControls& controls) {
    menu.push_back(entry(
        controls.playToolTip(), [&controls] { controls.playPause(); }, controls.canPlay()));
    menu.push_back(entry(
        QStringLiteral("Next"), [&controls] { controls.next(); }, controls.canGoNext()));
    menu.push_back(entry(
        QStringLiteral("Previous"), [&controls] { controls.previous(); }, controls.canGoPrevious()));
    menu.push_back(entry(
        controls.muteToolTip(), [&controls] { controls.toggleMute(); }, controls.canSetVolume()));
    menu.emplace_back();
}

} // namespace

std::vector<MenuEntry> statusMenu(Session& session, NowPlayingControls& controls,
                                  const StatusMenuActions& actions) {
    std::vector<MenuEntry> menu;
    addNowPlaying(menu, controls);
    addTransport(menu, controls);
    if (actions.openPanel)
        menu.push_back(entry(QStringLiteral("Open Panel"), actions.openPanel));
    if (actions.openWindow)
        menu.push_back(entry(QStringLiteral("Open Window"), actions.openWindow));
    MenuEntry settings = entry(QStringLiteral("Settings"), {});
    settings.children = {setting(session, QStringLiteral("Show Artist and Song in the Bar"),
                                 defaults::kArtistSongMenuBar, notifications::kUpdateStatusItemFrame),
                         setting(session, QStringLiteral("Notify of New Tracks"),
                                 defaults::kPlayingNotifications, notifications::kUpdateStatusItemFrame)};
    if (actions.openSettings)
        settings.children.push_back(entry(QStringLiteral("More Settings…"), actions.openSettings));
    menu.push_back(std::move(settings));
    menu.emplace_back();
    menu.push_back(entry(QStringLiteral("Quit"), actions.quit));
    return menu;
}

} // namespace merlode
