#pragma once

#include "base/dispatch_queue.h"
#include "base/executor.h"
#include "base/notification_center.h"
#include "base/run_loop.h"
#include "base/session_scope.h"

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <typeindex>
#include <unordered_map>
#include <vector>

namespace merlode {

/// One running instance of the program: its run loop, its queues, its notification centres, its ports and its
/// shared controllers. Nothing else in the program is global, so a process can hold several sessions side by
/// side (a server and a client in one test, say) and build and destroy them again and again.
///
/// Built, used and destroyed on the main thread; `shared`, `port` and `queue` may be called from any thread.
class Session {
  public:
    Session(std::unique_ptr<RunLoop> runLoop, std::unique_ptr<Executor> executor);

    /// Announces itself to `ending`, waits for background work, then destroys the shared controllers in the
    /// reverse order of their making, then the ports in the reverse order of their installing.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The session whose work this thread is running. Calling it outside any session is a programming error
    /// and ends the program with a message.
    static Session& current();

    /// Stopped as the session begins to end, before it waits for background work: what blocks such work
    /// registers a std::stop_callback here and lets it go.
    std::stop_token ending() const { return ending_.get_token(); }

    RunLoop& runLoop() { return *runLoop_; }
    Executor& executor() { return *executor_; }

    /// The centre of the program's own notifications.
    NotificationCenter& notificationCenter() { return notificationCenter_; }
    /// What other programs announce: players, the desktop's theme.
    NotificationCenter& distributedCenter() { return distributedCenter_; }
    /// What the desktop's session announces: launched applications, sleep and wake.
    NotificationCenter& workspaceCenter() { return workspaceCenter_; }

    /// Installs the implementation behind the interface `Port`, once per session, before its first use.
    template<class Port>
    Port& install(std::unique_ptr<Port> implementation) {
        auto& reference = *implementation;
        installErased(typeid(Port), std::shared_ptr<void>(std::move(implementation)));
        return reference;
    }

    /// As above for an implementation that somebody else owns, who must outlive the session's controllers.
    template<class Port>
    void installReference(Port& implementation) {
        installErased(typeid(Port), std::shared_ptr<void>(std::shared_ptr<void>(), &implementation));
    }

    /// The implementation behind `Port`. A port that was never installed is a programming error and ends the
    /// program with a message.
    template<class Port>
    Port& port() const {
        return *static_cast<Port*>(findErased(typeid(Port)));
    }

    /// The same, or null where it is not installed yet: some are, behind all that somebody waits for.
    template<class Port>
    Port* portIfInstalled() const {
        return static_cast<Port*>(lookUp(typeid(Port)));
    }

    /// The shared instance of `Controller`, made on first use with its default constructor. Its constructor
    /// may ask for other shared controllers, which then outlive it.
    template<class Controller>
    Controller& shared() {
        return *static_cast<Controller*>(sharedErased(
            typeid(Controller), [] { return std::shared_ptr<void>(std::make_shared<Controller>()); }));
    }

    /// The serial queue with this label, made on first use.
    DispatchQueue& queue(const QString& label);

  private:
    using Factory = std::shared_ptr<void> (*)();

    void installErased(std::type_index type, std::shared_ptr<void> implementation);
    void* findErased(std::type_index type) const;
    void* lookUp(std::type_index type) const;
    void* sharedErased(std::type_index type, Factory factory);

    std::stop_source ending_;
    std::unique_ptr<Executor> executor_;
    std::unique_ptr<RunLoop> runLoop_;
    NotificationCenter notificationCenter_;
    NotificationCenter distributedCenter_;
    NotificationCenter workspaceCenter_;

    mutable std::recursive_mutex mutex_; // recursive: a controller's constructor asks for others
    std::unordered_map<std::type_index, void*> ports_;
    std::unordered_map<std::type_index, void*> controllers_;
    std::vector<std::shared_ptr<void>> ownedPorts_;
    std::vector<std::shared_ptr<void>> ownedControllers_;
    std::map<QString, std::unique_ptr<DispatchQueue>> queues_;
};

} // namespace merlode
