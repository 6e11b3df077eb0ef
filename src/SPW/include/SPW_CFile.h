#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// The framework's handle on one open file. Text goes out as 8-bit characters of the system code page,
// lines end with CR LF.
class SPW_CFile : public SPW_CObject {
public:
    static constexpr SPW_Result kNotOpen = 163;
    SPW_CFile();
    ~SPW_CFile() override;
    virtual SPW_Result close();
    virtual void passThrough() {}
    virtual SPW_Result flush();
    virtual const SPW_CString& getName() const;
    virtual SPW_Result getSize(std::uint32_t& bytes);
    virtual SPW_Result getPosition(std::uint32_t& position);
    virtual bool isOpen() const;
    virtual SPW_Result moveRelative(std::int32_t distance);
    virtual SPW_Result moveToBegin();
    virtual SPW_Result moveToEnd();
    virtual SPW_Result openCreateNew(const SPW_CString& path);
    virtual SPW_Result openReadOnly(const SPW_CString& path);
    virtual SPW_Result openReadWrite(const SPW_CString& path, bool append);
    virtual SPW_Result openTemp(const SPW_CString& directory);
    virtual SPW_Result read(void* buffer, std::uint32_t size, std::uint32_t& bytesRead);
    virtual SPW_Result write(const void* buffer, std::uint32_t size);
    virtual SPW_Result writeNewLine();
    virtual SPW_Result writeText(const SPW_CString& text);
};
