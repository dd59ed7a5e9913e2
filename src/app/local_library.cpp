#include "app/local_library.h"

#include "base/notification_names.h"
#include "base/session.h"

namespace merlode {

LocalLibrary::LocalLibrary(Session& session, Make make, const std::optional<MpdAddress>& userMpd)
    : session_(session),
      make_(std::move(make)),
      isOfMpd_(userMpd.has_value()),
      current_(&libraryOf(userMpd)) {}

MediaLibrary& LocalLibrary::libraryOf(const std::optional<MpdAddress>& userMpd) {
    auto& library = libraries_[userMpd ? userMpd->text() : QString()];
    if (!library)
        library = make_(userMpd);
    return *library;
}

void LocalLibrary::follow(const std::optional<MpdAddress>& userMpd) {
    auto& library = libraryOf(userMpd);
    isOfMpd_ = userMpd.has_value();
    auto* before = current_.exchange(&library);
    if (before == &library)
        return;
    before->cancelScan();
    session_.notificationCenter().post(notifications::kMediaLibraryChanged);
    session_.notificationCenter().post(notifications::kMediaLibraryProgress);
    library.startScan();
}

void LocalLibrary::playerCameUp() {
    if (isOfMpd_)
        startScan();
}

} // namespace merlode
