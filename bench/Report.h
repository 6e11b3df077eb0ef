#pragma once

#include <string>
#include <vector>

// Middle value of a series; 0 of an empty one.
double medianOf(std::vector<double> values);
// The series as text, each value in that format (one %f): "median", or "median (least to greatest)" of several.
std::string spreadOf(const char* format, std::vector<double> values);

// How long and how often everything is measured.
struct Effort {
    int repetitions = 5;  // the median counts
    double seconds = 1;   // each repetition's
    bool quick = false;
};

// Prints one line per result: what was reached, the machine's own limit, their ratio, and the aim.
class Report {
public:
    Report();
    // A heading for the results that follow.
    void section(const char* text);
    // aim: as text, "" for none. isMet is looked at only if there is one.
    void add(const std::string& what, const std::string& reached, const std::string& limit, double ratio,
             const std::string& aim, bool isMet);
    // The same for a result that no limit of the machine stands beside.
    void add(const std::string& what, const std::string& reached, const std::string& aim, bool isMet);
    int missed() const { return m_missed; }

    static std::string text(const char* format, double value);

private:
    void print(const std::string& what, const std::string& reached, const std::string& limit, const std::string& ratio,
               const std::string& aim, bool isMet);

    int m_missed = 0;
};
