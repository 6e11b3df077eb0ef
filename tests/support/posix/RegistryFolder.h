#pragma once

#include <cstdlib>

#include "TemporaryFolder.h"

// A registry of the test's own, empty at first: as long as the object lives, the hives of this process are the files
// "HKEY_CURRENT_USER.reg" and so on in a temporary folder.
class RegistryFolder : public TemporaryFolder {
public:
    RegistryFolder() { setenv("VANTIRO_REGISTRY_DIR", native().c_str(), 1); }
    ~RegistryFolder() { unsetenv("VANTIRO_REGISTRY_DIR"); }
};
