#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// What SPW_CRegistry needs of a platform's registry. Threads: any. No operation keeps a reference to an argument. An
// operation blocks only for the disk and for another writer's turn.
//
// Operations return 0 or a code of SPW_CSysError.h: 2 not found, 5 access denied, 6 invalid handle, 87 name not
// possible, 234 buffer too small, 259 index past the end, 1009 the registry is damaged. Writing operations can also
// return 32: another writer holds the registry.
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
    // The only code that no platform gives by itself.
    static constexpr SPW_Result kOvertaken = 1237;
    enum Type : std::uint32_t { kNone = 0, kSz = 1, kExpandSz = 2, kBinary = 3, kDword = 4, kMultiSz = 7 };

    // The handle of a hive. It always exists and is never closed.
    virtual SPW_Handle rootKey(Hive hive) = 0;
    // Returns a handle that stands for the hive. Changes below it are visible below it at once. endEdits() may be what
    // writes them, all in one piece. Threads: one.
    virtual SPW_Handle beginEdits(Hive hive) = 0;
    // Ends a handle of beginEdits(). No key below it may be open. With `write` it writes the changes: 0 means that all
    // are written, every other code that none is. kOvertaken means that the hive has been changed by others since it
    // was first read below `root`.
    virtual SPW_Result endEdits(SPW_Handle root, bool write) = 0;
    // Opens the key. Creates it with all missing parents when it does not exist. The path is below `parent`.
    virtual SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) = 0;
    virtual SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) = 0;
    virtual SPW_Result closeKey(SPW_Handle key) = 0;
    // Deletes a key without subkeys.
    virtual SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) = 0;
    virtual SPW_Result deleteValue(SPW_Handle key, const SPW_CString& name) = 0;
    // `nameSize` is the size of the longest allowed name in characters, terminator included.
    virtual SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) = 0;
    // `size` is the buffer's size on entry and the data's size on return, in bytes, here and below. Data are in the
    // registry's own form: texts are UTF-16 with their terminators.
    virtual SPW_Result enumValue(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize,
                                 std::uint32_t& type, void* data, std::uint32_t& size) = 0;
    virtual SPW_Result queryCounts(SPW_Handle key, std::uint32_t& subKeys, std::uint32_t& values) = 0;
    virtual SPW_Result queryValue(SPW_Handle key, const SPW_CString& name, std::uint32_t& type, void* data,
                                  std::uint32_t& size) = 0;
    virtual SPW_Result setValue(SPW_Handle key, const SPW_CString& name, std::uint32_t type, const void* data,
                                std::uint32_t size) = 0;
};
