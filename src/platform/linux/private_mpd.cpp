#include "platform/linux/private_mpd.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QSaveFile>
#include <QStandardPaths>

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

constexpr int kEndMilliseconds = 1000;

const char* outputType(SoundOutput sound) {
    switch (sound) {
    case SoundOutput::Pulse:
        return "pulse";
    case SoundOutput::PipeWire:
        return "pipewire";
    case SoundOutput::Alsa:
        return "alsa";
    case SoundOutput::None:
        break;
    }
    return "null";
}

QByteArray quoted(const QString& text) {
    QByteArray bytes = QFile::encodeName(text);
    bytes.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + bytes + '"';
}

bool isWritablePath(const QString& path) {
    return path.startsWith(u'/') &&
           std::ranges::none_of(path, [](QChar c) { return c.category() == QChar::Other_Control; });
}

bool makeOwnFolder(const QString& path) {
    return QDir().mkpath(path) &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

std::optional<QByteArray> privateMpdConfiguration(const PrivateMpdOptions& options, const QString& socketPath,
                                                  SoundOutput sound) {
    if (!isWritablePath(options.stateFolder) || !isWritablePath(options.musicFolder) ||
        !isWritablePath(socketPath))
        return std::nullopt;
    QByteArray text;
    const auto set = [&text](const char* name, const QString& value) {
        text += name + (' ' + quoted(value)) + '\n';
    };
    const auto state = [&options](const char* name) {
        return options.stateFolder + u'/' + QLatin1String(name);
    };
    set("music_directory", options.musicFolder);
    set("playlist_directory", state("playlists"));
    set("db_file", state("database"));
    set("state_file", state("state"));
    set("sticker_file", state("stickers.sql"));
    set("log_file", state("log"));
    set("log_level", QStringLiteral("warning"));
    set("bind_to_address", socketPath);
    set("filesystem_charset", QStringLiteral("UTF-8"));
    set("auto_update", QStringLiteral("yes"));
    set("restore_paused", QStringLiteral("yes"));
    set("zeroconf_enabled", QStringLiteral("no"));
    text += "audio_output {\n";
    set("type", QLatin1String(outputType(sound)));
    set("name", QStringLiteral("Merlode"));
    // A sound server's own mixer is there only while something plays; this one is always.
    set("mixer_type", QStringLiteral("software"));
    text += "}\n";
    return text;
}

PrivateMpd::PrivateMpd(PrivateMpdOptions options, Session& session)
    : options_(std::move(options)),
      loop_(session.runLoop()),
      queue_(QStringLiteral("private mpd"), session.executor(), &session) {
    address_.socketPath = options_.runtimeFolder + QStringLiteral("/socket");
    if (QFile::encodeName(address_.socketPath).size() > kLongestSocketPath) {
        shortFolder_ = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/merlode-XXXXXX"));
        address_.socketPath = shortFolder_->path() + QStringLiteral("/socket");
    }
}

PrivateMpd::~PrivateMpd() {
    if (process_.state() == QProcess::NotRunning)
        return;
    process_.terminate();
    if (!process_.waitForFinished(kEndMilliseconds)) {
        process_.kill();
        process_.waitForFinished(kEndMilliseconds);
    }
}

std::optional<QString> PrivateMpd::executable() {
    const QString path = QStandardPaths::findExecutable(QStringLiteral("mpd"));
    return path.isEmpty() ? std::nullopt : std::optional(path);
}

bool PrivateMpd::isStarted() const {
    return probing_ || process_.state() != QProcess::NotRunning;
}

bool PrivateMpd::start() {
    if (isStarted())
        return true;
    const auto path = executable();
    const QString playlists = options_.stateFolder + QStringLiteral("/playlists");
    if (!path || !makeOwnFolder(options_.stateFolder) || !makeOwnFolder(playlists) ||
        (!shortFolder_ && !makeOwnFolder(options_.runtimeFolder))) {
        qCWarning(log) << "no private mpd: not installed, or no folder for its state at"
                       << options_.stateFolder;
        return false;
    }
    const auto sound = options_.sound;
    if (sound) {
        startWith(*sound);
        return isStarted();
    }
    probing_ = true;
    queue_.async([this, path, life = std::weak_ptr(life_)] {
        const auto found =
            chooseSoundOutput(probeSoundMachine(*path, QProcessEnvironment::systemEnvironment()));
        loop_.async([this, life, found] {
            if (life.expired())
                return;
            probing_ = false;
            startWith(found);
        });
    });
    return true;
}

std::optional<QString> PrivateMpd::writeConfiguration(SoundOutput sound) {
    const auto text = privateMpdConfiguration(options_, address_.socketPath, sound);
    QSaveFile file(options_.stateFolder + QStringLiteral("/mpd.conf"));
    if (!text || !file.open(QIODevice::WriteOnly) || file.write(*text) != text->size() || !file.commit())
        return std::nullopt;
    return file.fileName();
}

void PrivateMpd::startWith(SoundOutput sound) {
    const auto configuration = writeConfiguration(sound);
    if (!configuration) {
        qCWarning(log) << "no private mpd: cannot write its configuration into" << options_.stateFolder;
        return;
    }
    QFile::remove(address_.socketPath); // left over from one that was killed: nobody listens there
    process_.setStandardInputFile(QProcess::nullDevice());
    process_.setStandardOutputFile(QProcess::nullDevice());
    process_.setStandardErrorFile(options_.stateFolder + QStringLiteral("/log"));
    process_.setChildProcessModifier([parent = getpid()] {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) // it died before the line above
            _exit(1);
    });
    process_.start(executable().value_or(QStringLiteral("mpd")),
                   {QStringLiteral("--no-daemon"), *configuration});
}

} // namespace merlode
