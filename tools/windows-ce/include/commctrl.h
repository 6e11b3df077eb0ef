// Windows CE 3.0's common controls: exactly what the sources below w32/ folders use of commctrl.dll.
#pragma once

#include <windows.h>

#define LVS_REPORT 1
#define LVCF_FMT 1
#define LVCF_TEXT 4
#define LVCF_SUBITEM 8
#define LVCFMT_CENTER 2
#define LVIF_TEXT 1
#define LVM_FIRST 0x1000
#define LVM_DELETEITEM (LVM_FIRST + 8)
#define LVM_DELETEALLITEMS (LVM_FIRST + 9)
#define LVM_DELETECOLUMN (LVM_FIRST + 28)
#define LVM_GETCOLUMNWIDTH (LVM_FIRST + 29)
#define LVM_SETCOLUMNWIDTH (LVM_FIRST + 30)
#define LVM_INSERTITEMW (LVM_FIRST + 77)
#define LVM_GETSTRINGWIDTHW (LVM_FIRST + 87)
#define LVM_INSERTCOLUMNW (LVM_FIRST + 97)
#define LVM_SETITEMTEXTW (LVM_FIRST + 116)
#define LVSCW_AUTOSIZE_USEHEADER (-2)
#define NM_CLICK (-2)

#ifdef RC_INVOKED
#define WC_LISTVIEW "SysListView32"
#else

typedef struct {
    UINT mask;
    int fmt;
    int cx;
    wchar_t* pszText;
    int cchTextMax;
    int iSubItem;
    int iImage;
    int iOrder;
} LVCOLUMNW;

typedef struct {
    UINT mask;
    int iItem;
    int iSubItem;
    UINT state;
    UINT stateMask;
    wchar_t* pszText;
    int cchTextMax;
    int iImage;
    LPARAM lParam;
    int iIndent;
} LVITEMW;

extern "C" void InitCommonControls();

#endif
