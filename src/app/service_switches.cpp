#include "app/service_switches.h"

#include "base/control_interface.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"

#include <algorithm>
#include <array>

namespace merlode {

namespace {

struct Switch {
    const char* word = nullptr;
    MusicItemSourceType service = {};
    DefaultsKey<bool> enabled = {};
};

constexpr std::array kSwitches{
    Switch{"library", MusicItemSourceType::iTunes, defaults::kEnableITunes},
    Switch{"spotify", MusicItemSourceType::Spotify, defaults::kEnableSpotify},
    Switch{"rdio", MusicItemSourceType::Rdio, defaults::kEnableRdio},
    Switch{"pandora", MusicItemSourceType::Pandora, defaults::kEnablePandora},
};

} // namespace

QVariantMap enabledServices(const UserDefaults& userDefaults) {
    QVariantMap services;
    for (const auto& entry : kSwitches)
        services.insert(QLatin1String(entry.word), userDefaults.boolFor(entry.enabled));
    return services;
}

std::optional<ControlError> enableService(const QString& service, bool enabled) {
    const auto* found =
        std::ranges::find(kSwitches, service, [](const auto& entry) { return QLatin1String(entry.word); });
    if (found == kSwitches.end())
        return ControlError{QString::fromLatin1(control::kErrorInvalidArgument),
                            QStringLiteral("There is no service '%1'.").arg(service)};
    PlayerController::sharedController().setServiceEnabled(found->service, enabled);
    return std::nullopt;
}

} // namespace merlode
