#pragma once

namespace merlode {

/// The program from its command line to its exit code: 0 after an orderly end and when a running instance was
/// brought forward, 1 when it cannot run, 2 for wrong arguments.
int runProgram(int argc, char** argv);

} // namespace merlode
