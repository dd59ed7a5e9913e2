#include "app/local_role.h"

namespace merlode {

LocalPlayerKind chooseLocalPlayer(const LocalRoleFacts& facts) {
    const bool desktopChosen = !facts.desktopName.isEmpty();
    if (facts.setting == u"mpd")
        return LocalPlayerKind::UserMpd;
    if (facts.setting == u"desktop" && desktopChosen)
        return LocalPlayerKind::Desktop;
    if (facts.setting == u"private")
        return LocalPlayerKind::Private;
    if (facts.userMpdRuns)
        return LocalPlayerKind::UserMpd;
    return desktopChosen ? LocalPlayerKind::Desktop : LocalPlayerKind::Private;
}

} // namespace merlode
