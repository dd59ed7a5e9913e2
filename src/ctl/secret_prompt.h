#pragma once

#include <QString>

#include <optional>

namespace merlode::ctl {

/// Asks for a secret on the terminal, which does not show what is typed; where standard input is no terminal,
/// reads one line from it. Nothing at the end of the input, or for an empty line.
std::optional<QString> readSecret(const QString& prompt);

} // namespace merlode::ctl
