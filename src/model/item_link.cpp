#include "model/item_link.h"

namespace merlode {

QString ItemLink::countryCodeOf(const QString& localeIdentifier) {
    constexpr int kLanguageAndUnderscore = 3;
    const QString region = localeIdentifier.mid(kLanguageAndUnderscore);
    return region.size() == 2 ? region : QStringLiteral("US");
}

} // namespace merlode
