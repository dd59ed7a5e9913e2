#pragma once

#include <QString>

#include <optional>

namespace merlode {

/// A set of services: those on which an item is known to exist, or those that somebody asks for. The raw
/// values travel in remote messages.
class ItemSourceType {
  public:
    static const ItemSourceType None;
    static const ItemSourceType iTunes;
    static const ItemSourceType Spotify;
    static const ItemSourceType Rdio;
    static const ItemSourceType Pandora;
    static const ItemSourceType AppleMusic;

    constexpr ItemSourceType() = default;
    /// Any value is taken as it is, bits without a name included.
    explicit constexpr ItemSourceType(quint64 rawValue) : rawValue_(rawValue) {}

    /// The one service that a search prefers: from 1, 2, 4 or 8, and nothing from anything else. Apple Music
    /// has no search of its own.
    static constexpr std::optional<ItemSourceType> preferredSearch(std::optional<quint64> value) {
        switch (value.value_or(0)) {
        case 1:
        case 2:
        case 4:
        case 8:
            return ItemSourceType(*value);
        default:
            return std::nullopt;
        }
    }

    constexpr quint64 rawValue() const { return rawValue_; }
    constexpr bool isEmpty() const { return rawValue_ == 0; }
    constexpr bool operator==(const ItemSourceType&) const = default;

    /// True when every service of `other` is in this set; the empty set is in every set.
    constexpr bool contains(ItemSourceType other) const { return other.isSubsetOf(*this); }
    constexpr bool isSubsetOf(ItemSourceType other) const { return (rawValue_ & ~other.rawValue_) == 0; }
    constexpr bool isSupersetOf(ItemSourceType other) const { return other.isSubsetOf(*this); }
    constexpr bool isDisjointWith(ItemSourceType other) const { return (rawValue_ & other.rawValue_) == 0; }

    constexpr ItemSourceType unionWith(ItemSourceType other) const {
        return ItemSourceType(rawValue_ | other.rawValue_);
    }
    constexpr ItemSourceType intersect(ItemSourceType other) const {
        return ItemSourceType(rawValue_ & other.rawValue_);
    }
    /// The services that are in exactly one of the two.
    constexpr ItemSourceType exclusiveOr(ItemSourceType other) const {
        return ItemSourceType(rawValue_ ^ other.rawValue_);
    }
    /// This set without the services of `other`.
    constexpr ItemSourceType subtract(ItemSourceType other) const {
        return ItemSourceType(rawValue_ & ~other.rawValue_);
    }
    constexpr void insert(ItemSourceType other) { rawValue_ |= other.rawValue_; }
    constexpr void remove(ItemSourceType other) { rawValue_ &= ~other.rawValue_; }

  private:
    quint64 rawValue_ = 0;
};

inline constexpr ItemSourceType ItemSourceType::None{0};
inline constexpr ItemSourceType ItemSourceType::iTunes{1};
inline constexpr ItemSourceType ItemSourceType::Spotify{2};
inline constexpr ItemSourceType ItemSourceType::Rdio{4};
inline constexpr ItemSourceType ItemSourceType::Pandora{8};
inline constexpr ItemSourceType ItemSourceType::AppleMusic{16};

/// The one service on which an item is to be played.
enum class MusicItemSourceType { iTunes, Spotify, Rdio, Pandora, AppleMusic };

/// The set of this service alone.
ItemSourceType sourceOf(MusicItemSourceType service);

/// The text under which the service travels in remote messages: its name.
QString rawValue(MusicItemSourceType source);

/// The service of this text, which is compared exactly; nothing for any other text.
std::optional<MusicItemSourceType> musicItemSourceTypeFromRawValue(QStringView rawValue);

} // namespace merlode
