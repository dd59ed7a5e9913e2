#pragma once

#include <QString>
#include <QVariantMap>

namespace merlode {

/// A station of Pandora's, or what its search has found to make one of. A plain value.
struct PandoraItem {
    QString id; ///< what the search calls it; empty for a saved station
    QString name;

    bool operator==(const PandoraItem&) const = default;

    /// The form in which it travels to another machine.
    QVariantMap itemToDictionary() const {
        return {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}};
    }
};

} // namespace merlode
