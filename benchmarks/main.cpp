#include "figures.h"

#include <QCoreApplication>

#include <csignal>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const QCoreApplication application(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    merlode::bench::printTable();
    benchmark::Shutdown();
}
