#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <optional>

/// Property lists in their XML form. Values are QVariants: bool, qlonglong (or qulonglong where only that
/// fits), double, QString, QByteArray, QDateTime (UTC), QVariantList and QVariantMap, and each survives a
/// round trip.
namespace merlode::property_list {

/// How deep containers may nest in a text that is read; deeper texts are refused. Nothing the program writes
/// goes below 8.
inline constexpr int kDeepestNesting = 64;

/// Reads the XML form. Nothing for a text that is no property list. Any thread.
std::optional<QVariant> parse(const QByteArray& xml);

/// Writes the XML form. Values of other types are left out with their keys. Any thread.
QByteArray serialize(const QVariant& value);

} // namespace merlode::property_list
