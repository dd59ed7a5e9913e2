#pragma once

#include "base/session.h"
#include "support/virtual_run_loop.h"

namespace merlode {

/// A session on a virtual loop, current on the test's thread for as long as it lives. Its queues take their
/// turns on the loop too, so that a test says when anything happens at all.
class TestSession {
  public:
    TestSession() : TestSession(std::make_unique<VirtualRunLoop>()) {}

    VirtualRunLoop& loop;
    Session session;

  private:
    explicit TestSession(std::unique_ptr<VirtualRunLoop> owned)
        : loop(*owned),
          session(std::move(owned), std::make_unique<VirtualExecutor>(loop)),
          scope_(&session) {}

    SessionScope scope_;
};

} // namespace merlode
