#pragma once

#include <QByteArray>
#include <QString>

namespace merlode::ctl {

/// Writes to standard output, in one write(2) where it takes it so. False when nobody reads any more.
bool printOut(const QByteArray& text);
bool printOut(const QString& text);

/// "merlodectl: MESSAGE" on standard error; the message is made safe for a terminal.
void printProblem(const QString& message);

} // namespace merlode::ctl
