#include "platform/linux/mpd_connection.h"

#include <QFile>
#include <QLoggingCategory>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>

#include <mpd/async.h>
#include <mpd/parser.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

using Clock = std::chrono::steady_clock;

Clock::time_point after(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// Rounded up: a deadline half a millisecond away must not make poll spin.
int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60'000));
}

bool waitFor(int descriptor, short events, Clock::time_point deadline) {
    pollfd entry{.fd = descriptor, .events = events, .revents = 0};
    for (;;) {
        const int wait = millisecondsUntil(deadline);
        const int ready = poll(&entry, 1, wait);
        if (ready > 0)
            return true;
        if (ready == 0 && Clock::now() >= deadline)
            return false;
        if (ready < 0 && errno != EINTR)
            return true; // the following call meets the error itself
    }
}

// The library writes in a way that raises SIGPIPE where the server has closed, which would end the program.
// Holds the signal back on this thread and takes away the one that was raised meanwhile.
class NoSigpipe {
  public:
    NoSigpipe() {
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        pendingBefore_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    }
    ~NoSigpipe() {
        const timespec atOnce{};
        if (!pendingBefore_)
            sigtimedwait(&pipe_, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    NoSigpipe(const NoSigpipe&) = delete;
    NoSigpipe& operator=(const NoSigpipe&) = delete;

  private:
    sigset_t pipe_{};
    sigset_t before_{};
    bool pendingBefore_ = false;
};

bool transferOn(mpd_async* async, unsigned events) {
    std::optional<NoSigpipe> guard;
    if (events & MPD_ASYNC_EVENT_WRITE)
        guard.emplace();
    return mpd_async_io(async, static_cast<mpd_async_event>(events));
}

// The protocol sends text line by line; a line break inside an argument would begin another command.
bool isSendable(const MpdCommand& command) {
    const auto clean = [](const QByteArray& text) {
        return std::ranges::none_of(text, [](char c) { return c == '\n' || c == '\r' || c == '\0'; });
    };
    return command.arguments.size() <= MpdCommand::kMostArguments && clean(command.name) &&
           std::ranges::all_of(command.arguments, clean);
}

// The library takes its arguments as a list that a null pointer ends.
bool put(mpd_async* async, const MpdCommand& command) {
    std::array<const char*, MpdCommand::kMostArguments> a{};
    for (qsizetype i = 0; i < command.arguments.size(); ++i)
        a[static_cast<std::size_t>(i)] = command.arguments[i].constData();
    return mpd_async_send_command(async, command.name.constData(), a[0], a[1], a[2], a[3], a[4], a[5], a[6],
                                  a[7], nullptr);
}

} // namespace

QByteArray MpdReply::value(const char* name) const {
    const auto found = std::ranges::find_if(pairs, [name](const MpdPair& pair) { return pair.name == name; });
    return found == pairs.end() ? QByteArray() : found->value;
}

MpdConnection::MpdConnection(MpdAddress address)
    : address_(std::move(address)),
      async_(nullptr, mpd_async_free),
      parser_(mpd_parser_new(), mpd_parser_free) {}

MpdConnection::~MpdConnection() {
    close();
}

bool MpdConnection::open(double seconds) {
    close();
    const Deadline deadline = after(seconds);
    if (!connectTo(deadline) || !greet(deadline)) {
        close();
        return false;
    }
    introduce(deadline);
    return descriptor() >= 0;
}

bool MpdConnection::ensureOpen(double seconds) {
    if (async_) {
        char byte = 0;
        const auto size = recv(descriptor(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR))
            return true;
        close(); // closed by the server, or it sent something that nobody asked for
    }
    return open(seconds);
}

bool MpdConnection::connectTo(Deadline deadline) {
    if (address_.isSocket()) {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(address_.socketPath);
        if (path.size() >= static_cast<qsizetype>(sizeof place.sun_path))
            return fail(MpdOutcome::Broken);
        std::memcpy(place.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
        if (path.startsWith('@'))
            place.sun_path[0] = '\0';
        const auto length = offsetof(sockaddr_un, sun_path) + static_cast<std::size_t>(path.size());
        return connectSocket(AF_UNIX, &place, static_cast<unsigned>(length), deadline);
    }
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* found = nullptr;
    const QByteArray port = QByteArray::number(address_.port);
    if (getaddrinfo(address_.host.toUtf8().constData(), port.constData(), &hints, &found) != 0)
        return fail(MpdOutcome::Broken);
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    for (const addrinfo* one = found; one; one = one->ai_next) {
        if (connectSocket(one->ai_family, one->ai_addr, one->ai_addrlen, deadline))
            return true;
    }
    return false;
}

bool MpdConnection::connectSocket(int domain, const void* place, unsigned length, Deadline deadline) {
    const int made = socket(domain, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (made < 0)
        return fail(MpdOutcome::Broken);
    {
        const std::lock_guard lock(mutex_);
        descriptor_ = made;
        if (interrupted_)
            shutdown(made, SHUT_RDWR);
    }
    async_.reset(mpd_async_new(made));
    int error = 0;
    if (connect(made, static_cast<const sockaddr*>(place), length) != 0)
        error = errno;
    if (error == EINPROGRESS) {
        socklen_t size = sizeof error;
        const bool ready = waitFor(made, POLLOUT, deadline);
        if (!ready || getsockopt(made, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
            error = ETIMEDOUT;
    }
    if (error == 0 && async_)
        return true;
    close();
    return fail(error == ETIMEDOUT ? MpdOutcome::TimedOut : MpdOutcome::Broken);
}

bool MpdConnection::greet(Deadline deadline) {
    const char* line = receiveLine(deadline);
    if (!line)
        return false;
    return std::strncmp(line, "OK MPD ", 7) == 0 || fail(MpdOutcome::Broken);
}

// Refusals are borne: an old server knows no limit to set, and a wrong password may still leave the right to
// read.
void MpdConnection::introduce(Deadline deadline) {
    if (!address_.isSocket())
        mpd_async_set_keepalive(async_.get(), true);
    if (!address_.password.isEmpty()) {
        const auto reply = exchange({{"password", {address_.password.toUtf8()}}}, false, deadline);
        if (reply.outcome == MpdOutcome::Refused)
            qCWarning(log) << "mpd at" << address_.text() << "refuses the password";
    }
    const auto chunk = address_.isSocket() ? kSocketPictureChunk : kNetworkPictureChunk;
    exchange({{"binarylimit", {QByteArray::number(chunk)}}}, false, deadline);
}

void MpdConnection::close() {
    const std::lock_guard lock(mutex_); // the descriptor must not be another's when `interrupt` uses it
    descriptor_ = -1;
    async_.reset();
}

bool MpdConnection::fail(MpdOutcome outcome) {
    lastOutcome_ = outcome;
    return false;
}

MpdReply MpdConnection::run(const MpdCommand& command, double seconds) {
    return exchange({command}, false, after(seconds));
}

MpdReply MpdConnection::runList(const std::vector<MpdCommand>& commands, double seconds) {
    return exchange(commands, true, after(seconds));
}

MpdReply MpdConnection::exchange(const std::vector<MpdCommand>& commands, bool list, Deadline deadline) {
    MpdReply reply;
    if (!async_) {
        fail(MpdOutcome::Broken);
        return reply;
    }
    if (!std::ranges::all_of(commands, isSendable)) {
        reply.outcome = lastOutcome_ = MpdOutcome::Refused;
        return reply;
    }
    bool sent = !list || send({"command_list_begin", {}}, deadline);
    for (const MpdCommand& command : commands)
        sent = sent && send(command, deadline);
    sent = sent && (!list || send({"command_list_end", {}}, deadline));
    if (sent)
        reply = receive(deadline);
    else
        reply.outcome = lastOutcome_;
    if (reply.outcome == MpdOutcome::Broken || reply.outcome == MpdOutcome::TimedOut) {
        qCDebug(log) << "mpd at" << address_.text() << "lost at" << commands.front().name
                     << (reply.outcome == MpdOutcome::TimedOut ? "(silent)" : "(closed)");
        close();
    }
    return reply;
}

bool MpdConnection::send(const MpdCommand& command, Deadline deadline) {
    while (!put(async_.get(), command)) {
        // No room: with an empty buffer that means a command longer than any.
        const bool pending = mpd_async_events(async_.get()) & MPD_ASYNC_EVENT_WRITE;
        if (mpd_async_get_error(async_.get()) != MPD_ERROR_SUCCESS || !pending)
            return fail(MpdOutcome::Broken);
        if (!transfer(POLLOUT, deadline))
            return false;
    }
    return true;
}

MpdReply MpdConnection::receive(Deadline deadline) {
    MpdReply reply;
    qsizetype bytes = 0;
    for (;;) {
        char* line = receiveLine(deadline);
        if (!line)
            break;
        bytes += static_cast<qsizetype>(std::strlen(line)) + 1;
        const auto kind = mpd_parser_feed(parser_.get(), line);
        if (kind == MPD_PARSER_SUCCESS || kind == MPD_PARSER_ERROR) {
            reply.outcome = lastOutcome_ =
                kind == MPD_PARSER_SUCCESS ? MpdOutcome::Done : MpdOutcome::Refused;
            return reply;
        }
        if (kind != MPD_PARSER_PAIR || bytes > kMostReplyBytes) {
            fail(MpdOutcome::Broken);
            break;
        }
        reply.pairs.push_back({mpd_parser_get_name(parser_.get()), mpd_parser_get_value(parser_.get())});
        const MpdPair& pair = reply.pairs.back();
        if (pair.name == "binary" && !receiveBinary(pair.value.toLongLong(), reply.binary, deadline))
            break;
    }
    reply.outcome = lastOutcome_;
    return reply;
}

bool MpdConnection::receiveBinary(qint64 length, QByteArray& into, Deadline deadline) {
    if (length < 0 || length > kSocketPictureChunk)
        return fail(MpdOutcome::Broken);
    into.resize(length + 1); // a line break follows
    qsizetype have = 0;
    while (have < into.size()) {
        const auto room = static_cast<std::size_t>(into.size() - have);
        const auto got = mpd_async_recv_raw(async_.get(), into.data() + have, room);
        have += static_cast<qsizetype>(got);
        if (got == 0 && !transfer(POLLIN, deadline))
            return false;
    }
    into.chop(1);
    return true;
}

char* MpdConnection::receiveLine(Deadline deadline) {
    for (;;) {
        if (char* line = mpd_async_recv_line(async_.get()))
            return line;
        if (!transfer(POLLIN, deadline))
            return nullptr;
    }
}

// Waits for the socket and moves what can be moved, both ways. The deadline is checked on every call, also
// when data keeps coming.
bool MpdConnection::transfer(short events, Deadline deadline) {
    if (mpd_async_get_error(async_.get()) != MPD_ERROR_SUCCESS)
        return fail(MpdOutcome::Broken);
    const bool writing = mpd_async_events(async_.get()) & MPD_ASYNC_EVENT_WRITE;
    const short wanted = static_cast<short>(events | (writing ? POLLOUT : 0));
    if (Clock::now() >= deadline || !waitFor(descriptor(), wanted, deadline))
        return fail(MpdOutcome::TimedOut);
    pollfd ready{.fd = descriptor(), .events = wanted, .revents = 0};
    poll(&ready, 1, 0);
    unsigned io = 0;
    if (ready.revents & (POLLIN | POLLHUP | POLLERR))
        io |= MPD_ASYNC_EVENT_READ;
    if (ready.revents & POLLOUT)
        io |= MPD_ASYNC_EVENT_WRITE;
    return transferOn(async_.get(), io) || fail(MpdOutcome::Broken);
}

void MpdConnection::interrupt() {
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
    if (descriptor_ >= 0)
        shutdown(descriptor_, SHUT_RDWR);
}

bool MpdConnection::post(const MpdCommand& command) {
    return async_ && isSendable(command) && put(async_.get(), command) &&
           transferOn(async_.get(), MPD_ASYNC_EVENT_WRITE);
}

std::optional<QByteArrayList> MpdConnection::takeLines() {
    if (!async_)
        return std::nullopt;
    // What came before a close is given first; the close shows at the next call.
    const bool good = mpd_async_io(async_.get(), MPD_ASYNC_EVENT_READ);
    QByteArrayList lines;
    while (const char* line = good ? mpd_async_recv_line(async_.get()) : nullptr)
        lines.append(line);
    if (!good || mpd_async_get_error(async_.get()) != MPD_ERROR_SUCCESS)
        return std::nullopt;
    return lines;
}

int MpdConnection::descriptor() const {
    const std::lock_guard lock(mutex_);
    return descriptor_;
}

std::int32_t MpdConnection::peerProcess() const {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (!address_.isSocket() || getsockopt(descriptor(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return 0;
    return peer.pid;
}

} // namespace merlode
