#pragma once

#include <QByteArray>
#include <QString>

namespace merlode {

/// The variable in which a program that is started, or asked to come forward, finds its permission for that.
inline constexpr char kActivationTokenVariable[] = "XDG_ACTIVATION_TOKEN";

/// Keeps the permission to come forward that the desktop gives with a click. Wayland lets no window take the
/// keyboard without one; Qt takes it from the environment, once, for the next window that is activated.
inline void keepActivationToken(const QString& token) {
    if (!token.isEmpty())
        qputenv(kActivationTokenVariable, token.toUtf8());
}

} // namespace merlode
