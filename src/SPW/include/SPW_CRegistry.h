#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A registry value on its way in or out: text, list of texts, number or bytes.
class SPW_CRegistryData {
public:
    enum Type { kNotSet = 0, kString = 1, kStringList = 2, kNumber = 3, kBytes = 4 };
    static constexpr SPW_Result kAllocationFailed = 561;
    static constexpr SPW_Result kPayloadNotSet = 562;

    SPW_CRegistryData();
    virtual ~SPW_CRegistryData();
    SPW_CRegistryData(const SPW_CRegistryData&) = delete;
    SPW_CRegistryData& operator=(const SPW_CRegistryData&) = delete;

    Type type() const;
    SPW_Result setString(const SPW_CString& value);
    SPW_Result setStringList(const SPW_CArray<SPW_CString>& value);
    SPW_Result setNumber(std::uint32_t value);
    SPW_Result setBytes(const void* bytes, std::uint32_t size);
    [[nodiscard]] SPW_Result getString(SPW_CString& value) const;
    [[nodiscard]] SPW_Result getStringList(SPW_CArray<SPW_CString>& value) const;
    [[nodiscard]] SPW_Result getNumber(std::uint32_t& value) const;
    [[nodiscard]] SPW_Result getBytes(SPW_CArray<std::uint8_t>& value) const;
    // The value as text whatever its type: a text as it is, a number in decimal, a list joined by blanks,
    // bytes as the 8-bit text that they spell. False when nothing is set.
    bool toText(SPW_CString& text) const;
};

// One registry key, opened and closed around every operation.
class SPW_CRegistry {
public:
    static constexpr SPW_Result kCallFailed = 540;
    static constexpr SPW_Result kHiveNotSupported = 541;
    static constexpr SPW_Result kAlreadyOpen = 543;
    static constexpr SPW_Result kNothingToWrite = 544;
    static constexpr SPW_Result kTypeNotSupported = 545;

    // Makes sure that the key exists, unless told to leave a missing one missing: what other products keep is read
    // without planting empty keys there.
    enum Presence { kCreateKey, kOnlyIfPresent };
    SPW_CRegistry(const SPW_CString& hive, const SPW_CString& path, Presence presence = kCreateKey);
    virtual ~SPW_CRegistry();
    SPW_CRegistry(const SPW_CRegistry&) = delete;
    SPW_CRegistry& operator=(const SPW_CRegistry&) = delete;

    [[nodiscard]] SPW_Result createKey(const SPW_CString& name);
    [[nodiscard]] SPW_Result deleteKey(const SPW_CString& name);
    [[nodiscard]] SPW_Result deleteValue(const SPW_CString& name);
    [[nodiscard]] SPW_Result enumKey(std::uint32_t index, SPW_CString& name);
    [[nodiscard]] SPW_Result enumValue(std::uint32_t index, SPW_CString& name, SPW_CRegistryData& data);
    [[nodiscard]] SPW_Result getNumberOfSubKeys(std::uint32_t& count);
    [[nodiscard]] SPW_Result getNumberOfValues(std::uint32_t& count);
    [[nodiscard]] SPW_Result getValue(const SPW_CString& name, SPW_CRegistryData& data);
    [[nodiscard]] SPW_Result setValue(const SPW_CString& name, const SPW_CRegistryData& data);
    SPW_Result getKeyName(SPW_CString& hive, SPW_CString& path) const;
    SPW_Result getLastError(SPW_CString& text);
};
