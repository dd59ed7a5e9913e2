#pragma once

#include "base/run_loop.h"
#include "base/session.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace merlode {

class UserDefaults;

/// Makes a throw-away home in the temporary folder and points HOME and the XDG variables at it, so that
/// nothing of the user's is read or written. The runtime folder stays: `merlodectl` looks there. To be called
/// before Qt starts. The folder's path, or nothing where it cannot be made.
std::optional<QString> makeDemoHome();

/// Settings of the demo: an mpd of its own on the generated library, no other player, and for every web
/// service the address of its own services. Where there is none, nobody is asked at all.
void configureDemo(UserDefaults& userDefaults, const QString& demoFolder, const QString& servicesAddress);

/// Makes the demo's music in the background, the first album first, and has it played as soon as it is there.
/// Main thread.
class Demo {
  public:
    /// `launchPlayer` is called when the first album is there; the player then finds it at its first look.
    Demo(Session& session, const QString& demoFolder, std::function<void()> launchPlayer);
    /// Has the making of the music end soon, which the session waits for.
    ~Demo();
    Demo(const Demo&) = delete;
    Demo& operator=(const Demo&) = delete;

  private:
    void makeMusic();
    void firstAlbumIsThere();
    void tryToPlay();

    Session& session_;
    QString folder_;
    std::function<void()> launchPlayer_;
    Timer retry_;
    int attempts_ = 0;
    std::shared_ptr<std::atomic<bool>> stop_ = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace merlode
