#include "ctl/secret_prompt.h"

#include <csignal>
#include <cstdio>
#include <string>

#include <termios.h>
#include <unistd.h>

namespace merlode::ctl {

namespace {

// Longer than any secret; what comes from a pipe may be anything.
constexpr std::size_t kLongestLine = 4096;

/// The terminal without its echo, for as long as this lives. A key that interrupts ends the reading instead
/// of the program, which would leave the terminal silent.
class EchoOff {
  public:
    EchoOff() : changed_(tcgetattr(STDIN_FILENO, &terminal_) == 0) {
        if (!changed_)
            return;
        struct sigaction endReading = {};
        endReading.sa_handler = [](int) {}; // without SA_RESTART a read fails
        sigaction(SIGINT, &endReading, &interrupt_);
        termios silent = terminal_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~EchoOff() {
        if (!changed_)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminal_);
        sigaction(SIGINT, &interrupt_, nullptr);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

  private:
    termios terminal_{};
    struct sigaction interrupt_ {};
    bool changed_;
};

std::optional<QString> readLine() {
    std::string line;
    for (int letter = std::getchar(); letter != EOF && letter != '\n'; letter = std::getchar()) {
        if (line.size() == kLongestLine)
            return std::nullopt;
        line.push_back(static_cast<char>(letter));
    }
    if (std::ferror(stdin))
        return std::nullopt;
    const auto text = QString::fromStdString(line).trimmed();
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

std::optional<QString> readSecret(const QString& prompt) {
    if (!isatty(STDIN_FILENO))
        return readLine();
    std::fputs(prompt.toUtf8().constData(), stderr);
    const EchoOff silent;
    auto secret = readLine();
    std::fputc('\n', stderr);
    return secret;
}

} // namespace merlode::ctl
