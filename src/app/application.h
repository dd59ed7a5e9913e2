#pragma once

#include <QStringList>

#include <memory>
#include <optional>

class QCoreApplication;

namespace merlode {

struct ControlActions;
struct ControlError;
class WindowsLink;

/// How the program was started.
struct ApplicationOptions {
    bool headless = false;
    bool demo = false;
    bool window = false;    ///< a window in place of the item in the bar
    bool serve = false;     ///< lets other machines control this one, from now on
    QString resourceFolder; ///< holds "Defaults.plist"
    QString demoFolder;     ///< holds the demo's home; empty without --demo
};

/// The whole program put together: makes a session with the real ports, runs the launch and serves the bus.
/// Needs a QCoreApplication (with a display a QApplication) and a session bus. Main thread.
class Application {
  public:
    explicit Application(ApplicationOptions options);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Takes the program's name on the bus. False when an instance runs already: it has then been asked to
    /// come forward, and there is nothing more to do here.
    bool becomeTheInstance();

    /// Brings the program up. The event loop of the QCoreApplication does the rest.
    void launch();

    /// Ends the program in an orderly way, unless the user decides against it.
    void terminate();

  private:
    struct Parts;

    void installPorts();
    void installLinks();
    std::unique_ptr<WindowsLink> makeWindows();
    void serveBus();
    void addPlayerActions(ControlActions& actions);
    void addMusicActions(ControlActions& actions);
    void addLinkActions(ControlActions& actions);
    void keepSomebodyInCharge();
    std::optional<ControlError> useMusicFolders(const QStringList& folders);
    void rolesChanged();
    void findPlayers();
    void startLibrary();

    ApplicationOptions options_;
    std::unique_ptr<Parts> parts_;
};

/// The folder of the program's resources: beside the executable, ../share/merlode.
QString resourceFolder();

/// Where the settings are kept: $XDG_CONFIG_HOME/co.vantry.Merlode.
QString configFolder();

} // namespace merlode
