#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A registry value on its way in or out: text, list of texts, number or bytes.
//
// Each kind keeps a payload of its own: a getter answers what was last set of its kind, also after another kind
// has been set; type() says which kind came last. Threads: an object belongs to one thread at a time.
class SPW_CRegistryData {
public:
    enum Type { kNotSet = 0, kString = 1, kStringList = 2, kNumber = 3, kBytes = 4 };
    static constexpr SPW_Result kAllocationFailed = 561;
    static constexpr SPW_Result kPayloadNotSet = 562;

    SPW_CRegistryData();
    virtual ~SPW_CRegistryData();
    SPW_CRegistryData(const SPW_CRegistryData&) = delete;
    SPW_CRegistryData& operator=(const SPW_CRegistryData&) = delete;

    Type type() const { return m_type; }
    // 0, or 561 when there is no memory; the object is then as before.
    SPW_Result setString(const SPW_CString& value);
    SPW_Result setStringList(const SPW_CArray<SPW_CString>& value);
    SPW_Result setNumber(std::uint32_t value);
    SPW_Result setBytes(const void* bytes, std::uint32_t size);
    // 0, or 562, and `value` unchanged, when this kind was never set.
    [[nodiscard]] SPW_Result getString(SPW_CString& value) const;
    [[nodiscard]] SPW_Result getStringList(SPW_CArray<SPW_CString>& value) const;
    [[nodiscard]] SPW_Result getNumber(std::uint32_t& value) const;
    [[nodiscard]] SPW_Result getBytes(SPW_CArray<std::uint8_t>& value) const;
    // The value as text whatever its type: a text as it is, a number in decimal, a list joined by blanks,
    // bytes as the 8-bit text that they spell up to the first zero. False, and `text` unchanged, when nothing is set.
    bool toText(SPW_CString& text) const;

private:
    Type m_type;
    SPW_CString* m_string;  // owned, as are the next three; null until set
    SPW_CArray<SPW_CString>* m_stringList;
    std::uint32_t* m_number;
    SPW_CArray<std::uint8_t>* m_bytes;
};

// Changes to one hive that belong together, made through the SPW_CRegistry objects that were given this one: each reads
// what the others have set, and where the hive is a file all is written at once. Where the registry is the system's own
// each change counts at once.
//
// Ends behind its SPW_CRegistry objects. Threads: as they.
class SPW_CRegistryEdits {
public:
    // From write(): somebody else has changed the hive since it was first read here, and nothing has been written.
    static constexpr SPW_Result kOvertaken = 1237;

    explicit SPW_CRegistryEdits(const SPW_CString& hive);
    // What write() was not called for is not written.
    ~SPW_CRegistryEdits();
    SPW_CRegistryEdits(const SPW_CRegistryEdits&) = delete;
    SPW_CRegistryEdits& operator=(const SPW_CRegistryEdits&) = delete;

    // Once, at the end: the keys are of no more use afterwards. 0, kOvertaken or the registry's code.
    [[nodiscard]] SPW_Result write();

private:
    friend class SPW_CRegistry;
    SPW_Result end(bool write);

    const SPW_CString m_hive;
    SPW_Handle m_root;  // null for a hive that is not supported, and at the end
};

// One registry key, opened and closed around every operation, so that none stays open between calls.
//
// The key is named by its hive ("HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER" or "HKEY_LOCAL_MACHINE", spelled so) and its
// path below it with back-slashes. Making the object makes the key, unchecked: whoever may not make
// it learns that from the first operation. On Linux a hive is a text file, see docs/hive-files.md.
//
// Operations answer 0 or one of the codes below and leave the reason in getLastError; nothing is reported.
// Threads: an object belongs to one thread at a time; different objects, also of different processes, may name the
// same key.
class SPW_CRegistry {
public:
    // The registry refused; the text ends with its code, 2 for "not found" and 259 for "past the last one".
    static constexpr SPW_Result kCallFailed = 540;
    static constexpr SPW_Result kHiveNotSupported = 541;
    // An earlier operation could not close the key.
    static constexpr SPW_Result kAlreadyOpen = 543;
    static constexpr SPW_Result kNothingToWrite = 544;
    static constexpr SPW_Result kTypeNotSupported = 545;

    // Makes sure that the key exists, unless told to leave a missing one missing: what other products keep is read
    // without planting empty keys there.
    enum Presence { kCreateKey, kOnlyIfPresent };
    SPW_CRegistry(const SPW_CString& hive, const SPW_CString& path, Presence presence = kCreateKey);
    // One key of several that are changed together; made where it is missing.
    SPW_CRegistry(const SPW_CRegistryEdits& edits, const SPW_CString& path);
    virtual ~SPW_CRegistry();
    SPW_CRegistry(const SPW_CRegistry&) = delete;
    SPW_CRegistry& operator=(const SPW_CRegistry&) = delete;

    // A key directly or deeper below this one; that it exists already is a success.
    [[nodiscard]] SPW_Result createKey(const SPW_CString& name);
    // The subkey with all that is below it, deepest first.
    [[nodiscard]] SPW_Result deleteKey(const SPW_CString& name);
    [[nodiscard]] SPW_Result deleteValue(const SPW_CString& name);
    // Indexes count from 0; callers go on until the answer is not 0.
    [[nodiscard]] SPW_Result enumKey(std::uint32_t index, SPW_CString& name);
    // A value of a type that is not handled gives 545 and sets the name; the data stay as they were.
    [[nodiscard]] SPW_Result enumValue(std::uint32_t index, SPW_CString& name, SPW_CRegistryData& data);
    [[nodiscard]] SPW_Result getNumberOfSubKeys(std::uint32_t& count);
    [[nodiscard]] SPW_Result getNumberOfValues(std::uint32_t& count);
    // Data of more than 510 bytes give 540 with the code 234. An empty name is the key's default value.
    [[nodiscard]] SPW_Result getValue(const SPW_CString& name, SPW_CRegistryData& data);
    // The wide text that the value's bytes spell up to their first null, whatever its type: how values of other
    // products are read, which may hold anything. A byte behind the last whole character counts as a character. Data of
    // more than `sizeLimit` bytes give 540 with the code 234. Other codes as getValue gives them, but for 545; `text`
    // is unchanged then.
    static constexpr std::uint32_t kAnySize = 0xFFFFFFFF;
    [[nodiscard]] SPW_Result getRawText(const SPW_CString& name, SPW_CString& text, std::uint32_t sizeLimit = kAnySize);
    [[nodiscard]] SPW_Result setValue(const SPW_CString& name, const SPW_CRegistryData& data);
    SPW_Result getKeyName(SPW_CString& hive, SPW_CString& path) const;
    // Whether the latest failure was that there is no such key or value, and not that there is one that cannot be had.
    bool isMissing() const { return m_isMissing; }
    // The text of the latest failure, which is then forgotten; successes leave it alone. Always 0.
    SPW_Result getLastError(SPW_CString& text);

private:
    SPW_Result fail(SPW_Result status, const SPW_CString& text);
    SPW_Result failCall(const char16_t* what, SPW_Result code);
    SPW_Result failHive();
    void makeSure();
    SPW_Result open(std::uint32_t access);
    SPW_Result close();
    SPW_Result queryCounts();
    static SPW_Result deleteTree(SPW_Handle parent, const SPW_CString& name);
    SPW_Result fromRaw(std::uint32_t type, const void* bytes, std::uint32_t size, SPW_CRegistryData& data);
    SPW_Result writeList(const SPW_CString& name, const SPW_CRegistryData& data);
    SPW_Result writeTagged(const SPW_CString& name, const SPW_CRegistryData& data);
    SPW_Result writeRaw(const SPW_CString& name, std::uint32_t type, const void* bytes, std::uint32_t size);

    SPW_CString m_path;
    SPW_CString m_hive;
    SPW_Handle m_root;  // null for a hive that is not supported
    std::uint32_t m_subKeyCount;
    std::uint32_t m_valueCount;
    SPW_CString m_lastError;
    bool m_isMissing = false;
    SPW_Handle m_key;
    std::uint32_t m_isOpen;  // 1 while the key is open
};
