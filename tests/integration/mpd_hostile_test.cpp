#include "base/qt_run_loop.h"
#include "base/session.h"
#include "platform/linux/mpd_program.h"
#include "support/mpd_server.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>
#include <future>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using namespace testing_support;

const QByteArray kGreeting = "OK MPD 0.23.5\n";
const QByteArray kState =
    "volume: 50\nplaylistlength: 1\nstate: play\nelapsed: 1\nfile: a/b.flac\nTitle: T\nOK\n";

// How one server misbehaves. A reply may be sent for ever, or one byte at a time.
struct Behaviour {
    const char* name;
    QByteArray greeting = kGreeting;
    QByteArray toState = kState;
    QByteArray toIdle = {}; // none: silent, as a good server is
    QByteArray toPicture = "OK\n";
    QByteArray toOthers = "OK\n";
    bool endless = false;
    bool dribbling = false;
    bool closing = false;
    double seconds = 0.4; // what is silent shows after the time of a call
};

class HostileServer {
  public:
    explicit HostileServer(const Behaviour& behaviour) : behaviour_(behaviour) {
        server_.listen(QHostAddress::LocalHost);
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] { accept(); });
    }

    MpdAddress address() const {
        return {.socketPath = {},
                .host = QStringLiteral("127.0.0.1"),
                .port = server_.serverPort(),
                .password = {}};
    }

  private:
    void accept() {
        QTcpSocket* socket = server_.nextPendingConnection();
        socket->write(behaviour_.greeting);
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
            while (socket->canReadLine())
                answer(socket, socket->readLine().trimmed());
        });
    }

    void answer(QTcpSocket* socket, const QByteArray& line) {
        if (behaviour_.closing && !line.startsWith("binarylimit"))
            return socket->abort();
        inList_ = line == "command_list_begin" || (inList_ && line != "command_list_end");
        if (inList_)
            return;
        if (line == "command_list_end")
            reply(socket, behaviour_.toState);
        else if (line.startsWith("idle"))
            reply(socket, behaviour_.toIdle);
        else if (line.startsWith("readpicture") || line.startsWith("albumart"))
            reply(socket, behaviour_.toPicture);
        else
            socket->write(line.startsWith("binarylimit") ? QByteArray("OK\n") : behaviour_.toOthers);
    }

    void reply(QTcpSocket* socket, const QByteArray& text) {
        if (behaviour_.dribbling) {
            auto* timer = new QTimer(socket);
            QObject::connect(timer, &QTimer::timeout, socket, [socket, text, at = 0]() mutable {
                socket->write(text.mid(at++ % std::max<qsizetype>(text.size(), 1), 1));
            });
            timer->start(100);
        } else if (behaviour_.endless) {
            const auto pour = [socket, text] {
                if (socket->bytesToWrite() < 65536)
                    socket->write(text);
            };
            QObject::connect(socket, &QTcpSocket::bytesWritten, socket, pour);
            pour();
        } else {
            socket->write(text);
        }
    }

    Behaviour behaviour_;
    QTcpServer server_;
    bool inList_ = false;
};

class MpdHostileTest : public testing::TestWithParam<Behaviour> {};

// Whatever the server does, the main thread goes on and the player can be let go of at once.
TEST_P(MpdHostileTest, HoldsNobodyUp) {
    HostileServer server(GetParam());
    QElapsedTimer whole;
    {
        Session session(std::make_unique<QtRunLoop>(), makeThreadPoolExecutor());
        const SessionScope scope(&session);
        MpdProgram program(server.address(), session);
        program.start({.changed = [] {}, .launched = [] {}, .quit = [] {}});
        QElapsedTimer sinceTick;
        sinceTick.start();
        qint64 longest = 0;
        const Timer ticking = session.runLoop().every(0.01, [&] {
            longest = std::max(longest, sinceTick.restart());
            if (const auto player = program.player()) {
                player->currentTrack();
                player->soundVolume();
                player->setPlayerPosition(3);
            }
        });
        pumpUntil([] { return false; }, GetParam().seconds);
        EXPECT_LT(longest, 700) << "milliseconds without a turn of the loop";
        whole.start();
    }
    EXPECT_LT(whole.elapsed(), 1000) << "milliseconds to let go";
}

INSTANTIATE_TEST_SUITE_P(
    , MpdHostileTest,
    testing::Values(
        Behaviour{.name = "silent", .greeting = "", .seconds = 1.5},
        Behaviour{.name = "halfGreeting", .greeting = "OK MP", .seconds = 1.5},
        Behaviour{.name = "otherService", .greeting = "SSH-2.0-x\r\n"},
        Behaviour{.name = "endlessGreeting", .greeting = QByteArray(10'000'000, 'x')},
        Behaviour{.name = "garbage", .toState = QByteArray("\0\xff::\n\n: \n", 9), .toOthers = "\x80\n"},
        Behaviour{.name = "halfLine", .toState = "volu", .seconds = 1.5},
        Behaviour{.name = "endlessLine", .toState = QByteArray(65536, 'a'), .endless = true, .seconds = 1.5},
        Behaviour{.name = "endlessPairs",
                  .toState = QByteArray("a: b\n").repeated(10'000),
                  .endless = true,
                  .seconds = 1.5},
        Behaviour{.name = "dribbled", .dribbling = true, .seconds = 1.5},
        Behaviour{.name = "closing", .closing = true},
        Behaviour{.name = "refusesAll", .toState = "ACK [5@0] {x} no\n", .toOthers = "ACK [5@0] {x} no\n"},
        Behaviour{.name = "emptyReplies", .toState = "OK\n"},
        Behaviour{.name = "idleGarbage", .toIdle = "changed: player\nwhat?\n"},
        Behaviour{.name = "idleRefused", .toIdle = "ACK [4@0] {idle} permission\n"},
        Behaviour{.name = "idleFlood", .toIdle = QByteArray("changed: x\n").repeated(6000), .endless = true},
        Behaviour{.name = "idleAtOnce", .toIdle = "changed: player\nOK\n"},
        Behaviour{.name = "hugePicture", .toPicture = "size: 99999999999\nbinary: 99999999999\nab"},
        Behaviour{.name = "negativePicture", .toPicture = "size: 5\nbinary: -5\n\nOK\n"},
        Behaviour{.name = "emptyPieces", .toPicture = "size: 5\nbinary: 0\n\nOK\n"},
        Behaviour{.name = "tooMuchPicture", .toPicture = "size: 1\nbinary: 3\nabc\nOK\n"},
        Behaviour{.name = "noPicture", .toPicture = "size: 3\nbinary: 3\nabc\nOK\n"}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(MpdConnectionTest, SurvivesWritingToAServerThatHasClosed) {
    const QTemporaryDir folder;
    QLocalServer server;
    ASSERT_TRUE(server.listen(folder.path() + u"/socket"_qs));
    bool closed = false;
    QObject::connect(&server, &QLocalServer::newConnection, &server, [&] {
        QLocalSocket* socket = server.nextPendingConnection();
        socket->write(kGreeting);
        QObject::connect(socket, &QLocalSocket::readyRead, socket, [&closed, socket] {
            socket->write("OK\n");
            socket->waitForBytesWritten(100);
            socket->abort();
            closed = true;
        });
    });
    MpdConnection connection({.socketPath = server.fullServerName(), .host = {}, .password = {}});
    auto opened = std::async(std::launch::async, [&connection] { return connection.open(2); });
    ASSERT_TRUE(pumpUntil([&closed] { return closed; }));
    ASSERT_TRUE(opened.get());
    std::signal(SIGPIPE, SIG_DFL); // Qt's sockets have ignored it; the program may have none of those
    EXPECT_FALSE(connection.post({"idle", {}}));
    EXPECT_EQ(connection.run({"ping", {}}, 1).outcome, MpdOutcome::Broken);
}

} // namespace
} // namespace merlode
