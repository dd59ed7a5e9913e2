#include "support.h"

#include "base/defaults_keys.h"
#include "base/property_list.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <random>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace merlode::bench {

namespace {

constexpr int kBlock = 20;       // changes a turn
constexpr int kWarmUps = 3;      // changes at the start of a turn that are not counted
constexpr int kMostWarmUps = 30; // until a listener that has just been started must have heard one
constexpr double kWarmUpSeconds = 0.5;
constexpr double kHearSeconds = 2;
constexpr double kEndSeconds = 2;

std::vector<char*> pointersTo(std::vector<QByteArray>& strings) {
    std::vector<char*> pointers;
    for (auto& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<QByteArray> encoded(const QStringList& strings) {
    std::vector<QByteArray> result;
    for (const auto& string : strings)
        result.push_back(string.toLocal8Bit());
    return result;
}

// Of varying length, so that no listener's own rhythm is met again and again; beyond the time for which any
// of them collects changes.
void pause() {
    static std::mt19937 random(1);
    std::this_thread::sleep_for(
        std::chrono::microseconds(std::uniform_int_distribution(70'000, 90'000)(random)));
}

bool warmUp(Child& child, const Listener& listener, const std::function<QByteArray()>& prepare,
            const std::function<void()>& change) {
    int heard = 0;
    for (int i = 0; i < kMostWarmUps && heard < kWarmUps; ++i) {
        const QByteArray title = prepare();
        pause();
        child.drain();
        change();
        if (child.hear(listener.line.isEmpty() ? title : listener.line, kWarmUpSeconds))
            ++heard;
    }
    return heard == kWarmUps;
}

void runBlock(Listener& listener, int changes, const std::function<QByteArray()>& prepare,
              const std::function<void()>& change) {
    std::vector<std::unique_ptr<Child>> children;
    for (const auto& command : listener.commands)
        children.push_back(std::make_unique<Child>(command, listener.environment));
    Child& last = *children.back();
    if (!warmUp(last, listener, prepare, change)) {
        listener.missed += changes;
        return;
    }
    for (int i = 0; i < changes; ++i) {
        const QByteArray title = prepare();
        pause();
        last.drain();
        const auto start = Clock::now();
        change();
        if (last.hear(listener.line.isEmpty() ? title : listener.line, kHearSeconds))
            listener.samples.push_back(secondsSince(start));
        else
            ++listener.missed;
    }
}

} // namespace

Child::Child(const QStringList& command, const QProcessEnvironment& environment) {
    auto arguments = encoded(command);
    auto variables = encoded(environment.toStringList());
    const auto argv = pointersTo(arguments);
    const auto envp = pointersTo(variables);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        qFatal("no pipe");
    startedAt_ = Clock::now();
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(ends[1], STDOUT_FILENO);
        execvpe(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    close(ends[1]);
    output_ = ends[0];
    fcntl(output_, F_SETFL, O_NONBLOCK);
}

Child::~Child() {
    close(output_);
    kill(pid_, SIGTERM);
    const auto start = Clock::now();
    while (waitpid(pid_, nullptr, WNOHANG) == 0) {
        if (secondsSince(start) > kEndSeconds)
            kill(pid_, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

bool Child::hear(const QByteArray& text, double seconds) {
    const auto start = Clock::now();
    for (;;) {
        for (qsizetype end = text_.indexOf('\n'); end >= 0; end = text_.indexOf('\n')) {
            const bool found = QByteArrayView(text_).first(end).contains(text);
            text_.remove(0, end + 1);
            if (found)
                return true;
        }
        if (!readMore(seconds - secondsSince(start)))
            return false;
    }
}

void Child::drain() {
    while (readMore(0)) {
    }
    text_.clear();
}

bool Child::readMore(double seconds) {
    pollfd waiting{output_, POLLIN, 0};
    if (seconds < 0 || poll(&waiting, 1, static_cast<int>(seconds * 1000)) <= 0)
        return false;
    char chunk[4096];
    const ssize_t count = read(output_, chunk, sizeof chunk);
    if (count > 0)
        text_.append(chunk, count);
    return count > 0;
}

Home::Home(const QString& busAddress, const QString& localPlayer) {
    const bool word = localPlayer == u"mpd" || localPlayer == u"auto";
    const QVariantMap settings{{defaults::kLocalPlayerKind.text(), word ? localPlayer : u"desktop"_qs},
                               {defaults::kLocalPlayerName.text(), word ? QString() : localPlayer}};
    const QString folder = folder_.path();
    QDir(folder).mkpath(u"config/co.vantry.Merlode"_qs);
    QDir(folder).mkpath(u"bin"_qs);
    QFile file(folder + u"/config/co.vantry.Merlode/Preferences.plist"_qs);
    const QByteArray text = property_list::serialize(settings);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("no home for the program");
    environment.insert(u"HOME"_qs, folder);
    environment.insert(u"XDG_CONFIG_HOME"_qs, folder + u"/config"_qs);
    environment.insert(u"XDG_RUNTIME_DIR"_qs, folder);
    environment.insert(u"LC_ALL"_qs, u"C.UTF-8"_qs);
    environment.insert(u"PATH"_qs, folder + u"/bin"_qs);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, busAddress);
}

QString builtProgram(const char* name) {
    return QStringLiteral(MERLODE_BIN_DIR "/") + QString::fromLatin1(name);
}

void measureListeners(const std::vector<Listener*>& listeners, int changes,
                      const std::function<QByteArray()>& prepare, const std::function<void()>& change) {
    for (int done = 0; done < changes; done += kBlock) {
        for (auto* listener : listeners)
            runBlock(*listener, std::min(kBlock, changes - done), prepare, change);
    }
}

} // namespace merlode::bench
