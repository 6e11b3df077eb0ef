#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "Benches.h"
#include "Child.h"
#include "TestLog.h"
#include "TestLogWriter.h"
#include "Timing.h"

namespace {

constexpr int kTimeStampLength = 9;  // "09:05:03 "
constexpr int kLines = 200000;       // of one repetition
constexpr double kPacedPerSecond = 100000;

// A line as it stands in the log when data packets are logged: 100 bytes with time stamp and line end.
const SPW_CString& logLine() {
    static const SPW_CString line(
        u"E :udp listener received seq # 123456 from 10.200.100.100Data received: Version 1.0.0.0|bench|");
    return line;
}

// Seconds for bare write() calls of the same lines.
double timeBare(const std::string& path) {
    const std::string line = "09:05:03 " + std::string(logLine().toAnsi()) + "\r\n";
    unlink(path.c_str());
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    const double begin = nowSeconds();
    for (int i = 0; i < kLines; ++i) {
        if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            giveUp("writing to the bare log");
        }
    }
    const double seconds = nowSeconds() - begin;
    close(file);
    return seconds;
}

std::unique_ptr<TestLogWriter> openWriter(const std::string& path) {
    unlink(path.c_str());
    return std::make_unique<TestLogWriter>(SPW_CString(path.c_str()), u"bench", u"linkometry-bench", u"1",
                                           TestLog::kQueuedLines);
}

// Seconds until all lines have been taken and written.
double timeWriter(const std::string& path) {
    std::unique_ptr<TestLogWriter> writer = openWriter(path);
    const double begin = nowSeconds();
    for (int i = 0; i < kLines; ++i) {
        (void)writer->log(logLine(), TestLog::kNoLimit);  // without a limit it is always taken
    }
    writer.reset();
    return nowSeconds() - begin;
}

// Lines that were refused or are missing in the file after handing them over at kPacedPerSecond; each waits for room no
// longer than one period of a second.
struct Paced {
    int offered;
    int lost;
};

Paced runPaced(const std::string& path, double seconds) {
    std::unique_ptr<TestLogWriter> writer = openWriter(path);
    struct stat header {};
    stat(path.c_str(), &header);
    const int lines = static_cast<int>(seconds * kPacedPerSecond);
    const double begin = nowSeconds();
    int refused = 0;
    for (int sent = 0; sent < lines;) {
        const int due = static_cast<int>((nowSeconds() - begin) * kPacedPerSecond);
        for (; sent < due && sent < lines; ++sent) {
            refused += writer->log(logLine(), 1000) != 0 ? 1 : 0;
        }
        sleepSeconds(0.0005);
    }
    writer.reset();
    struct stat whole {};
    stat(path.c_str(), &whole);
    const int lineBytes = kTimeStampLength + logLine().length() + 2;
    const int written = static_cast<int>((whole.st_size - header.st_size) / lineBytes);
    return {lines, std::max(refused, lines - written)};
}

}  // namespace

void benchLog(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    report.section("Test log: lines accepted and written; limit: bare write calls of the same lines");
    const std::string path = folder + "/log.txt";
    Child child(network.near(), [&](Line& line) {
        for (int i = 0; i < effort.repetitions; ++i) {
            line.send(timeBare(path));
            line.send(timeWriter(path));
        }
        line.send(runPaced(path, 2 * effort.seconds));
    });
    std::vector<double> bare;
    std::vector<double> writer;
    for (int i = 0; i < effort.repetitions; ++i) {
        bare.push_back(kLines / child.line().receive<double>());
        writer.push_back(kLines / child.line().receive<double>());
    }
    const Paced paced = child.line().receive<Paced>();
    child.join();
    const double ratio = medianOf(writer) / medianOf(bare);
    report.add("lines per second", Report::text("%.0f", medianOf(writer)), Report::text("%.0f", medianOf(bare)), ratio,
               ">= 200000, ratio >= 0.25", medianOf(writer) >= 200000 && ratio >= 0.25);
    report.add("lost of lines at 100000 a second", std::to_string(paced.lost) + " of " + std::to_string(paced.offered),
               "none", paced.lost == 0);
}
