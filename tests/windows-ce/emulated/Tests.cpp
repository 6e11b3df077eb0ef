#include <gtest/gtest.h>

#include "Kernel.h"

// Runs every test that is linked in and reports those that fail.

namespace {

struct Entry {
    std::string name;
    std::function<void()> run;
};

// The first test that adds itself makes the list, before main.
std::vector<Entry>& entries() {
    static std::vector<Entry>* const all = new std::vector<Entry>;
    return *all;
}

std::vector<std::string>& traces() {
    static std::vector<std::string>* const all = new std::vector<std::string>;
    return *all;
}

bool hasFailed = false;

void print(const std::string& text) {
    (void)Kernel::write(1, text.data(), text.size());
}

}  // namespace

namespace testing {

bool Test::HasFailure() {
    return hasFailed;
}

namespace internal {

bool add(const char* suite, const char* name, std::function<void()> run) {
    entries().push_back({std::string(suite) + "." + name, std::move(run)});
    return true;
}

void addTrace(std::string text) {
    traces().push_back(std::move(text));
}

void removeTrace() {
    traces().pop_back();
}

int exitCodeOf(const std::function<void()>& action) {
    const int child = Kernel::fork();
    if (child == 0) {
        action();
        Kernel::exit(0);
    }
    return Kernel::waitFor(child);
}

void Failure::operator=(const Message& message) const {
    hasFailed = true;
    std::string text = std::string(m_file) + ":" + std::to_string(m_line) + ": " + m_text + " " + message.text() + "\n";
    for (const std::string& trace : traces()) {
        text += "    " + trace + "\n";
    }
    print(text);
}

}  // namespace internal
}  // namespace testing

int main() {
    int failed = 0;
    for (const Entry& entry : entries()) {
        hasFailed = false;
        print(entry.name + "\n");  // printed before the test, to show in which test a crash happens
        entry.run();
        if (hasFailed) {
            ++failed;
            print("FAILED " + entry.name + "\n");
        }
    }
    print(std::to_string(entries().size()) + " tests, " + std::to_string(failed) + " failed\n");
    return failed == 0 && !entries().empty() ? 0 : 1;
}
