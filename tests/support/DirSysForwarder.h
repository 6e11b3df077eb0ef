#pragma once

#include "SPW_CDirSys.h"

// Stands in for the platform's file system as long as the object lives and hands every call on to it. A test
// overrides the one that is to fail.
class DirSysForwarder : public SPW_CDirSys {
public:
    DirSysForwarder() : m_next(SPW_CDirSys::instance) { SPW_CDirSys::instance = this; }
    ~DirSysForwarder() override { SPW_CDirSys::instance = m_next; }
    DirSysForwarder(const DirSysForwarder&) = delete;
    DirSysForwarder& operator=(const DirSysForwarder&) = delete;

    char16_t separator() override { return m_next->separator(); }
    const char16_t* separators() override { return m_next->separators(); }
    bool getAttributes(const SPW_CString& path, std::uint32_t& attributes) override {
        return m_next->getAttributes(path, attributes);
    }
    bool setAttributes(const SPW_CString& path, std::uint32_t attributes) override {
        return m_next->setAttributes(path, attributes);
    }
    bool isSameEntry(const SPW_CString& a, const SPW_CString& b) override { return m_next->isSameEntry(a, b); }
    bool createDirectory(const SPW_CString& path) override { return m_next->createDirectory(path); }
    bool removeDirectory(const SPW_CString& path) override { return m_next->removeDirectory(path); }
    bool deleteFile(const SPW_CString& path) override { return m_next->deleteFile(path); }
    bool deleteUnusedFile(const SPW_CString& path) override { return m_next->deleteUnusedFile(path); }
    bool move(const SPW_CString& from, const SPW_CString& to) override { return m_next->move(from, to); }
    bool copy(const SPW_CString& from, const SPW_CString& to, bool failIfExists) override {
        return m_next->copy(from, to, failIfExists);
    }
    SPW_Handle openForReading(const SPW_CString& path) override { return m_next->openForReading(path); }
    SPW_Handle openForWriting(const SPW_CString& path) override { return m_next->openForWriting(path); }
    bool getSize(SPW_Handle file, std::uint64_t& bytes) override { return m_next->getSize(file, bytes); }
    bool write(SPW_Handle file, const void* bytes, std::uint32_t size) override {
        return m_next->write(file, bytes, size);
    }
    bool flush(SPW_Handle file) override { return m_next->flush(file); }
    bool getInfo(SPW_Handle file, Info& info) override { return m_next->getInfo(file, info); }
    bool setTimes(SPW_Handle file, std::uint64_t creation, std::uint64_t lastAccess, std::uint64_t lastWrite) override {
        return m_next->setTimes(file, creation, lastAccess, lastWrite);
    }
    bool close(SPW_Handle file) override { return m_next->close(file); }
    SPW_Handle findFirst(const SPW_CString& pattern, Found& found) override {
        return m_next->findFirst(pattern, found);
    }
    bool findNext(SPW_Handle search, Found& found) override { return m_next->findNext(search, found); }
    void findClose(SPW_Handle search) override { m_next->findClose(search); }

private:
    SPW_CDirSys* const m_next;
};
