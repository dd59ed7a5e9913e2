#include "support/tray_host.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDir>
#include <QFile>

#include <csignal>

#include <sys/prctl.h>

namespace merlode {

namespace {

constexpr int kDeadlineMilliseconds = 10'000;
constexpr double kStartSeconds = 40; ///< on a machine that has other things to do

// One bar with nothing but its items; with settings of an earlier run it asks no questions.
constexpr char kSettings[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>
</channel>
)";

void endWithTest(QProcess& process) {
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

void end(QProcess& process) {
    process.terminate();
    process.waitForFinished(kDeadlineMilliseconds);
}

} // namespace

TrayHost::TrayHost(PrivateBus& bus, const QString& home)
    : connection_(bus.connect()), environment_(bus.environment(home)) {
    startScreen();
    writeSettings(home);
    environment_.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
    environment_.insert(u"NO_AT_BRIDGE"_qs, u"1"_qs); // nobody here needs a screen reader
    endWithTest(bar_);
    bar_.setProcessEnvironment(environment_);
    bar_.setStandardOutputFile(QProcess::nullDevice());
    bar_.start(u"xfce4-panel"_qs, {u"--disable-wm-check"_qs});
    isUp_ = waitUntil([this] { return takesItems(); }, kStartSeconds);
}

TrayHost::~TrayHost() {
    end(bar_);
    end(screen_);
}

void TrayHost::startScreen() {
    endWithTest(screen_);
    screen_.start(u"Xvfb"_qs, {u"-displayfd"_qs, u"1"_qs, u"-screen"_qs, u"0"_qs, u"800x600x24"_qs,
                               u"-nolisten"_qs, u"tcp"_qs});
    while (!screen_.canReadLine() && screen_.waitForReadyRead(kDeadlineMilliseconds)) {
    }
    environment_.insert(u"DISPLAY"_qs, u":"_qs + QString::fromLatin1(screen_.readLine()).trimmed());
}

// The settings are kept by a service that the bus starts: it has to look under the same home.
void TrayHost::writeSettings(const QString& home) const {
    const QString folder = home + u"/.config/xfce4/xfconf/xfce-perchannel-xml"_qs;
    QFile file(folder + u"/xfce4-panel.xml"_qs);
    if (QDir().mkpath(folder) && file.open(QIODevice::WriteOnly))
        file.write(kSettings);
    auto message =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                       u"org.freedesktop.DBus"_qs, u"UpdateActivationEnvironment"_qs);
    const QMap<QString, QString> variables{{u"HOME"_qs, home},
                                           {u"XDG_CONFIG_HOME"_qs, home + u"/.config"_qs},
                                           {u"XDG_CACHE_HOME"_qs, home + u"/.cache"_qs}};
    qDBusRegisterMetaType<QMap<QString, QString>>();
    connection_.call(message << QVariant::fromValue(variables));
}

bool TrayHost::takesItems() const {
    auto question =
        QDBusMessage::createMethodCall(u"org.kde.StatusNotifierWatcher"_qs, u"/StatusNotifierWatcher"_qs,
                                       u"org.freedesktop.DBus.Properties"_qs, u"Get"_qs);
    const auto reply = connection_.call(question << u"org.kde.StatusNotifierWatcher"_qs
                                                 << u"IsStatusNotifierHostRegistered"_qs);
    return reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
}

QByteArray TrayHost::run(const QString& program, const QStringList& arguments) const {
    QProcess process;
    process.setProcessEnvironment(environment_);
    process.start(program, arguments);
    const bool good = process.waitForFinished(kDeadlineMilliseconds) && process.exitCode() == 0;
    return good ? process.readAllStandardOutput() + '\n' : QByteArray();
}

QImage TrayHost::screen() const {
    return QImage::fromData(run(u"import"_qs, {u"-window"_qs, u"root"_qs, u"png:-"_qs}));
}

bool TrayHost::act(const QStringList& words) const {
    return !run(u"xdotool"_qs, words).isEmpty();
}

} // namespace merlode
