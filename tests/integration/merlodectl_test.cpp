#include "base/control_interface.h"
#include "support/private_bus.h"

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace merlode;

namespace {

/// Stands in for the running program.
class ProgramDouble final : public QDBusVirtualObject {
  public:
    explicit ProgramDouble(PrivateBus& bus) : bus_(bus.connect()) {
        EXPECT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
        EXPECT_TRUE(bus_.registerVirtualObject(QString::fromLatin1(control::kPath), this));
        EXPECT_TRUE(bus_.registerService(QString::fromLatin1(control::kService)));
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        calls << message.member();
        for (const auto& argument : message.arguments())
            calls.last() += u' ' + argument.toString();
        if (silent)
            return true;
        if (!error.isEmpty())
            return connection.send(message.createErrorReply(error, u"it\u001b[2J cannot"_qs));
        auto reply = message.createReply();
        if (message.member() == u"Status"_qs)
            reply << QVariantMap{{u"state"_qs, u"playing"_qs}, {u"duration"_qs, 200}, {u"volume"_qs, 40}};
        if (message.member() == u"Follow"_qs)
            reply << QVariant::fromValue(QDBusUnixFileDescriptor(pipe[0]));
        return connection.send(reply);
    }

    QStringList calls;
    QString error; ///< the name of the error that every method gives, if any
    bool silent = false;
    int pipe[2] = {-1, -1}; ///< Follow gives the first end

  private:
    QDBusConnection bus_;
};

/// merlodectl with a runtime folder and a session bus of its own.
class MerlodectlTest : public testing::Test {
  protected:
    MerlodectlTest() { process_.setProcessEnvironment(bus_.environment(runtime_.path())); }

    int run(const QString& arguments) {
        process_.start(QStringLiteral(MERLODE_BIN_DIR "/merlodectl"), arguments.split(u' '));
        EXPECT_TRUE(waitUntil([this] { return process_.state() == QProcess::NotRunning; }, 20));
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        errors_ = process_.readAllStandardError();
        return process_.exitCode();
    }

    QTemporaryDir runtime_;
    PrivateBus bus_;
    QProcess process_;
    QByteArray errors_;
};

} // namespace

TEST_F(MerlodectlTest, FailuresHaveTheirExitCodes) {
    EXPECT_EQ(run(u"sing"_qs), 2);
    EXPECT_EQ(run(u"play"_qs), 3);
    ProgramDouble program(bus_);
    program.error = QString::fromLatin1(control::kErrorNoPlayer);
    EXPECT_EQ(run(u"play"_qs), 4);
    program.error = QString::fromLatin1(control::kErrorNotSupported);
    EXPECT_EQ(run(u"status"_qs), 1);
    EXPECT_EQ(errors_, "merlodectl: it\xef\xbf\xbd[2J cannot\n");
    program.silent = true;
    EXPECT_EQ(run(u"status"_qs), 1);
    EXPECT_EQ(errors_, "merlodectl: merlode does not answer\n");
}

TEST_F(MerlodectlTest, FindsAProgramOnABusOfItsOwn) {
    PrivateBus own;
    ProgramDouble program(own);
    ASSERT_TRUE(QDir(runtime_.path()).mkdir(u"merlode"_qs));
    QFile file(runtime_.filePath(QString::fromLatin1(control::kBusAddressFile)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(own.address().toUtf8() + '\n');
    file.close();
    EXPECT_EQ(run(u"next"_qs), 0) << errors_.constData();
}

TEST_F(MerlodectlTest, FollowPrintsEachChangeUntilTheProgramQuits) {
    ProgramDouble program(bus_);
    const QByteArray lines = "{\"title\":\"Kite\",\"position\":1}\n{\"title\":\"Kite\",\"position\":2}\n"
                             "nonsense\n{\"title\":\"Lantern\"}\n";
    EXPECT_EQ(::write(program.pipe[1], lines.constData(), static_cast<size_t>(lines.size())), lines.size());
    ::close(program.pipe[1]);
    EXPECT_EQ(run(u"status --follow --format={title}"_qs), 3);
    EXPECT_EQ(process_.readAllStandardOutput(), "Kite\nLantern\n");
    EXPECT_EQ(errors_, "merlodectl: merlode has quit\n");
}
