#include "platform/linux/sound_output.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace merlode {

namespace {

constexpr int kVersionMilliseconds = 2000;

bool exists(const QString& folder, const QString& name) {
    return !folder.isEmpty() && QFileInfo::exists(folder + u'/' + name);
}

} // namespace

SoundOutput chooseSoundOutput(const SoundMachine& machine) {
    const auto built = [&machine](const char* name) {
        return machine.mpdOutputs.contains(QLatin1String(name));
    };
    if (machine.pulseServer && built("pulse"))
        return SoundOutput::Pulse;
    if (machine.pipewireSocket && built("pipewire"))
        return SoundOutput::PipeWire;
    if (machine.alsaDevice && built("alsa"))
        return SoundOutput::Alsa;
    return SoundOutput::None;
}

QStringList parseMpdOutputs(const QByteArray& versionText) {
    bool here = false;
    for (const QByteArray& line : versionText.split('\n')) {
        if (here)
            return QString::fromUtf8(line).split(u' ', Qt::SkipEmptyParts);
        here = line.trimmed().compare("Output plugins:", Qt::CaseInsensitive) == 0;
    }
    return {};
}

SoundMachine probeSoundMachine(const QString& mpdExecutable, const QProcessEnvironment& environment) {
    const QString runtime = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    SoundMachine machine;
    machine.pulseServer =
        !environment.value(QStringLiteral("PULSE_SERVER")).isEmpty() ||
        exists(environment.value(QStringLiteral("PULSE_RUNTIME_PATH")), QStringLiteral("native")) ||
        exists(runtime, QStringLiteral("pulse/native"));
    machine.pipewireSocket =
        exists(environment.value(QStringLiteral("PIPEWIRE_RUNTIME_DIR"), runtime),
               environment.value(QStringLiteral("PIPEWIRE_REMOTE"), QStringLiteral("pipewire-0")));
    const QDir devices(QStringLiteral("/dev/snd"));
    machine.alsaDevice = !devices.entryList({QStringLiteral("pcmC*p")}, QDir::System).isEmpty();
    QProcess version;
    version.start(mpdExecutable, {QStringLiteral("--version")}, QIODevice::ReadOnly);
    if (version.waitForFinished(kVersionMilliseconds)) {
        machine.mpdOutputs = parseMpdOutputs(version.readAllStandardOutput());
    } else {
        version.kill();
        version.waitForFinished(kVersionMilliseconds); // else Qt complains of it on standard error
    }
    return machine;
}

} // namespace merlode
