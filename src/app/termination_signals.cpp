#include "app/termination_signals.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace merlode {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

// A handler may do next to nothing: it writes one byte, and the event loop does the rest.
int pipeEnds[2] = {-1, -1};

void noteSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate) {
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [terminate = std::move(terminate)] {
                         std::array<char, 16> bytes{};
                         while (read(pipeEnds[0], bytes.data(), bytes.size()) > 0) {
                         }
                         terminate();
                     });
    for (const int signal : kSignals)
        std::signal(signal, noteSignal);
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    notifier_.reset();
    for (int& end : pipeEnds) {
        if (end >= 0)
            close(end);
        end = -1;
    }
}

} // namespace merlode
