#include "figures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace merlode::bench {

namespace {

std::vector<Figure>& figures() {
    static std::vector<Figure> list;
    return list;
}

std::string value(double number, const std::string& unit) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3g %s", number, unit.c_str());
    return text;
}

} // namespace

void note(Figure figure) {
    figures().push_back(std::move(figure));
}

void printTable() {
    if (figures().empty())
        return;
    constexpr char row[] = "%-44s %12s %12s  %-22s %7s  %s\n";
    std::printf("\n");
    std::printf(row, "figure", "ours", "reference", "", "ratio", "goal");
    for (const auto& figure : figures()) {
        const std::string ratio =
            figure.reference > 0 ? value(figure.ours / figure.reference, "") : std::string("-");
        std::printf(row, figure.name.c_str(), value(figure.ours, figure.unit).c_str(),
                    value(figure.reference, figure.unit).c_str(), figure.referenceName.c_str(), ratio.c_str(),
                    figure.goal.c_str());
    }
}

double quantile(std::vector<double> samples, double share) {
    if (samples.empty())
        return 0;
    std::ranges::sort(samples);
    const auto index = static_cast<std::size_t>(share * static_cast<double>(samples.size()));
    return samples[std::min(index, samples.size() - 1)];
}

int setting(const char* variable, int usual) {
    const char* text = std::getenv(variable);
    const int number = text ? std::atoi(text) : 0;
    return number > 0 ? number : usual;
}

} // namespace merlode::bench
