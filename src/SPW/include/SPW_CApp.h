#pragma once

#include "SPW_CString.h"

// Where the program keeps its files. All operations are static.
class SPW_CApp {
public:
    static void getAppDataDir(SPW_CString& path);
    static void getAppTempDir(SPW_CString& path);
    static void getAppName(SPW_CString& name);
    static void getEditionName(SPW_CString& name);
    static void getModulePath(SPW_CString& path, bool full);
    static int getInstance();
    static void setInstance(int number);
};
