#pragma once

#include <string>
#include <string_view>
#include <vector>

// The text of a run: sections of lines, in which every byte that is not plain ASCII shows as an escape.
class RunRecord {
public:
    void section(const std::string& heading);
    // Bytes as they are, but for the escapes.
    void add(std::string_view bytes);
    void addLines(const std::vector<std::string>& lines);
    // Of threads that nobody orders: sorted.
    void addSorted(std::vector<std::string> lines);

    // Compares with the part of that name in the stored file. A run whose environment has LINKOMETRY_RECORD_ANEW
    // replaces the part instead, and fails.
    void expectAsStored(const std::string& name) const;

private:
    std::string m_text;
};

// A log in which the lines that probes write on their own threads stand behind the others of the same second, sorted.
std::string withSortedProbeLines(const std::string& log);
