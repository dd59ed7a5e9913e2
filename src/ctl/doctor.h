#pragma once

#include <QByteArray>
#include <QJsonArray>

#include <optional>

namespace merlode::ctl {

/// The checks in what "merlode --doctor" printed, or nothing when it is not what it should be.
std::optional<QJsonArray> readChecks(const QByteArray& output);

/// "doctor": asks the running program, or runs "merlode --doctor" when there is none. Gives the exit code.
int doctor(bool json);

} // namespace merlode::ctl
