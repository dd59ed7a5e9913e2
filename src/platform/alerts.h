#pragma once

#include <QString>
#include <QStringList>

namespace merlode {

/// A question or message to the user.
struct Alert {
    QString messageText;
    QString informativeText;
    QStringList buttons; ///< the first is the default one
};

/// The answer of the first button; the others count up from it.
inline constexpr int kAlertFirstButtonReturn = 1000;

/// Modal alerts. Main thread.
class Alerts {
  public:
    virtual ~Alerts() = default;

    /// Shows the alert and waits for the answer: `kAlertFirstButtonReturn` plus the button's index. While it
    /// is up the run loop is held and user interface events go on. Without a display the alert goes to the
    /// log and the first button is taken at once.
    virtual int runModal(const Alert& alert) = 0;
};

} // namespace merlode
