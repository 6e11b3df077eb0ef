#pragma once

#include "SPW_CString.h"

// Where the program keeps its files and what it is called. All operations are static and may be
// called by any thread.
//
// Paths are written with the separator of the platform (SPW_CDir::separator) and never end with one.
class SPW_CApp {
public:
    // The data directory: program root, "Vantiro Networks", "Vantiro", "Data". The program root is
    // "\Program Files" on Windows, $XDG_DATA_HOME (by default ~/.local/share) on Linux.
    // The first call makes the directory; when that fails it is reported, and the path is returned all the
    // same. Later calls return the path of the first without a look at the disk.
    static void getAppDataDir(SPW_CString& path);
    // The directory for temporary files: the system's temporary directory ($TMPDIR or /tmp on Linux),
    // "Vantiro Networks", "Vantiro Personal Edition". Made and remembered like the data directory.
    static void getAppTempDir(SPW_CString& path);
    // "Vantiro", followed by the instance number when that is not 0.
    static void getAppName(SPW_CString& name);
    // "Vantiro Personal Edition", with the same suffix.
    static void getEditionName(SPW_CString& name);
    // The program's own file: its whole path when `full`, else the directory that it lies in. A path without a
    // separator, or whose only one is its first character, is returned whole. Empty when the system does not tell.
    static void getModulePath(SPW_CString& path, bool full);
    // Tells apart several copies of the program on one device; 0 unless the application sets it.
    static int getInstance();
    static void setInstance(int number);
};
