#include "model/application_version.h"

namespace merlode {

namespace {

QString versionOr(const QString& absence) {
#ifdef MERLODE_VERSION
    const QString version = QStringLiteral(MERLODE_VERSION);
    return version.isEmpty() ? absence : version;
#else
    return absence;
#endif
}

} // namespace

QString applicationVersionNumber() {
    return versionOr(QStringLiteral("Version Number Not Available"));
}

QString applicationBuildNumber() {
    return versionOr(QStringLiteral("Build Number Not Available"));
}

} // namespace merlode
