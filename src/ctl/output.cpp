#include "ctl/output.h"

#include "ctl/plain_text.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace merlode::ctl {

namespace {

bool writeAll(int descriptor, const QByteArray& text) {
    for (qsizetype done = 0; done < text.size();) {
        const auto count =
            ::write(descriptor, text.constData() + done, static_cast<size_t>(text.size() - done));
        if (count >= 0) {
            done += count;
        } else if (errno == EAGAIN) {
            pollfd ready{descriptor, POLLOUT, 0};
            ::poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace

bool printOut(const QByteArray& text) {
    return writeAll(STDOUT_FILENO, text);
}
bool printOut(const QString& text) {
    return printOut(text.toUtf8());
}

void printProblem(const QString& message) {
    writeAll(STDERR_FILENO, "merlodectl: " + plainText(message).toUtf8() + '\n');
}

} // namespace merlode::ctl
