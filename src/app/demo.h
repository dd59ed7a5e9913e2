#pragma once

#include "base/run_loop.h"
#include "base/session.h"

#include <QString>

#include <optional>

namespace merlode {

class UserDefaults;

/// Makes a throw-away home in the temporary folder and points HOME and the XDG variables at it, so that nothing of
/// the user's is read or written. The runtime folder stays: `merlodectl` looks there. To be called before Qt
/// starts. The folder's path, or nothing where it cannot be made.
std::optional<QString> makeDemoHome();

/// Settings of the demo: an mpd of its own on the generated library, and no other player.
void configureDemo(UserDefaults& userDefaults, const QString& demoFolder);

/// Makes the demo's music in the background, the first album first, and has it played as soon as it is there.
/// Main thread.
class Demo {
  public:
    Demo(Session& session, QString demoFolder);

  private:
    void makeMusic();
    void tryToPlay();

    Session& session_;
    QString folder_;
    Timer retry_;
    int attempts_ = 0;
};

} // namespace merlode
