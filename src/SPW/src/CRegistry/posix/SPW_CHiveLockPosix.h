#pragma once

#include <string>
#include <vector>

#include "../../CFile/posix/SPW_CDescriptorPosix.h"
#include "SPW_Types.h"

// The lock by which those who write a hive's file take turns, threads as well as processes: a file of its own beside
// the hive's, "....reg.lock". Held until the object goes. In it stands what the last writer wrote, so that a text that
// has just been put in place as a whole is told from one that somebody is writing this moment.
class SPW_CHiveLockPosix {
public:
    // How long a writer waits for his turn.
    static constexpr std::uint32_t kPatienceMs = 2000;

    // `hiveFile` need not exist, its folder must.
    explicit SPW_CHiveLockPosix(const std::string& hiveFile);

    // 0, 32 when others have held the lock for all of that time, or the system's code.
    SPW_Result acquire();
    // Whether the last who wrote the hive under this lock wrote these bytes.
    bool wasWritten(const std::vector<char>& bytes) const;
    void noteWritten(const std::vector<char>& bytes) const;

private:
    SPW_Result open();
    bool isOnPath() const;
    bool isOnlyLock() const;

    std::string m_hiveFile;
    std::string m_path;
    SPW_CDescriptorPosix m_file;
};
