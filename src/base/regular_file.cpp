#include "base/regular_file.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace merlode {

int openRegularFile(const QByteArray& path) {
    if (path.isEmpty() || path.contains('\0'))
        return -1;
    const int fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat found = {};
    if (fd < 0 || (::fstat(fd, &found) == 0 && S_ISREG(found.st_mode)))
        return fd;
    ::close(fd);
    return -1;
}

std::optional<QByteArray> readRegularFile(const QByteArray& path, qint64 mostBytes) {
    QFile file;
    const int fd = openRegularFile(path);
    if (fd < 0 || !file.open(fd, QFile::ReadOnly, QFile::AutoCloseHandle))
        return std::nullopt;
    if (file.size() == 0 || file.size() > mostBytes)
        return std::nullopt;
    return file.read(mostBytes);
}

} // namespace merlode
