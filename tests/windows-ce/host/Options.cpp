#include "Options.h"

#include <cstdio>
#include <cstdlib>

namespace {

std::string words;
std::wstring programFile;
std::wstring rootFolder;
std::string journalPath;
bool isTracing = false;
long mostThreads = 0;
long firstRefused = 0;
long lastRefused = 0;

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::wstring wide(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

}  // namespace

namespace Options {

void read() {
    words = "," + variable("CE_OPTS") + ",";
    programFile = wide(variable("CE_PROGRAM"));
    rootFolder = wide(variable("CE_ROOT"));
    journalPath = variable("CE_LOG");
    isTracing = variable("CE_TRACE") == "1";
    mostThreads = std::atol(variable("CE_THREADS").c_str());
    const std::string refused = variable("CE_FAIL");
    firstRefused = std::atol(refused.c_str());
    const bool isForGood = !refused.empty() && refused.back() == '-';
    lastRefused = isForGood ? 0x7FFFFFFF : firstRefused;
}

bool has(const char* word) {
    return words.find("," + std::string(word) + ",") != std::string::npos;
}

void screen(int& width, int& height) {
    width = 240;
    height = 320;
    const std::size_t place = words.find(",screen=");
    if (place != std::string::npos) {
        (void)std::sscanf(words.c_str() + place, ",screen=%dx%d", &width, &height);
    }
}

unsigned spaceMegabytes() {
    unsigned megabytes = 32;
    const std::size_t place = words.find(",space=");
    if (place != std::string::npos) {
        (void)std::sscanf(words.c_str() + place, ",space=%u", &megabytes);
    }
    return megabytes;
}

bool tracesCalls() {
    return isTracing;
}

const std::wstring& program() {
    return programFile;
}

const std::wstring& root() {
    return rootFolder;
}

const std::string& journal() {
    return journalPath;
}

long threadLimit() {
    return mostThreads;
}

bool isRefused(long allocation) {
    return firstRefused != 0 && allocation >= firstRefused && allocation <= lastRefused;
}

}  // namespace Options
