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

std::string storedText() {
    std::ifstream file(RECORDED_RUN, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

constexpr char kHeading[] = "######## ";

std::string headingOf(const std::string& name) {
    return kHeading + name + "\n";
}

// Where a part of the stored file stands, its heading with it; at the end and empty when there is none.
struct Part {
    std::size_t begin;
    std::size_t end;
};

Part partOf(const std::string& all, const std::string& name) {
    const std::size_t begin = std::min(all.find(headingOf(name)), all.size());
    return {begin, std::min(all.find(kHeading, begin + 1), all.size())};
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
    const std::string all = storedText();
    const Part part = partOf(all, name);
    if (std::getenv("LINKOMETRY_RECORD_ANEW") != nullptr) {
        std::ofstream(RECORDED_RUN, std::ios::binary)
            << all.substr(0, part.begin) << headingOf(name) << m_text << all.substr(part.end);
        ADD_FAILURE() << "recorded anew; the comparison is left to the next run";
        return;
    }
    EXPECT_EQ(all.substr(part.begin, part.end - part.begin), headingOf(name) + m_text);
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
