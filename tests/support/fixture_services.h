#pragma once

#include "app/demo/demo_services.h"
#include "base/session.h"
#include "model/service_hosts.h"
#include "platform/user_defaults.h"

namespace merlode {

/// The demo's web services in place of the public ones of the current session, which has its user defaults.
/// To be made before anything asks for `ServiceHosts`.
struct FixtureServices : DemoServices {
    explicit FixtureServices(const QString& lastFMSecret = {}) : DemoServices(lastFMSecret) {
        ServiceHosts::setAll(Session::current().port<UserDefaults>(), address());
    }
};

} // namespace merlode
