#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

namespace merlode {

/// Where a player of our own sends its sound.
enum class SoundOutput {
    Pulse,
    PipeWire,
    Alsa,
    None, ///< plays in time without a sound, on a machine that has nothing to play on
};

/// What matters for that choice.
struct SoundMachine {
    bool pulseServer = false; ///< a PulseAudio socket, or a server named by PULSE_SERVER
    bool pipewireSocket = false;
    bool alsaDevice = false; ///< a playback device that ALSA knows
    QStringList mpdOutputs;  ///< what this machine's mpd was built with
};

/// PulseAudio's protocol first: every desktop answers it, those on PipeWire too, whereas a PipeWire socket is
/// also there on desktops that use it for video alone.
SoundOutput chooseSoundOutput(const SoundMachine& machine);

/// The output plug-ins in what "mpd --version" prints.
QStringList parseMpdOutputs(const QByteArray& versionText);

/// Looks at this machine; runs "mpd --version" and blocks for two seconds at most: not on the main thread.
SoundMachine probeSoundMachine(const QString& mpdExecutable, const QProcessEnvironment& environment);

} // namespace merlode
