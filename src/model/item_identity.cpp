#include "model/item_identity.h"

#include <QHash>

namespace merlode {

ItemIdentity::ItemIdentity(std::initializer_list<QStringView> names) {
    // A name can hold any character, so no separator is safe. Each name is led by its length instead.
    for (const QStringView name : names) {
        const QString lower = name.toString().toLower();
        text_ += QString::number(lower.size()) + u':' + lower;
    }
    hash_ = qHash(text_, QHashSeed::globalSeed());
}

} // namespace merlode
