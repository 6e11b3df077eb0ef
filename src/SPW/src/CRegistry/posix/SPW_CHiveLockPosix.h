#pragma once

#include <string>
#include <vector>

#include "../../CFile/posix/SPW_CDescriptorPosix.h"
#include "SPW_Types.h"

// The lock that serialises the writers of a hive's file, threads as well as processes. It is a file of its own beside
// the hive's, "....reg.lock", and is held until the object is destroyed. The lock file notes what the last writer
// wrote. The note tells a file that has just been replaced as a whole from one that is being written at this moment.
class SPW_CHiveLockPosix {
public:
    // How long a writer waits for its turn.
    static constexpr std::uint32_t kPatienceMs = 2000;

    // `hiveFile` need not exist. Its folder must.
    explicit SPW_CHiveLockPosix(const std::string& hiveFile);

    // Returns 0, 32 when others have held the lock for all of that time, or the system's code.
    SPW_Result acquire();
    // Whether these bytes are what the last writer under this lock has written.
    bool wasWritten(const std::vector<char>& bytes) const;
    void noteWritten(const std::vector<char>& bytes) const;

private:
    SPW_Result open();
    // Whether the path still leads to the file that is locked, or why nobody can tell.
    SPW_Result lookAtPath(bool& isOnPath) const;
    bool isOnlyLock() const;

    std::string m_hiveFile;
    std::string m_path;
    SPW_CDescriptorPosix m_file;
};
