#include "model/queues.h"

#include "base/session.h"

namespace merlode {

namespace {

DispatchQueue& queueNamed(QStringView name) {
    return Session::current().queue(QStringLiteral("co.vantry.Merlode.%1").arg(name));
}

} // namespace

DispatchQueue& kPlayKeyQueue() {
    return queueNamed(u"PlayKeys");
}
DispatchQueue& kTopAlbumsPlayKeyQueue() {
    return queueNamed(u"TopAlbumsPlayKeys");
}
DispatchQueue& kNewReleasesPlayKeyQueue() {
    return queueNamed(u"NewReleasesPlayKeys");
}
DispatchQueue& kTrackListPlayKeyQueue() {
    return queueNamed(u"TrackListPlayKeyQueue");
}
DispatchQueue& kImageDownloadQueue() {
    return queueNamed(u"ImageDownloadQueue");
}
DispatchQueue& kDiscoverImageDownloadQueue() {
    return queueNamed(u"DiscoverImageDownloadQueue");
}
DispatchQueue& kTopAlbumsImageDownloadQueue() {
    return queueNamed(u"TopAlbumsImageDownloadQueue");
}
DispatchQueue& kNewReleasesImageDownloadQueue() {
    return queueNamed(u"NewReleasesImageDownloadQueue");
}
DispatchQueue& kHighResImageDownloadQueue() {
    return queueNamed(u"HighResImageDownloadQueue");
}

} // namespace merlode
