#pragma once

#include "app/control_service.h"

#include <QVariantMap>

namespace merlode {

class UserDefaults;

/// Whether each service is switched on: searched, and offered to clients. By the names that people use:
/// "library", "spotify", "rdio", "pandora". Main thread.
QVariantMap enabledServices(const UserDefaults& userDefaults);

/// Switches a service on or off; clients are told. An error for a service that there is none.
std::optional<ControlError> enableService(const QString& service, bool enabled);

} // namespace merlode
