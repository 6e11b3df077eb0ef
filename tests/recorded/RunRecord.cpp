#include "RunRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

// How a line of the log begins: "14:07:09 ".
constexpr std::size_t kStampLength = 9;

std::string escaped(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\\') {
            text += "\\\\";
        } else if (c == '\n' || (byte >= 0x20 && byte < 0x7F)) {
            text += c;
        } else {
            text += std::string("\\x") + kDigits[byte / 16] + kDigits[byte % 16];
        }
    }
    return text;
}

std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool isOfProbe(const std::string& line) {
    return line.find(" seq #") != std::string::npos || line.find(" SOCKET ERROR: ") != std::string::npos;
}

}  // namespace

void RunRecord::section(const std::string& heading) {
    m_text += "==== " + heading + "\n";
}

void RunRecord::add(std::string_view bytes) {
    m_text += escaped(bytes);
    if (!bytes.empty() && bytes.back() != '\n') {
        m_text += '\n';
    }
}

void RunRecord::addLines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        add(line);
    }
}

void RunRecord::addSorted(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    addLines(lines);
}

void RunRecord::expectAsStored(const std::string& name) const {
    const std::string path = std::string(RECORDED_DATA "/") + name;
    if (std::getenv("LINKOMETRY_RECORD_ANEW") != nullptr) {
        std::ofstream(path, std::ios::binary) << m_text;
        ADD_FAILURE() << "recorded anew; the comparison is left to the next run: " << path;
        return;
    }
    EXPECT_EQ(fileText(path), m_text);
}

std::string withSortedProbeLines(const std::string& log) {
    std::istringstream text(log);
    std::string sorted;
    std::string second;
    std::vector<std::string> ofProbes;
    const auto flush = [&] {
        std::sort(ofProbes.begin(), ofProbes.end());
        for (const std::string& line : ofProbes) {
            sorted += line + "\n";
        }
        ofProbes.clear();
    };
    for (std::string line; std::getline(text, line);) {
        if (line.substr(0, kStampLength) != second) {
            flush();
            second = line.substr(0, kStampLength);
        }
        if (isOfProbe(line)) {
            ofProbes.push_back(line);
        } else {
            sorted += line + "\n";
        }
    }
    flush();
    return sorted;
}
