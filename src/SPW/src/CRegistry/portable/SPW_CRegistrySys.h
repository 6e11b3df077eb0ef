#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// What SPW_CRegistry needs of a platform's registry. Any thread may call every operation; none keeps a reference to an
// argument, and none waits for anything but the disk and another writer's turn.
//
// Operations answer 0 or a code of SPW_CSysError.h: 2 not found, 5 access denied, 6 invalid handle, 87 name not
// possible, 234 buffer too small, 259 index past the end, 1009 the registry is damaged. Writers, also 32: another one
// does not let them.
class SPW_CRegistrySys : public SPW_CObject {
public:
    static SPW_CRegistrySys* instance;

    enum Hive { kClassesRoot, kCurrentUser, kLocalMachine };
    enum Access : std::uint32_t {
        kQueryValue = 0x1,
        kSetValue = 0x2,
        kEnumerateSubKeys = 0x8,
        kDelete = 0x10000,
        kRead = 0x20019,
        kAllAccess = 0xF003F,
    };
    // The one code that no platform gives by itself.
    static constexpr SPW_Result kOvertaken = 1237;
    enum Type : std::uint32_t { kNone = 0, kSz = 1, kExpandSz = 2, kBinary = 3, kDword = 4, kMultiSz = 7 };

    // A hive's handle. It exists always and is never closed.
    virtual SPW_Handle rootKey(Hive hive) = 0;
    // A handle to use in the place of the hive's: what is changed below it is read back below it at once, and may be
    // written only by endEdits(), in one piece. Belongs to one thread.
    virtual SPW_Handle beginEdits(Hive hive) = 0;
    // Ends a handle of beginEdits(), below which no key is open. With `write` 0 when all changes are written, or were
    // already; else none is: kOvertaken when somebody else has changed the hive since it was first read below `root`.
    virtual SPW_Result endEdits(SPW_Handle root, bool write) = 0;
    // Opens the key, made with all its missing parents when it does not exist. The path is below `parent`.
    virtual SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) = 0;
    virtual SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) = 0;
    virtual SPW_Result closeKey(SPW_Handle key) = 0;
    // A key without subkeys.
    virtual SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) = 0;
    virtual SPW_Result deleteValue(SPW_Handle key, const SPW_CString& name) = 0;
    // `nameSize` is the longest name in characters, terminator included.
    virtual SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) = 0;
    // `size` is the size of the buffer going in and that of the data coming out, in bytes, here and below. Data are in
    // the registry's own form: texts UTF-16 with their terminators.
    virtual SPW_Result enumValue(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize,
                                 std::uint32_t& type, void* data, std::uint32_t& size) = 0;
    virtual SPW_Result queryCounts(SPW_Handle key, std::uint32_t& subKeys, std::uint32_t& values) = 0;
    virtual SPW_Result queryValue(SPW_Handle key, const SPW_CString& name, std::uint32_t& type, void* data,
                                  std::uint32_t& size) = 0;
    virtual SPW_Result setValue(SPW_Handle key, const SPW_CString& name, std::uint32_t type, const void* data,
                                std::uint32_t size) = 0;
};
