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

// How one server misbehaves.
struct Behaviour {
    const char* name;
    QByteArray greeting = kGreeting;
    QByteArray toState = "volume: 50\nplaylistlength: 1\nstate: play\nelapsed: 1\nfile: a/b.flac\nOK\n";
    QByteArray toIdle = {}; // none: silent, as a good server is
    QByteArray toPicture = "OK\n";
    QByteArray toOthers = "OK\n";
    int again = -1;       // milliseconds until a reply is sent once more, for ever; below 0 it is sent once
    double seconds = 0.4; // what is silent shows after the time of a call
};

class HostileServer : public QTcpServer {
  public:
    explicit HostileServer(const Behaviour& behaviour) : behaviour_(behaviour) {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            socket->write(behaviour_.greeting);
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                while (socket->canReadLine())
                    answer(socket, socket->readLine().trimmed());
            });
        });
    }

  private:
    void answer(QTcpSocket* socket, const QByteArray& line) {
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
        socket->write(text);
        if (behaviour_.again < 0)
            return;
        auto* timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, [socket, text] {
            if (socket->bytesToWrite() < 65536)
                socket->write(text);
        });
        timer->start(behaviour_.again);
    }

    const Behaviour behaviour_;
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
        MpdProgram program(
            {.socketPath = {}, .host = u"127.0.0.1"_qs, .port = server.serverPort(), .password = {}},
            session);
        program.start({.changed = [] {}, .launched = [] {}, .quit = [] {}});
        QElapsedTimer sinceTick;
        sinceTick.start();
        qint64 longest = 0;
        const Timer ticking = session.runLoop().every(0.01, [&] {
            longest = std::max(longest, sinceTick.restart());
            if (const auto player = program.player()) {
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
        Behaviour{.name = "garbage", .toState = QByteArray("\0\xff::\n\n: \n", 9), .toOthers = "\x80\n"},
        Behaviour{.name = "endlessLine", .toState = QByteArray(65536, 'a'), .again = 0, .seconds = 1.5},
        Behaviour{.name = "endlessPairs", .toState = QByteArray("a: b\n").repeated(10'000), .again = 0},
        Behaviour{.name = "slowLine", .toState = "v", .again = 100, .seconds = 1.5},
        Behaviour{.name = "refusesAll", .toState = "ACK [5@0] {x} no\n", .toOthers = "ACK [5@0] {x} no\n"},
        Behaviour{.name = "idleFlood", .toIdle = QByteArray("changed: x\n").repeated(6000), .again = 0},
        Behaviour{.name = "hugePicture", .toPicture = "size: 99999999999\nbinary: 99999999999\nab"},
        Behaviour{.name = "negativePicture", .toPicture = "size: 5\nbinary: -5\n\nOK\n"},
        Behaviour{.name = "emptyPieces", .toPicture = "size: 5\nbinary: 0\n\nOK\n"},
        Behaviour{.name = "tooMuchPicture", .toPicture = "size: 1\nbinary: 3\nabc\nOK\n"}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(MpdConnectionTest, SurvivesWritingToAServerThatHasClosed) {
    const QTemporaryDir folder;
    QLocalServer server;
    ASSERT_TRUE(server.listen(folder.path() + u"/socket"_qs));
    MpdConnection connection({.socketPath = server.fullServerName(), .host = {}, .password = {}});
    auto opened = std::async(std::launch::async, [&connection] { return connection.open(2); });
    ASSERT_TRUE(server.waitForNewConnection(2000));
    QLocalSocket* socket = server.nextPendingConnection();
    socket->write(kGreeting + "OK\n");
    ASSERT_TRUE(socket->flush() && opened.get());
    socket->abort();
    std::signal(SIGPIPE, SIG_DFL); // Qt's sockets have ignored it; the program may have none of those
    EXPECT_FALSE(connection.post({"idle", {}}));
    EXPECT_EQ(connection.run({"ping", {}}, 1).outcome, MpdOutcome::Broken);
}

} // namespace
} // namespace merlode
