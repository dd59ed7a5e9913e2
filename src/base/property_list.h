#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <optional>

/// Property lists in their XML form. Values are QVariants: bool, qlonglong (or qulonglong where only that
/// fits), double, QString, QByteArray, QDateTime (UTC), QVariantList and QVariantMap, and each survives a
/// round trip.
namespace merlode::property_list {

/// Reads the XML form. Nothing for a text that is no property list or goes beyond the limits of
/// base/property_list_limits.h. Any thread.
std::optional<QVariant> parse(const QByteArray& xml);

/// Whether a property list can hold the value and everything in it. Any thread.
bool canHold(const QVariant& value);

/// Writes the XML form. Values of other types are left out with their keys. Any thread.
QByteArray serialize(const QVariant& value);

} // namespace merlode::property_list
