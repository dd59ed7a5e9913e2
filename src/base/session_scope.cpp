#include "base/session_scope.h"

#include <utility>

namespace merlode {

namespace {
thread_local Session* currentSession = nullptr;
}

SessionScope::SessionScope(Session* session) : previous_(std::exchange(currentSession, session)) {}

SessionScope::~SessionScope() {
    currentSession = previous_;
}

Session* SessionScope::current() {
    return currentSession;
}

} // namespace merlode
