#pragma once

#include <QVariantMap>

#include <functional>
#include <memory>
#include <string_view>

namespace merlode {

/// The name of a notification: a constant text that is compared by content.
struct NotificationName {
    std::string_view text;
    bool operator==(const NotificationName&) const = default;
};

/// What an observer is handed.
struct Notification {
    NotificationName name;
    const void* object = nullptr; ///< who the notification is about; null for most
    QVariantMap userInfo;
};

/// A handle on one registration; the observer is unregistered when the handle is destroyed, also in the
/// middle of a delivery, and is not called any more from then on.
class Observation {
  public:
    Observation() = default;
    explicit Observation(std::shared_ptr<void> registration) : registration_(std::move(registration)) {}

  private:
    std::shared_ptr<void> registration_;
};

/// In-process events by name. Everything here belongs to the main thread.
class NotificationCenter {
  public:
    using Handler = std::function<void(const Notification&)>;

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// Calls `handler` for each notification of this name, for as long as the handle lives. With an `object`
    /// only for notifications about that object.
    [[nodiscard]] Observation addObserver(NotificationName name, Handler handler,
                                          const void* object = nullptr);

    /// Calls the observers at once, in the order of their registration. An observer may post, register and
    /// unregister; one that registers during a delivery hears from the next notification on.
    void post(NotificationName name, const void* object = nullptr, QVariantMap userInfo = {});

  private:
    struct Registration;
    struct Table;

    std::shared_ptr<Table> table_;
};

} // namespace merlode
