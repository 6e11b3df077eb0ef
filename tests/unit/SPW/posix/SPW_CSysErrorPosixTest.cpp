#include "SPW_CSysErrorPosix.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "SPW_CSysError.h"
#include "TemporaryFolder.h"

namespace {

using namespace SPW_CSysErrorPosix;

struct Row {
    int errnoValue;
    SPW_Result systemCode;
    SPW_Result socketCode;
};

// 31 and 10000 + errno are the defaults of the two families.
constexpr Row kRows[] = {
    // clang-format off
    {EPERM,           5,    10013},
    {ENOENT,          2,    10000 + ENOENT},
    {EINTR,           31,   10004},
    {EIO,             1117, 10000 + EIO},
    {EBADF,           6,    10038},
    {EAGAIN,          31,   10035},
    {ENOMEM,          8,    10055},
    {EACCES,          5,    10013},
    {EFAULT,          87,   10014},
    {EBUSY,           32,   10000 + EBUSY},
    {EEXIST,          183,  10000 + EEXIST},
    {EXDEV,           17,   10000 + EXDEV},
    {ENODEV,          31,   10049},
    {ENOTDIR,         3,    10000 + ENOTDIR},
    {EISDIR,          5,    10000 + EISDIR},
    {EINVAL,          87,   10022},
    {ENFILE,          4,    10024},
    {EMFILE,          4,    10024},
    {ETXTBSY,         32,   10000 + ETXTBSY},
    {EFBIG,           112,  10000 + EFBIG},
    {ENOSPC,          112,  10000 + ENOSPC},
    {ESPIPE,          132,  10000 + ESPIPE},
    {EROFS,           19,   10000 + EROFS},
    {EPIPE,           109,  10054},
    {ENAMETOOLONG,    206,  10000 + ENAMETOOLONG},
    {ENOSYS,          50,   10045},
    {ENOTEMPTY,       145,  10000 + ENOTEMPTY},
    {ENOTSOCK,        6,    10038},
    {EDESTADDRREQ,    31,   10039},
    {EMSGSIZE,        31,   10040},
    {EPROTOTYPE,      31,   10041},
    {ENOPROTOOPT,     31,   10042},
    {EPROTONOSUPPORT, 31,   10043},
    {ESOCKTNOSUPPORT, 31,   10044},
    {EOPNOTSUPP,      50,   10045},
    {EAFNOSUPPORT,    31,   10047},
    {EADDRINUSE,      31,   10048},
    {EADDRNOTAVAIL,   31,   10049},
    {ENETDOWN,        31,   10050},
    {ENETUNREACH,     31,   10051},
    {ENETRESET,       31,   10052},
    {ECONNABORTED,    31,   10053},
    {ECONNRESET,      31,   10054},
    {ENOBUFS,         8,    10055},
    {EISCONN,         31,   10056},
    {ENOTCONN,        31,   10057},
    {ESHUTDOWN,       31,   10058},
    {ETIMEDOUT,       31,   10060},
    {ECONNREFUSED,    31,   10061},
    {EHOSTDOWN,       31,   10064},
    {EHOSTUNREACH,    31,   10065},
    {EALREADY,        31,   10037},
    {EINPROGRESS,     31,   10036},
    {EDQUOT,          112,  10000 + EDQUOT},
    // clang-format on
};

TEST(SysErrorPosixTest, EveryRowHasItsCodeInBothFamilies) {
    for (const Row& row : kRows) {
        EXPECT_EQ(systemCode(row.errnoValue), row.systemCode) << "errno " << row.errnoValue;
        EXPECT_EQ(socketCode(row.errnoValue), row.socketCode) << "errno " << row.errnoValue;
    }
}

TEST(SysErrorPosixTest, ValueWithoutAnEntryGetsTheDefaultOfItsFamily) {
    EXPECT_EQ(systemCode(EOWNERDEAD), 31u);
    EXPECT_EQ(socketCode(EOWNERDEAD), 10000u + EOWNERDEAD);
    EXPECT_EQ(systemCode(999), 31u);
    EXPECT_EQ(socketCode(999), 10999u);
}

TEST(SysErrorPosixTest, NoErrorIsSuccessInBothFamilies) {
    EXPECT_EQ(systemCode(0), 0u);
    EXPECT_EQ(socketCode(0), 0u);
}

TEST(SysErrorPosixTest, LastErrorIsTheCallingThreadsOwn) {
    setLast(kSysDiskFull);
    SPW_Result ofOther = 99;
    std::thread other([&ofOther] {
        ofOther = SPW_CSysError::instance->last();
        setLast(kSysAccessDenied);
    });
    other.join();
    EXPECT_EQ(ofOther, 0u);
    EXPECT_EQ(SPW_CSysError::instance->last(), 112u);
}

TEST(SysErrorPosixTest, FailRemembersTheCodeOfErrno) {
    errno = EACCES;
    EXPECT_EQ(fail(), 5u);
    EXPECT_EQ(SPW_CSysError::instance->last(), 5u);
    EXPECT_EQ(errno, EACCES);
}

TEST(SysErrorPosixTest, MissingDirectoryOnTheWayIsToldFromMissingLastPart) {
    const TemporaryFolder folder;
    errno = ENOENT;
    EXPECT_EQ(failAtPath((folder.native() / "missing").c_str()), 2u);
    EXPECT_EQ(SPW_CSysError::instance->last(), 2u);
    errno = ENOENT;
    EXPECT_EQ(failAtPath((folder.native() / "missing" / "file").c_str()), 3u);
    EXPECT_EQ(SPW_CSysError::instance->last(), 3u);
    EXPECT_EQ(errno, ENOENT);
    errno = ENOENT;
    EXPECT_EQ(failAtPath("missing"), 2u);
    errno = ENOENT;
    EXPECT_EQ(failAtPath("/missing"), 2u);
}

TEST(SysErrorPosixTest, OtherErrorsAtAPathKeepTheirCode) {
    errno = EACCES;
    EXPECT_EQ(failAtPath("/missing/file"), 5u);
}

}  // namespace
