#pragma once

#include "SPW_CString.h"

// What SPW_CApp needs of a platform. Any thread may call every operation.
class SPW_CAppSys : public SPW_CObject {
public:
    static SPW_CAppSys* instance;

    // Below which programs keep their data, without a separator at the end.
    virtual void getDataRoot(SPW_CString& path) = 0;
    // The directory for temporary files, with or without a separator at the end. False, and the path empty, when the
    // system does not tell.
    virtual bool getTempPath(SPW_CString& path) = 0;
    // The program's own file. False, and the path empty, when the system does not tell.
    virtual bool getModulePath(SPW_CString& path) = 0;
};
