#include "Report.h"

#include <algorithm>
#include <cstdio>

double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string spreadOf(const char* format, std::vector<double> values) {
    const std::string median = Report::text(format, medianOf(values));
    if (values.size() < 2) {
        return median;
    }
    const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
    return median + " (" + Report::text(format, *least) + " to " + Report::text(format, *greatest) + ")";
}

Report::Report() {
    std::printf("%-46s %28s %24s %7s  %s\n", "", "reached", "machine's limit", "ratio", "aim");
}

void Report::section(const char* text) {
    std::printf("%s\n", text);
    std::fflush(stdout);
}

void Report::add(const std::string& what, const std::string& reached, const std::string& limit, double ratio,
                 const std::string& aim, bool isMet) {
    print(what, reached, limit, text("%.2f", ratio), aim, isMet);
}

void Report::add(const std::string& what, const std::string& reached, const std::string& aim, bool isMet) {
    print(what, reached, "", "", aim, isMet);
}

void Report::print(const std::string& what, const std::string& reached, const std::string& limit,
                   const std::string& ratio, const std::string& aim, bool isMet) {
    const char* verdict = aim.empty() ? "" : isMet ? ": met" : ": MISSED";
    std::printf("  %-44s %28s %24s %7s  %s%s\n", what.c_str(), reached.c_str(), limit.c_str(), ratio.c_str(),
                aim.c_str(), verdict);
    std::fflush(stdout);
    m_missed += !aim.empty() && !isMet ? 1 : 0;
}

std::string Report::text(const char* format, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}
