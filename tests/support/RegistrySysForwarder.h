#pragma once

#include "SPW_CRegistrySys.h"

// Stands in for the platform's registry as long as the object lives and hands every call on to it. A test overrides the
// one that is to fail.
class RegistrySysForwarder : public SPW_CRegistrySys {
public:
    RegistrySysForwarder() : m_next(SPW_CRegistrySys::instance) { SPW_CRegistrySys::instance = this; }
    ~RegistrySysForwarder() override { SPW_CRegistrySys::instance = m_next; }
    RegistrySysForwarder(const RegistrySysForwarder&) = delete;
    RegistrySysForwarder& operator=(const RegistrySysForwarder&) = delete;

    SPW_Handle rootKey(Hive hive) override { return m_next->rootKey(hive); }
    SPW_Handle beginEdits(Hive hive) override { return m_next->beginEdits(hive); }
    SPW_Result endEdits(SPW_Handle root, bool write) override { return m_next->endEdits(root, write); }
    SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        return m_next->createKey(parent, path, access, key);
    }
    SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        return m_next->openKey(parent, path, access, key);
    }
    SPW_Result closeKey(SPW_Handle key) override { return m_next->closeKey(key); }
    SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) override {
        return m_next->deleteKey(parent, name);
    }
    SPW_Result deleteValue(SPW_Handle key, const SPW_CString& name) override { return m_next->deleteValue(key, name); }
    SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) override {
        return m_next->enumKey(key, index, name, nameSize);
    }
    SPW_Result enumValue(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize,
                         std::uint32_t& type, void* data, std::uint32_t& size) override {
        return m_next->enumValue(key, index, name, nameSize, type, data, size);
    }
    SPW_Result queryCounts(SPW_Handle key, std::uint32_t& subKeys, std::uint32_t& values) override {
        return m_next->queryCounts(key, subKeys, values);
    }
    SPW_Result queryValue(SPW_Handle key, const SPW_CString& name, std::uint32_t& type, void* data,
                          std::uint32_t& size) override {
        return m_next->queryValue(key, name, type, data, size);
    }
    SPW_Result setValue(SPW_Handle key, const SPW_CString& name, std::uint32_t type, const void* data,
                        std::uint32_t size) override {
        return m_next->setValue(key, name, type, data, size);
    }

private:
    SPW_CRegistrySys* const m_next;
};
