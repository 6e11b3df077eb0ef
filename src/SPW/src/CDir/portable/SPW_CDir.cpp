#include "SPW_CDir.h"

#include "SPW_CDirSys.h"
#include "SPW_CError.h"
#include "SPW_CSysError.h"

namespace {

constexpr char kModule[] = "src\\SPW\\src\\CDir\\portable\\SPW_CDir";
constexpr std::uint32_t kWipeBlock = 500;  // bytes

SPW_CDirSys& sys() {
    return *SPW_CDirSys::instance;
}

SPW_Result report(int line, const char* method, SPW_Result code, const SPW_CString& message) {
    (void)SPW_CError::instance->report(kModule, line, "SPW_CDir", method, code, 0, message, SPW_CError::kOrdinary);
    return code;
}

// Reports the system's reason for the calling thread's latest failure. "Cant't" is how the text is known.
SPW_Result reportSystem(int line, const char* method, SPW_Result code, const char16_t* action,
                        const SPW_CString& path) {
    SPW_CSysError& system = *SPW_CSysError::instance;
    SPW_CString message(u"Cant't ");
    message += action;
    message += u" ";
    message += path;
    message += u" Error: ";
    message += system.text(system.last());
    return report(line, method, code, message);
}

SPW_CString quoted(const char16_t* before, const SPW_CString& path, const char16_t* after) {
    SPW_CString text(before);
    text += path;
    text += after;
    return text;
}

SPW_Result reportFileNotFound(int line, const char* method, const SPW_CString& path) {
    return report(line, method, SPW_CDir::kFileNotFound,
                  quoted(u"Can't delete file '", path, u"'. The file is not found."));
}

// Without one separator at the end; the root directory stays what it is.
SPW_CString withoutTrailingSeparator(const SPW_CString& path) {
    SPW_CString stripped(path);
    if (stripped.length() > 1 && stripped.last() == sys().separator()) {
        stripped.dropRight(1);
    }
    return stripped;
}

SPW_CString joined(const SPW_CString& directory, const SPW_CString& name) {
    SPW_CString path(directory);
    path += sys().separator();
    path += name;
    return path;
}

bool isDotOrDotDot(const SPW_CString& name) {
    return name == u"." || name == u"..";
}

bool isLink(const SPW_CString& path) {
    std::uint32_t attributes = 0;
    return sys().getAttributes(path, attributes) && (attributes & SPW_CDirSys::kLink) != 0;
}

void setFlags(SPW_CDirEntry& entry, std::uint32_t attributes) {
    entry.archive = (attributes & SPW_CDirSys::kArchive) != 0;
    entry.readOnly = (attributes & SPW_CDirSys::kReadOnly) != 0;
    entry.hidden = (attributes & SPW_CDirSys::kHidden) != 0;
    entry.system = (attributes & SPW_CDirSys::kSystem) != 0;
    entry.isDirectory = (attributes & SPW_CDirSys::kDirectory) != 0;
    entry.isFile = !entry.isDirectory;
}

std::uint32_t attributesOf(const SPW_CDirEntry& entry) {
    return (entry.archive ? SPW_CDirSys::kArchive : 0u) | (entry.hidden ? SPW_CDirSys::kHidden : 0u) |
           (entry.readOnly ? SPW_CDirSys::kReadOnly : 0u) | (entry.system ? SPW_CDirSys::kSystem : 0u);
}

void fillFromSearch(SPW_CDirEntry& entry, const SPW_CDirSys::Found& found) {
    entry.name = found.name;
    setFlags(entry, found.attributes);
    // Deliberately the low word minus the high one: right below 4 GiB, and callers know no more.
    entry.size = found.sizeLow - found.sizeHigh;
    // Deliberately only the last-write time is local here; getFileInfo leaves all three in UTC.
    entry.lastWriteTime = SPW_CClock::instance->toLocal(found.lastWriteTime);
    entry.creationTime = SPW_CClock::toUtc(found.creationTime);
    entry.lastAccessTime = SPW_CClock::toUtc(found.lastAccessTime);
}

// Removes what a directory holds; the first failure ends the walk.
SPW_Result removeContents(const SPW_CString& path) {
    SPW_CDirSys::Found found;
    const SPW_Handle search = sys().findFirst(joined(path, u"*"), found);
    if (search == nullptr) {
        return 0;
    }
    SPW_Result status = 0;
    do {
        if (isDotOrDotDot(found.name)) {
            continue;
        }
        const SPW_CString child = joined(path, found.name);
        const bool directory = (found.attributes & SPW_CDirSys::kDirectory) != 0;
        status = directory ? SPW_CDir::removeDir(child, true) : SPW_CDir::removeFile(child);
    } while (status == 0 && sys().findNext(search, found));
    sys().findClose(search);
    return status;
}

// Writes zeros over an open file. Each failed write is reported and the rest is tried all the same.
SPW_Result writeZeros(SPW_Handle file, std::uint64_t size) {
    const unsigned char zeros[kWipeBlock] = {};
    SPW_Result status = 0;
    for (std::uint64_t block = 0; block < size / kWipeBlock + 1; ++block) {
        if (!sys().write(file, zeros, kWipeBlock)) {
            status = report(__LINE__, "wipeFile", SPW_CDir::kWriteFailed, u"write file failed ");
        }
    }
    // A file that is removed with its zeros still in memory leaves the old bytes on the medium.
    if (status == 0 && !sys().flush(file)) {
        status = report(__LINE__, "wipeFile", SPW_CDir::kWriteFailed, u"write file failed ");
    }
    return status;
}

SPW_Result overwrite(SPW_Handle file) {
    std::uint64_t size = 0;
    SPW_Result status = 0;
    if (!sys().getSize(file, size)) {
        status = report(__LINE__, "wipeFile", SPW_CDir::kLengthUnknown, u"Failed to get file length");
    } else {
        status = writeZeros(file, size);
    }
    if (!sys().close(file) && status == 0) {
        status = report(__LINE__, "wipeFile", SPW_CDir::kCloseFailed, u"close file failed ");
    }
    return status;
}

SPW_Result overwriteFile(const SPW_CString& path) {
    if (!sys().setAttributes(path, SPW_CDirSys::kNormal)) {
        return report(__LINE__, "wipeFile", SPW_CDir::kSetAttributesFailed,
                      quoted(u"Can't set attributes of file '", path, u"'"));
    }
    const SPW_Handle file = sys().openForWriting(path);
    if (file == nullptr) {
        return reportSystem(__LINE__, "wipeFile", SPW_CDir::kOpenFailed, u"open file", path);
    }
    return overwrite(file);
}

SPW_Result wipeEntry(const SPW_CString& directory, const SPW_CString& name) {
    const SPW_Result status = SPW_CDir::wipeFile(joined(directory, name));
    if (status != 0) {
        (void)report(__LINE__, "wipeDir", status, SPW_CString(u"Failed to wipe ") + name);
    }
    return status;
}

// Second half of a move between file systems: the copy is made, the source has to go.
SPW_Result removeCopied(const SPW_CString& from, const SPW_CString& to, bool wipe) {
    const SPW_Result status = wipe ? SPW_CDir::wipeFile(from) : SPW_CDir::removeFile(from);
    if (status != 0) {
        (void)SPW_CDir::removeFile(to);  // the failure to return is that of the source
    }
    return status;
}

}  // namespace

struct SPW_CDir::Search {
    SPW_CDirSys::Found found;
    SPW_Handle handle = nullptr;  // null when nothing matched
};

SPW_CDir::SPW_CDir() : m_search(nullptr) {}

SPW_CDir::~SPW_CDir() {
    if (m_search != nullptr) {
        closeSearch();
        (void)report(__LINE__, "~CDir", kSearchMisuse,
                     u"Deleting a CDir object without closing. Very bad. Recovered by cleaning up");
    }
}

SPW_Result SPW_CDir::fileExists(const SPW_CString& path) {
    std::uint32_t attributes = 0;
    return sys().getAttributes(path, attributes) && (attributes & SPW_CDirSys::kDirectory) == 0 ? 0 : kFileNotFound;
}

SPW_Result SPW_CDir::dirExists(const SPW_CString& path) {
    std::uint32_t attributes = 0;
    return sys().getAttributes(path, attributes) && (attributes & SPW_CDirSys::kDirectory) != 0 ? 0 : kDirNotFound;
}

bool SPW_CDir::isDevice(const SPW_CString& path) {
    std::uint32_t attributes = 0;
    return sys().getAttributes(path, attributes) && (attributes & SPW_CDirSys::kDevice) != 0;
}

SPW_Result SPW_CDir::makeDir(const SPW_CString& path) {
    const SPW_CString directory = withoutTrailingSeparator(path);
    if (dirExists(directory) == 0 || sys().createDirectory(directory)) {
        return 0;
    }
    const int end = directory.lastIndexOfAny(sys().separators());
    if (end > 0) {
        const SPW_Result parent = makeDir(directory.left(end));
        if (parent != 0) {
            return parent;  // reported where it happened
        }
        // A second try, unless another thread has made it meanwhile.
        if (sys().createDirectory(directory) || dirExists(directory) == 0) {
            return 0;
        }
    }
    return report(__LINE__, "makeDir", kMakeDirFailed, SPW_CString(u"Failed to create directory ") + directory);
}

SPW_Result SPW_CDir::removeDir(const SPW_CString& path, bool recursive) {
    // One test for "." and "..": both end in a dot.
    if (path.isEmpty() || path.last() == u'.') {
        return kBadPath;
    }
    const SPW_CString directory = withoutTrailingSeparator(path);
    if (dirExists(directory) != 0) {
        return report(__LINE__, "removeDir", kDirNotFound,
                      quoted(u"Can't delete directory '", directory, u"'. The directory is not found."));
    }
    if (recursive && !isLink(directory)) {
        const SPW_Result status = removeContents(directory);
        if (status != 0) {
            return status;
        }
    }
    if (!sys().removeDirectory(directory)) {
        return reportSystem(__LINE__, "removeDir", kRemoveDirFailed, u"delete directory", directory);
    }
    return 0;
}

SPW_Result SPW_CDir::removeFile(const SPW_CString& path) {
    if (fileExists(path) != 0) {
        return reportFileNotFound(__LINE__, "removeFile", path);
    }
    if (!sys().deleteFile(path)) {
        return reportSystem(__LINE__, "removeFile", kRemoveFileFailed, u"remove file", path);
    }
    return 0;
}

SPW_Result SPW_CDir::removeUnusedFile(const SPW_CString& path) {
    if (fileExists(path) != 0) {
        return reportFileNotFound(__LINE__, "removeUnusedFile", path);
    }
    if (sys().deleteUnusedFile(path)) {
        return 0;
    }
    const bool isInUse = SPW_CSysError::instance->last() == kSysSharingViolation;
    return isInUse ? SPW_Result{kSysSharingViolation}
                   : reportSystem(__LINE__, "removeUnusedFile", kRemoveFileFailed, u"remove file", path);
}

SPW_Result SPW_CDir::wipeFile(const SPW_CString& path) {
    if (fileExists(path) != 0) {
        return reportFileNotFound(__LINE__, "wipeFile", path);
    }
    // A link is removed itself: what it points at is not the caller's to wipe.
    SPW_Result status = isLink(path) ? 0 : overwriteFile(path);
    if (status == 0) {
        status = removeFile(path);
        if (status != 0) {
            (void)report(__LINE__, "wipeFile", status, u"removeFile failed");
        }
    }
    return status;
}

SPW_Result SPW_CDir::wipeDir(const SPW_CString& path) {
    const SPW_CString directory = withoutTrailingSeparator(path);
    if (dirExists(directory) != 0) {
        return 0;
    }
    SPW_CDirSys::Found found;
    const SPW_Handle search = sys().findFirst(joined(directory, u"*"), found);
    if (search == nullptr) {
        return 0;
    }
    // Deliberately only a failure on the very first entry ends the walk.
    SPW_Result status = isDotOrDotDot(found.name) ? 0 : wipeEntry(directory, found.name);
    if (status == 0) {
        while (sys().findNext(search, found)) {
            if (!isDotOrDotDot(found.name)) {
                status = wipeEntry(directory, found.name);
            }
        }
        if (SPW_CSysError::instance->last() != kSysNoMoreFiles) {
            status = reportSystem(__LINE__, "wipeDir", kFileNotFound, u"find next file", u"*");
        }
    }
    sys().findClose(search);
    return status;
}

SPW_Result SPW_CDir::rename(const SPW_CString& from, const SPW_CString& to) {
    if (fileExists(from) != 0 && dirExists(from) != 0) {
        SPW_CString message = quoted(u"Can't rename file '", from, u"' to '");
        message += to;
        message += u"'. The file or directory is not found.";
        return report(__LINE__, "rename", kRenameSourceNotFound, message);
    }
    if (fileExists(to) == 0 || dirExists(to) == 0) {
        SPW_CString message = quoted(u"Can't rename file or directory '", from, u"' to '");
        message += to;
        message += u"'. A file or directory with that name already exists.";
        return report(__LINE__, "rename", kTargetExists, message);
    }
    if (!sys().move(from, to)) {
        return reportSystem(__LINE__, "rename", kMoveFailed, u"rename file", from);
    }
    return 0;
}

SPW_Result SPW_CDir::moveFile(const SPW_CString& from, const SPW_CString& to, bool overwrite, bool wipe) {
    if (fileExists(from) != 0) {
        return kFileNotFound;
    }
    if (fileExists(to) == 0) {
        if (!overwrite) {
            return report(__LINE__, "moveFile", kTargetExists, SPW_CString());
        }
        if (sys().isSameEntry(from, to)) {
            return 0;  // removing the target would remove what is to be moved
        }
        const SPW_Result status = removeFile(to);
        if (status != 0) {
            return status;
        }
    }
    if (sys().move(from, to)) {
        return 0;
    }
    // Deliberately passes the overwrite flag as "fail if the target exists". With the flag the old target is gone by
    // now, and a file that has appeared since is not the one that the caller gave up.
    if (!sys().copy(from, to, overwrite)) {
        return reportSystem(__LINE__, "moveFile", kMoveFailed, u"rename file", from);
    }
    return removeCopied(from, to, wipe);
}

SPW_Result SPW_CDir::getFileInfo(const SPW_CString& path, SPW_CDirEntry& entry) {
    const SPW_Handle file = sys().openForReading(path);
    if (file == nullptr) {
        return report(__LINE__, "getFileInfo", kFileNotFound, SPW_CString());
    }
    SPW_CDirSys::Info info;
    const bool known = sys().getInfo(file, info);
    (void)sys().close(file);  // nothing was written that closing could lose
    if (!known) {
        return report(__LINE__, "getFileInfo", kFileInfoFailed, SPW_CString());
    }
    setFlags(entry, info.attributes);
    entry.creationTime = SPW_CClock::toUtc(info.creationTime);
    entry.lastAccessTime = SPW_CClock::toUtc(info.lastAccessTime);
    entry.lastWriteTime = SPW_CClock::toUtc(info.lastWriteTime);
    return 0;
}

SPW_Result SPW_CDir::setFileAttributes(const SPW_CString& path, const SPW_CDirEntry& entry) {
    if (!sys().setAttributes(path, attributesOf(entry))) {
        return reportSystem(__LINE__, "setFileAttributes", kSetAttributesFailed, u"set file attribute", path);
    }
    // The times are set as far as they can be: the attributes are the operation's result.
    const SPW_Handle file = sys().openForReading(path);
    if (file != nullptr) {
        (void)sys().setTimes(file, SPW_CClock::fromUtc(entry.creationTime), SPW_CClock::fromUtc(entry.lastAccessTime),
                             SPW_CClock::fromUtc(entry.lastWriteTime));
        (void)sys().close(file);
    }
    return 0;
}

SPW_Result SPW_CDir::findFirst(const SPW_CString& pattern, SPW_CDirEntry& entry, bool& found) {
    if (m_search != nullptr) {
        closeSearch();
        (void)report(__LINE__, "findFirst", kSearchMisuse,
                     quoted(u"Starting a search for '", pattern,
                            u"' but a previous search wasn't closed Recovered by cleaning up"));
    }
    m_search = new Search;
    m_search->handle = sys().findFirst(pattern, m_search->found);
    found = m_search->handle != nullptr;
    if (found) {
        fillFromSearch(entry, m_search->found);
    }
    return 0;
}

SPW_Result SPW_CDir::findNext(SPW_CDirEntry& entry, bool& found) {
    found = false;
    if (m_search == nullptr) {
        // Deliberately under the name of the operation that is missing.
        return report(__LINE__, "findFirst", kSearchMisuse, u"Continuing a file search which wasn't opened");
    }
    found = m_search->handle != nullptr && sys().findNext(m_search->handle, m_search->found);
    if (found) {
        fillFromSearch(entry, m_search->found);
    }
    return 0;
}

SPW_Result SPW_CDir::findClose() {
    if (m_search == nullptr) {
        return report(__LINE__, "findClose", kSearchMisuse, u"Closing a file search which wasn't open.");
    }
    closeSearch();
    return 0;
}

char16_t SPW_CDir::separator() {
    return sys().separator();
}

const char16_t* SPW_CDir::separators() {
    return sys().separators();
}

void SPW_CDir::closeSearch() {
    if (m_search->handle != nullptr) {
        sys().findClose(m_search->handle);
    }
    delete m_search;
    m_search = nullptr;
}
