#include "base/runtime_folder.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace merlode {

namespace {

/// lstat, so that a link planted in /tmp is seen as the link that it is.
bool isOwnFolder(const QByteArray& path) {
    struct stat found = {};
    return ::lstat(path.constData(), &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == ::geteuid();
}

} // namespace

bool makePrivateFolder(const QString& path) {
    const auto name = QFile::encodeName(path);
    if (::mkdir(name.constData(), 0700) == 0)
        return true;
    return isOwnFolder(name) && ::chmod(name.constData(), 0700) == 0;
}

QString runtimeFolder() {
    auto fromLogin = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    struct stat found = {};
    // A link is accepted here: the login set it up, and nobody else could have put it there.
    if (fromLogin.startsWith(u'/') && ::stat(QFile::encodeName(fromLogin).constData(), &found) == 0 &&
        S_ISDIR(found.st_mode) && found.st_uid == ::geteuid())
        return fromLogin;
    const auto fallback = QStringLiteral("/tmp/merlode-%1").arg(::geteuid());
    return makePrivateFolder(fallback) ? fallback : QString();
}

} // namespace merlode
