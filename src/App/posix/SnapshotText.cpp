#include "SnapshotText.h"

#include "Console.h"
#include "JsonPrinter.h"
#include "SPW_CClock.h"
#include "TablePrinter.h"

std::string snapshotText(const CommandLine& options, const SnapshotOf& what, const SPW_CArray<PeerRowValues>& rows) {
    const std::uint64_t wall = SPW_CClock::instance->wall100ns();
    if (options.format == CommandLine::kJson) {
        return formatJson(wall, what.testNumber, what.isFinal, rows);
    }
    TableHeading heading;
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(wall);
    heading.localTime.format(u"%02d:%02d:%02d", local.hour, local.minute, local.second);
    heading.testNumber = what.testNumber;
    heading.elapsedSeconds = what.elapsedSeconds;
    heading.isFinal = what.isFinal;
    std::string text = formatTable(heading, rows, outputWidth()).toAnsi();
    if (what.isFinal) {
        text = text + formatVerdict(rows, options.minimumQuality).toAnsi() + '\n';
    }
    return text;
}
