#include "JsonPrinter.h"

#include <nlohmann/json.hpp>

#include "JsonText.h"
#include "RowObject.h"

std::string formatJson(const Snapshot& snapshot) {
    std::string lines;
    for (int i = 0; i < snapshot.rows.numberOfElements(); ++i) {
        lines += jsonLine(rowObject(snapshot, i)) + '\n';
    }
    return lines;
}
