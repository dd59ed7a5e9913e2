#pragma once

namespace merlode {

class Session;

/// Makes a session the current one of this thread for the length of a scope, then restores what was current
/// before. Run loops and queues open one around every piece of work, so that `Session::current()` and the
/// `sharedController()` accessors are right on every thread. Any thread; a null session is allowed.
class SessionScope {
  public:
    explicit SessionScope(Session* session);
    ~SessionScope();
    SessionScope(const SessionScope&) = delete;
    SessionScope& operator=(const SessionScope&) = delete;

    /// The session of the innermost scope of this thread, or null outside any.
    static Session* current();

  private:
    Session* previous_;
};

} // namespace merlode
