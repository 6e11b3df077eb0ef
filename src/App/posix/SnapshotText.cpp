#include "SnapshotText.h"

#include "Console.h"
#include "CsvPrinter.h"
#include "JsonPrinter.h"
#include "SPW_CClock.h"

namespace {

std::string verdictText(const CommandLine& options, const Snapshot& snapshot) {
    return formatVerdict(snapshot.rows, demandsOf(options), snapshot.tooSilent).toAnsi() + std::string("\n");
}

std::string tableText(const CommandLine& options, const Snapshot& snapshot) {
    TableHeading heading;
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(snapshot.wall100ns);
    heading.localTime.format(u"%02d:%02d:%02d", local.hour, local.minute, local.second);
    heading.testNumber = snapshot.of.testNumber;
    heading.elapsedSeconds = snapshot.of.elapsedSeconds;
    heading.isFinal = snapshot.of.isFinal;
    std::string text = formatTable(heading, snapshot.rows, outputWidth()).toAnsi();
    if (snapshot.of.isFinal) {
        text += verdictText(options, snapshot);
    }
    return text;
}

}  // namespace

Demands demandsOf(const CommandLine& options) {
    Demands demands;
    demands.minimumQuality = options.minimumQuality;
    demands.allowsSilent = options.allowSilent;
    return demands;
}

std::string headerText(const CommandLine& options) {
    return options.format == CommandLine::kCsv ? csvHeader() : std::string();
}

std::string snapshotText(const CommandLine& options, const Snapshot& snapshot) {
    if (options.format == CommandLine::kJson) {
        return formatJson(snapshot);
    }
    if (options.format == CommandLine::kEvents && snapshot.of.isFinal) {
        return verdictText(options, snapshot);
    }
    if (options.format == CommandLine::kCsv) {
        return formatCsv(snapshot);
    }
    return tableText(options, snapshot);
}
