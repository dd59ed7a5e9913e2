#pragma once

#include <QStringList>

namespace merlode::ctl {

/// The whole of merlodectl: does what the arguments (without the program's name) ask for and gives the exit
/// code. Needs a QCoreApplication.
int run(const QStringList& arguments);

} // namespace merlode::ctl
