#include "app/demo/demo_music.h"

#include "app/demo/demo_random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>

namespace merlode {

namespace {

/// How one voice sounds: the strengths of its first partials, how fast it dies away and how softly it begins.
struct Timbre {
    std::array<double, 4> partials;
    double halfLife; ///< seconds until the note has lost half its strength; higher partials die sooner
    double attack;   ///< seconds
};

constexpr Timbre kNylon{{1.0, 0.5, 0.25, 0.1}, 0.22, 0.004};
constexpr Timbre kElectricPiano{{1.0, 0.15, 0.3, 0.05}, 0.35, 0.006};
constexpr Timbre kBell{{1.0, 0.0, 0.35, 0.12}, 0.5, 0.003};
constexpr Timbre kSquare{{1.0, 0.0, 0.33, 0.0}, 0.12, 0.003};
constexpr Timbre kStrings{{1.0, 0.45, 0.3, 0.15}, 1.1, 0.12};
constexpr Timbre kPad{{1.0, 0.25, 0.1, 0.0}, 2.5, 0.6};
constexpr Timbre kBass{{1.0, 0.35, 0.1, 0.0}, 0.35, 0.008};

/// What makes one style differ from another.
struct Manner {
    Timbre chords, tune, bass;
    int slowest, fastest; ///< beats a minute
    int stepsPerBeat;     ///< of the broken chords; 0 for whole chords on the bar
    int chordTones;       ///< 3, or 4 with the seventh
    double tuneDensity;   ///< how likely a half beat carries a note of the tune
    double echo;          ///< strength of the echo
};

const Manner& mannerOf(DemoStyle style) {
    static constexpr Manner kFolk{kNylon, kNylon, kBass, 84, 112, 2, 3, 0.35, 0.15};
    static constexpr Manner kJazz{kElectricPiano, kBell, kBass, 96, 132, 1, 4, 0.45, 0.1};
    static constexpr Manner kElectronic{kSquare, kBell, kBass, 110, 128, 4, 3, 0.3, 0.35};
    static constexpr Manner kAmbient{kPad, kBell, kPad, 52, 64, 0, 4, 0.15, 0.4};
    static constexpr Manner kChamber{kStrings, kStrings, kStrings, 66, 88, 1, 3, 0.4, 0.2};
    static constexpr Manner kPop{kElectricPiano, kNylon, kBass, 100, 124, 2, 3, 0.5, 0.2};
    switch (style) {
    case DemoStyle::Jazz:
        return kJazz;
    case DemoStyle::Electronic:
        return kElectronic;
    case DemoStyle::Ambient:
        return kAmbient;
    case DemoStyle::Chamber:
        return kChamber;
    case DemoStyle::Pop:
        return kPop;
    case DemoStyle::Folk:
        break;
    }
    return kFolk;
}

/// Semitones of the seven steps of the scale.
using Scale = std::array<int, 7>;
constexpr Scale kMajor{0, 2, 4, 5, 7, 9, 11};
constexpr Scale kMinor{0, 2, 3, 5, 7, 8, 10};

/// Steps of the scale on which the chords of four bars stand; any of them follows any other well.
using Progression = std::array<int, 4>;
constexpr Progression kProgressions[] = {{0, 4, 5, 3}, {0, 5, 3, 4}, {0, 3, 0, 4}, {5, 3, 0, 4},
                                         {0, 2, 3, 4}, {0, 5, 1, 4}, {3, 0, 4, 5}};

/// Writes notes into a buffer. Notes of the same voice and pitch are computed once and added many times.
class Mixer {
  public:
    explicit Mixer(double seconds) : sound_(static_cast<std::size_t>(seconds * kDemoSampleRate)) {}

    void add(const Timbre& timbre, int pitch, double start, double strength) {
        auto& note = notes_[{&timbre, pitch}];
        if (note.empty())
            note = makeNote(timbre, pitch);
        const auto first = static_cast<std::size_t>(start * kDemoSampleRate);
        if (first >= sound_.size())
            return;
        const auto count = std::min(note.size(), sound_.size() - first);
        const auto gain = static_cast<float>(strength);
        for (std::size_t i = 0; i < count; ++i)
            sound_[first + i] += gain * note[i];
    }

    void addEcho(double delay, double strength) {
        const auto distance = static_cast<std::size_t>(delay * kDemoSampleRate);
        const auto gain = static_cast<float>(strength);
        for (std::size_t i = distance; i < sound_.size(); ++i)
            sound_[i] += gain * sound_[i - distance];
    }

    std::vector<std::int16_t> finish() const;

  private:
    static std::vector<float> makeNote(const Timbre& timbre, int pitch);

    std::vector<float> sound_;
    std::map<std::pair<const Timbre*, int>, std::vector<float>> notes_;
};

/// A partial that dies away, as a damped resonator: two multiplications a sample and no sine. One that would
/// lie too near half the sample rate is silent.
struct Resonators {
    std::array<float, 4> now{}, previous{}, forward{}, back{};

    Resonators(const Timbre& timbre, double frequency) {
        for (std::size_t k = 0; k < now.size(); ++k) {
            const auto harmonic = static_cast<double>(k + 1);
            if (frequency * harmonic > kDemoSampleRate * 0.4)
                continue;
            const double step = 2 * std::numbers::pi * frequency * harmonic / kDemoSampleRate;
            const double damping = std::exp2(-std::sqrt(harmonic) / (timbre.halfLife * kDemoSampleRate));
            forward[k] = static_cast<float>(2 * damping * std::cos(step));
            back[k] = static_cast<float>(damping * damping);
            now[k] = static_cast<float>(timbre.partials[k] * damping * std::sin(step));
        }
    }

    /// All partials side by side: one after the other would wait for each product.
    float next() {
        float sum = 0;
        for (std::size_t k = 0; k < now.size(); ++k) {
            sum += now[k];
            const auto following = forward[k] * now[k] - back[k] * previous[k];
            previous[k] = now[k];
            now[k] = following;
        }
        return sum;
    }
};

std::vector<float> Mixer::makeNote(const Timbre& timbre, int pitch) {
    const auto length = std::min(timbre.attack + timbre.halfLife * 6, 4.5);
    std::vector<float> note(static_cast<std::size_t>(length * kDemoSampleRate));
    Resonators resonators(timbre, 440 * std::exp2((pitch - 69) / 12.0));
    for (auto& sample : note)
        sample = resonators.next();
    const auto attack = static_cast<std::size_t>(timbre.attack * kDemoSampleRate);
    for (std::size_t i = 0; i < attack; ++i)
        note[i] *= static_cast<float>(i) / static_cast<float>(attack);
    // What is left at the end is faded, or each note would end with a click.
    const auto release = note.size() / 8;
    for (std::size_t i = 0; i < release; ++i)
        note[note.size() - 1 - i] *= static_cast<float>(i) / static_cast<float>(release);
    return note;
}

std::vector<std::int16_t> Mixer::finish() const {
    constexpr float kPeak = 0.7f * 32767;
    constexpr std::size_t kFade = kDemoSampleRate * 2;
    float loudest = 1e-6f;
    for (const auto sample : sound_)
        loudest = std::max(loudest, std::abs(sample));
    std::vector<std::int16_t> result(sound_.size());
    for (std::size_t i = 0; i < sound_.size(); ++i) {
        const auto fade = std::min(1.0f, static_cast<float>(sound_.size() - 1 - i) / kFade);
        result[i] = static_cast<std::int16_t>(std::lrint(sound_[i] / loudest * kPeak * fade));
    }
    return result;
}

/// One piece: draws key, chords and tune from the seed and plays them into a mixer.
class Composer {
  public:
    Composer(DemoStyle style, std::uint32_t seed)
        : manner_(mannerOf(style)),
          random_(seed),
          scale_(random_.below(3) ? kMajor : kMinor),
          root_(45 + random_.below(12)),
          beat_(60.0 / (manner_.slowest + random_.below(manner_.fastest - manner_.slowest + 1))),
          bars_(static_cast<int>(std::ceil(random_.between(18, 29) / (beat_ * kBeats)))),
          verse_(kProgressions[random_.below(std::size(kProgressions))]),
          chorus_(kProgressions[random_.below(std::size(kProgressions))]),
          mixer_(bars_ * kBeats * beat_ + 2) {}

    std::vector<std::int16_t> play() {
        for (int bar = 0; bar < bars_; ++bar) {
            const auto& chords = bar / 4 % 2 ? chorus_ : verse_;
            playBar(bar * kBeats * beat_, chords[static_cast<std::size_t>(bar % 4)]);
        }
        mixer_.add(manner_.chords, pitch(0, 1), bars_ * kBeats * beat_, 0.6);
        mixer_.addEcho(beat_ * 0.75, manner_.echo);
        return mixer_.finish();
    }

  private:
    static constexpr int kBeats = 4;

    /// The pitch of a step of the scale, which may lie beyond the octave.
    int pitch(int step, int octave) const {
        return root_ + 12 * (octave + step / 7) + scale_[static_cast<std::size_t>(step % 7)];
    }

    void playBar(double start, int chord) {
        mixer_.add(manner_.bass, pitch(chord, -1), start, 0.7);
        mixer_.add(manner_.bass, pitch(chord + (random_.below(2) ? 4 : 0), -1), start + 2 * beat_, 0.5);
        playChord(start, chord);
        for (int half = 0; half < kBeats * 2; ++half) {
            if (random_.unit() < manner_.tuneDensity)
                mixer_.add(manner_.tune, nextTuneNote(chord, half), start + half * beat_ / 2,
                           random_.between(0.35, 0.6));
        }
    }

    void playChord(double start, int chord) {
        if (manner_.stepsPerBeat == 0) {
            for (int tone = 0; tone < manner_.chordTones; ++tone)
                mixer_.add(manner_.chords, pitch(chord + 2 * tone, 0), start + tone * 0.02, 0.3);
            return;
        }
        static constexpr std::array kUpAndDown{0, 1, 2, 3, 2, 1};
        const int steps = kBeats * manner_.stepsPerBeat;
        for (int step = 0; step < steps; ++step) {
            const int tone = kUpAndDown[static_cast<std::size_t>(step % 6)];
            const int above = tone < manner_.chordTones ? 2 * tone : 7;
            mixer_.add(manner_.chords, pitch(chord + above, 0), start + step * beat_ / manner_.stepsPerBeat,
                       step % manner_.stepsPerBeat ? 0.25 : 0.35);
        }
    }

    /// The tune wanders by steps and rests on tones of the chord where the beat is strong.
    int nextTuneNote(int chord, int half) {
        tuneStep_ = std::clamp(tuneStep_ + random_.below(5) - 2, 0, 11);
        if (half % 4 == 0) {
            while ((tuneStep_ - chord + 14) % 7 % 2 != 0 || (tuneStep_ - chord + 14) % 7 == 6)
                ++tuneStep_;
        }
        return pitch(tuneStep_, 1);
    }

    const Manner& manner_;
    DemoRandom random_;
    Scale scale_;
    int root_;
    double beat_; ///< seconds
    int bars_;
    Progression verse_;
    Progression chorus_;
    Mixer mixer_;
    int tuneStep_ = 4;
};

} // namespace

std::vector<std::int16_t> makeDemoMusic(DemoStyle style, std::uint32_t seed) {
    return Composer(style, seed).play();
}

} // namespace merlode
