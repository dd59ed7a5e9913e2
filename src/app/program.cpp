#include "app/program.h"

#include "app/application.h"
#include "app/demo.h"
#include "app/doctor.h"
#include "app/modules.h"
#include "app/session_bus.h"
#include "app/termination_signals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <csignal>
#include <cstdio>

namespace merlode {

namespace {

constexpr int kCannotRun = 1;
constexpr int kUsage = 2;

struct Arguments {
    bool headless = false;
    bool demo = false;
    bool window = false;
    bool serve = false;
    bool doctor = false;
    std::optional<int> exitCode; ///< set when there is nothing to run
};

void print(std::FILE* stream, const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stream);
}

// Read before the QCoreApplication is made, since they decide which kind is.
Arguments readArguments(int argc, char** argv) {
    QStringList words;
    for (int index = 0; index < argc; ++index)
        words << QString::fromLocal8Bit(argv[index]);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "One remote control for the music players that you have. It is controlled with merlodectl "
        "and with the media keys."));
    const QCommandLineOption headless(QStringLiteral("headless"),
                                      QStringLiteral("Run without windows; needs no display."));
    const QCommandLineOption window(
        QStringLiteral("window"),
        QStringLiteral("Show the panel as a window, with no item in the desktop's bar."));
    const QCommandLineOption demo(
        QStringLiteral("demo"),
        QStringLiteral(
            "Run on a generated music library in a throw-away home; needs no player and no music."));
    const QCommandLineOption serve(
        QStringLiteral("serve"),
        QStringLiteral(
            "Let every machine on this network control playback here, as \"merlodectl serve on\"."));
    const QCommandLineOption doctor(
        QStringLiteral("doctor"),
        QStringLiteral("Check what the program relies on, print it as JSON, and end."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and end."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and end."));
    parser.addOptions({headless, window, demo, serve, doctor, help, version});
    Arguments arguments;
    if (!parser.parse(words) || !parser.positionalArguments().isEmpty()) {
        const QString reason = parser.errorText().isEmpty()
                                   ? QStringLiteral("merlode takes no words; to control it use merlodectl")
                                   : parser.errorText();
        print(stderr, QStringLiteral("merlode: %1\nTry \"merlode --help\".\n").arg(reason));
        arguments.exitCode = kUsage;
    } else if (parser.isSet(help)) {
        print(stdout, parser.helpText());
        arguments.exitCode = 0;
    } else if (parser.isSet(version)) {
        print(stdout, QStringLiteral("merlode " MERLODE_VERSION "\n"));
        arguments.exitCode = 0;
    }
    arguments.headless = parser.isSet(headless);
    arguments.window = parser.isSet(window);
    arguments.demo = parser.isSet(demo);
    arguments.serve = parser.isSet(serve);
    arguments.doctor = parser.isSet(doctor);
    return arguments;
}

void configureLogging() {
    if (qEnvironmentVariable("MERLODE_LOG") == u"debug")
        QLoggingCategory::setFilterRules(QStringLiteral("merlode.*.debug=true\nmerlode.*.info=true"));
    qSetMessagePattern(QStringLiteral("%{if-debug}%{time process} %{category} %{endif}merlode: %{message}"));
}

int printDoctor() {
    const auto music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    const auto checks = runDoctor({configFolder(), resourceFolder(), {music}});
    QJsonArray answer;
    bool missing = false;
    for (const auto& check : doctorAnswer(checks))
        answer.append(QJsonObject::fromVariantMap(check));
    for (const auto& check : checks)
        missing |= check.state == Check::State::Missing;
    print(stdout, QString::fromUtf8(QJsonDocument(answer).toJson()));
    return missing ? kCannotRun : 0;
}

int runApplication(const Arguments& arguments, const QString& demoFolder) {
    // An address that has outlived its bus, in a shell that was left open say.
    if (const auto bus = QDBusConnection::sessionBus(); !bus.isConnected()) {
        print(stderr, QStringLiteral("merlode: the session bus cannot be reached: %1\n")
                          .arg(bus.lastError().message()));
        return kCannotRun;
    }
    Application application({arguments.headless, arguments.demo, arguments.window, arguments.serve,
                             resourceFolder(), demoFolder});
    if (!application.becomeTheInstance()) {
        if (arguments.demo) {
            print(stderr, QStringLiteral(
                              "merlode: it runs already; end it with \"merlodectl quit\" before the demo\n"));
            return kCannotRun;
        }
        print(stderr, QStringLiteral("merlode: it runs already and was asked to come forward\n"));
        return 0;
    }
    const TerminationSignals signalsToEnd([&application] { application.terminate(); });
    application.launch();
    return QCoreApplication::exec();
}

// A display that is named but not there would end the program inside Qt; its absence is plain to see.
bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

} // namespace

int runProgram(int argc, char** argv) {
    Arguments arguments = readArguments(argc, argv);
    if (arguments.exitCode)
        return *arguments.exitCode;
    std::signal(SIGPIPE, SIG_IGN); // players and followers may go at any time
    configureLogging();
    if (!arguments.headless && !arguments.doctor && !hasDisplay()) {
        print(stderr, QStringLiteral("merlode: there is no display, running as with --headless\n"));
        arguments.headless = true;
    }
    const SessionBus bus;
    if (!bus.error().isEmpty() && !arguments.doctor) {
        print(stderr, QStringLiteral("merlode: %1\n").arg(bus.error()));
        return kCannotRun;
    }
    const auto demoFolder = arguments.demo ? makeDemoHome() : std::optional<QString>();
    if (arguments.demo && !demoFolder) {
        print(stderr,
              QStringLiteral("merlode: the demo's folder cannot be made in %1\n").arg(QDir::tempPath()));
        return kCannotRun;
    }
    std::unique_ptr<QCoreApplication> qtApplication;
    if (!arguments.headless && !arguments.doctor)
        qtApplication = modules::makeApplication(argc, argv);
    if (!qtApplication)
        qtApplication = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("merlode"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MERLODE_VERSION));
    const int exitCode =
        arguments.doctor ? printDoctor() : runApplication(arguments, demoFolder.value_or(QString()));
    qtApplication.reset();
    if (demoFolder)
        QDir(*demoFolder).removeRecursively();
    return exitCode;
}

} // namespace merlode
