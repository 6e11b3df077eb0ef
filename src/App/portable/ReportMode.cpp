#include "ReportMode.h"

#include <memory>
#include <new>

#include "SPW_CFile.h"
#include "SilentSink.h"
#include "TestEngine.h"

namespace {

bool makeReport(SPW_CString& text) {
    SilentSink sink;
    const std::unique_ptr<TestEngine> engine(new (std::nothrow) TestEngine(&sink, false));
    if (engine == nullptr) {
        return false;
    }
    text = engine->localInfo();
    return true;
}

}  // namespace

// The file comes first. If it cannot be opened the device is not asked at all.
bool writeReport(const SPW_CString& path) {
    SPW_CFile file;
    // The program that waits for the report may have the file open already.
    if (file.openCreateShared(path) != 0) {
        return false;
    }
    SPW_CString text;
    const bool isWritten = makeReport(text) && file.writeText(text) == 0;
    return file.close() == 0 && isWritten;
}
