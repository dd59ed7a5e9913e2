#include "base/notification_center.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace merlode {

struct NotificationCenter::Registration {
    Handler handler;
    const void* object = nullptr;
};

struct NotificationCenter::Table {
    std::unordered_map<std::string_view, std::vector<std::weak_ptr<Registration>>> byName;
};

NotificationCenter::NotificationCenter() : table_(std::make_shared<Table>()) {}
NotificationCenter::~NotificationCenter() = default;

Observation NotificationCenter::addObserver(NotificationName name, Handler handler, const void* object) {
    auto& list = table_->byName[name.text];
    std::erase_if(list, [](const auto& registration) { return registration.expired(); });
    auto registration = std::make_shared<Registration>(Registration{std::move(handler), object});
    list.push_back(registration);
    return Observation(std::move(registration));
}

void NotificationCenter::post(NotificationName name, const void* object, QVariantMap userInfo) {
    const auto found = table_->byName.find(name.text);
    if (found == table_->byName.end())
        return;
    const auto list = found->second; // observers may register while they are called
    const Notification notification{name, object, std::move(userInfo)};
    for (const auto& weak : list) {
        // The lock keeps an observer alive that unregisters from inside its own call.
        const auto registration = weak.lock();
        if (registration && (!registration->object || registration->object == object))
            registration->handler(notification);
    }
}

} // namespace merlode
