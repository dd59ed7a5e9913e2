#include "model/item_source_type.h"

#include <algorithm>
#include <array>

namespace merlode {

namespace {

// In the order of the enumeration.
constexpr std::array kRawValues = {QStringView(u"iTunes"), QStringView(u"Spotify"), QStringView(u"Rdio"),
                                   QStringView(u"Pandora"), QStringView(u"AppleMusic")};

} // namespace

// The bits of the set are in the order of the enumeration.
ItemSourceType sourceOf(MusicItemSourceType service) {
    return ItemSourceType(quint64{1} << static_cast<unsigned>(service));
}

QString rawValue(MusicItemSourceType source) {
    return kRawValues.at(static_cast<std::size_t>(source)).toString();
}

std::optional<MusicItemSourceType> musicItemSourceTypeFromRawValue(QStringView rawValue) {
    const auto found = std::find(kRawValues.begin(), kRawValues.end(), rawValue);
    if (found == kRawValues.end())
        return std::nullopt;
    return static_cast<MusicItemSourceType>(found - kRawValues.begin());
}

} // namespace merlode
