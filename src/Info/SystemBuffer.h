#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "InfoStatus.h"
#include "SPW_CNetworkInfo.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// The memory that the platform fills with its records. The records point at one another inside it.
//
// A pointer that leads out of the memory ends its chain. A chain also ends after as many records as the memory has room
// for, so that a circle of pointers is no endless walk.
class SystemBuffer {
public:
    SystemBuffer() = default;
    ~SystemBuffer() { release(); }
    SystemBuffer(const SystemBuffer&) = delete;
    SystemBuffer& operator=(const SystemBuffer&) = delete;

    // Reads again in two steps: asks for the size, then has memory of that size filled. Deletes the earlier content in
    // any case. Returns 0, or a code of InfoStatus with nothing held.
    template <typename Record>
    [[nodiscard]] SPW_Result read(SPW_Result (SPW_CNetworkInfo::*call)(Record*, std::uint32_t&)) {
        release();
        std::uint32_t size = 0;
        const SPW_Result status = statusOfSizeQuery((SPW_CNetworkInfo::instance->*call)(nullptr, size));
        if (status != 0) {
            return status;
        }
        if (size < sizeof(Record) || !allocate(size) ||
            (SPW_CNetworkInfo::instance->*call)(static_cast<Record*>(m_memory), size) != 0) {
            release();
            return kSystemDataNotHad;
        }
        return 0;
    }

    void release();
    // The record at the start; null when nothing is held.
    template <typename Record>
    const Record* first() const {
        return static_cast<const Record*>(m_memory);
    }
    // Whether the whole record lies inside.
    template <typename Record>
    bool holds(const Record* record) const {
        return holds(reinterpret_cast<std::uintptr_t>(record), sizeof(Record));
    }
    std::size_t size() const { return m_size; }

private:
    static SPW_Result statusOfSizeQuery(SPW_Result code);
    bool allocate(std::uint32_t size);
    bool holds(std::uintptr_t address, std::size_t size) const;

    void* m_memory = nullptr;  // owned
    std::size_t m_size = 0;    // bytes
};

// Goes from record to record by their `next`. The buffer must outlive the chain.
template <typename Record>
class RecordChain {
public:
    RecordChain(const SystemBuffer& buffer, const Record* first)
        : m_buffer(buffer), m_left(buffer.size() / sizeof(Record)), m_current(accepted(first)) {}

    // The current record; null behind the last one.
    const Record* current() const { return m_current; }
    // Allowed only while there is a current record.
    void advance() { m_current = accepted(m_current->next); }

private:
    const Record* accepted(const Record* record) {
        if (record == nullptr || m_left == 0 || !m_buffer.holds(record)) {
            return nullptr;
        }
        --m_left;
        return record;
    }

    const SystemBuffer& m_buffer;
    std::size_t m_left;  // records that the buffer has room for beside those seen
    const Record* m_current;
};

// A text field of a record, in the system's code page. A text without a null ends with its field.
template <std::size_t size>
SPW_CString fieldText(const char (&field)[size]) {
    char text[size + 1];
    std::memcpy(text, field, size);
    text[size] = 0;
    return SPW_CString(text);
}
