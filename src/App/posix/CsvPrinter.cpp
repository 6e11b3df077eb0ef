#include "CsvPrinter.h"

#include <nlohmann/json.hpp>

#include "FlatFields.h"
#include "RowObject.h"

namespace {

using Json = nlohmann::ordered_json;

// A spreadsheet takes a text that begins like a formula for one. Names come from the network.
std::string withoutFormula(const FlatField& field) {
    const bool isFormula = field.isText && field.text.find_first_of("=+-@") == 0;
    return isFormula ? "'" + field.text : field.text;
}

std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string field = "\"";
    for (const char c : text) {
        field += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return field + '"';
}

// The row with the fields that its object has only at times, and without the lists of records, whose lengths stay.
Json completeRow(const Snapshot& snapshot, int index) {
    Json object = rowObject(snapshot, index);
    const Json notMade = object.contains("notMade") ? object["notMade"] : Json::array();
    for (const char* const leftOut : {"outages", "restarts", "notMade", "final"}) {
        object.erase(leftOut);
    }
    object["notMade"] = notMade;
    object["final"] = snapshot.of.isFinal;
    return object;
}

Snapshot snapshotOfOneRow() {
    Snapshot snapshot;
    snapshot.rows.append(PeerRowValues());
    snapshot.insights.resize(1);
    snapshot.intervals.resize(1);
    return snapshot;
}

void appendField(std::string& record, const std::string& text) {
    record += (record.empty() ? "" : ",") + quoted(text);
}

}  // namespace

std::string csvHeader() {
    std::string record;
    for (const FlatField& field : flatFields(completeRow(snapshotOfOneRow(), 0))) {
        appendField(record, field.name);
    }
    return record + "\r\n";
}

std::string formatCsv(const Snapshot& snapshot) {
    std::string records;
    for (int i = 0; i < snapshot.rows.numberOfElements(); ++i) {
        std::string record;
        for (const FlatField& field : flatFields(completeRow(snapshot, i))) {
            appendField(record, withoutFormula(field));
        }
        records += record + "\r\n";
    }
    return records;
}
