#pragma once

#include <string>
#include <vector>

namespace merlode::bench {

/// One line of the table: what we take beside what the reference took in the same run.
struct Figure {
    std::string name;
    std::string unit;
    double ours = 0;
    double reference = 0;
    std::string referenceName;
    std::string goal;
};

/// Keeps a figure for the table. Main thread.
void note(Figure figure);

/// Writes all figures noted so far to standard output; nothing where there are none.
void printTable();

/// The value below which this share of the samples lies; 0 without samples.
double quantile(std::vector<double> samples, double share);

/// A whole number from the environment, or `usual`: how long and how often to measure.
int setting(const char* variable, int usual);

} // namespace merlode::bench
