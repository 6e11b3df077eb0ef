#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A registry value on its way in or out: text, list of texts, number or bytes.
//
// Each kind has a payload of its own. A getter returns what was last set of its kind, also after another kind has been
// set. type() is the kind that was set last. Threads: an object belongs to one thread at a time.
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
    // Returns 0, or 561 without memory. The object is unchanged then.
    SPW_Result setString(const SPW_CString& value);
    SPW_Result setStringList(const SPW_CArray<SPW_CString>& value);
    SPW_Result setNumber(std::uint32_t value);
    SPW_Result setBytes(const void* bytes, std::uint32_t size);
    // Returns 0, or 562 with `value` unchanged when this kind was never set.
    [[nodiscard]] SPW_Result getString(SPW_CString& value) const;
    [[nodiscard]] SPW_Result getStringList(SPW_CArray<SPW_CString>& value) const;
    [[nodiscard]] SPW_Result getNumber(std::uint32_t& value) const;
    [[nodiscard]] SPW_Result getBytes(SPW_CArray<std::uint8_t>& value) const;
    // The value as text, for every type: a text as it is, a number in decimal, a list joined by blanks, bytes as 8-bit
    // text up to the first zero. Returns false with `text` unchanged when nothing is set.
    bool toText(SPW_CString& text) const;

private:
    Type m_type;
    SPW_CString* m_string;  // owned, as are the next three; null until set
    SPW_CArray<SPW_CString>* m_stringList;
    std::uint32_t* m_number;
    SPW_CArray<std::uint8_t>* m_bytes;
};

// Changes to one hive that belong together. They are made through the SPW_CRegistry objects that were constructed with
// this object. Each of these reads what the others have set. A hive that is a file is written once, by write(). In the
// system's own registry each change counts at once.
//
// Must outlive its SPW_CRegistry objects. Threads: like SPW_CRegistry.
class SPW_CRegistryEdits {
public:
    // Result of write(): the hive has been changed by others since it was first read here. Nothing has been written.
    static constexpr SPW_Result kOvertaken = 1237;

    explicit SPW_CRegistryEdits(const SPW_CString& hive);
    // Discards changes that no write() has written.
    ~SPW_CRegistryEdits();
    SPW_CRegistryEdits(const SPW_CRegistryEdits&) = delete;
    SPW_CRegistryEdits& operator=(const SPW_CRegistryEdits&) = delete;

    // Called once, at the end. The SPW_CRegistry objects cannot be used afterwards. Returns 0, kOvertaken or the
    // registry's code.
    [[nodiscard]] SPW_Result write();

private:
    friend class SPW_CRegistry;
    SPW_Result end(bool write);

    const SPW_CString m_hive;
    SPW_Handle m_root;  // null for a hive that is not supported, and at the end
};

// One registry key. Every operation opens and closes it, so that no key stays open between calls.
//
// The key is named by its hive ("HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER" or "HKEY_LOCAL_MACHINE", in this spelling) and
// by its path below the hive, with back-slashes. The constructor creates a missing key. It does not report a failure:
// the first operation does. On Linux a hive is a text file, see docs/hive-files.md.
//
// Operations return 0 or one of the codes below and leave the reason in getLastError. Nothing is reported. Threads: an
// object belongs to one thread at a time. Several objects, also of several processes, may name the same key.
class SPW_CRegistry {
public:
    // The registry refused; the text ends with its code, 2 for "not found" and 259 for "past the last one".
    static constexpr SPW_Result kCallFailed = 540;
    static constexpr SPW_Result kHiveNotSupported = 541;
    // An earlier operation could not close the key.
    static constexpr SPW_Result kAlreadyOpen = 543;
    static constexpr SPW_Result kNothingToWrite = 544;
    static constexpr SPW_Result kTypeNotSupported = 545;

    // Creates a missing key, unless kOnlyIfPresent is given. That is for keys of other products, where this program
    // must not leave empty keys.
    enum Presence { kCreateKey, kOnlyIfPresent };
    SPW_CRegistry(const SPW_CString& hive, const SPW_CString& path, Presence presence = kCreateKey);
    // One of several keys that are changed together. Creates a missing key.
    SPW_CRegistry(const SPW_CRegistryEdits& edits, const SPW_CString& path);
    virtual ~SPW_CRegistry();
    SPW_CRegistry(const SPW_CRegistry&) = delete;
    SPW_CRegistry& operator=(const SPW_CRegistry&) = delete;

    // Creates a key at any depth below this one. A key that exists already is a success.
    [[nodiscard]] SPW_Result createKey(const SPW_CString& name);
    // Deletes the subkey with all that is below it, the deepest keys first.
    [[nodiscard]] SPW_Result deleteKey(const SPW_CString& name);
    [[nodiscard]] SPW_Result deleteValue(const SPW_CString& name);
    // Indexes count from 0. Callers go on until the result is not 0.
    [[nodiscard]] SPW_Result enumKey(std::uint32_t index, SPW_CString& name);
    // A value of a type that is not handled gives 545. `name` is set then and `data` unchanged.
    [[nodiscard]] SPW_Result enumValue(std::uint32_t index, SPW_CString& name, SPW_CRegistryData& data);
    [[nodiscard]] SPW_Result getNumberOfSubKeys(std::uint32_t& count);
    [[nodiscard]] SPW_Result getNumberOfValues(std::uint32_t& count);
    // Data of more than 510 bytes give 540 with the code 234. An empty name is the key's default value.
    [[nodiscard]] SPW_Result getValue(const SPW_CString& name, SPW_CRegistryData& data);
    // The value's bytes as wide text up to the first null, for every type. It reads the values of other products, which
    // can be of any type. A byte behind the last whole character counts as a character. Data of more than `sizeLimit`
    // bytes give 540 with the code 234. The other codes are those of getValue without 545. `text` is unchanged on
    // failure.
    static constexpr std::uint32_t kAnySize = 0xFFFFFFFF;
    [[nodiscard]] SPW_Result getRawText(const SPW_CString& name, SPW_CString& text, std::uint32_t sizeLimit = kAnySize);
    [[nodiscard]] SPW_Result setValue(const SPW_CString& name, const SPW_CRegistryData& data);
    SPW_Result getKeyName(SPW_CString& hive, SPW_CString& path) const;
    // Whether the latest failure means that the key or value does not exist. False when it exists and cannot be read.
    bool isMissing() const { return m_isMissing; }
    // Returns the text of the latest failure and forgets it. A success does not change it. Always 0.
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
