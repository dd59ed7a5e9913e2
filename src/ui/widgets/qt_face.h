#pragma once

#include "ui/face.h"

#include <memory>

namespace merlode {

class Session;

/// The face that people see: widgets of Qt. Needs a QApplication, whose event loop runs the session's work.
std::unique_ptr<Face> makeQtFace(Session& session);

} // namespace merlode
