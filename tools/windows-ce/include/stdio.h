// The C library's declarations, with what Windows CE's has instead of standard streams as variables.
#pragma once

#include_next <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif
FILE* _getstdfilex(int number);
#ifdef __cplusplus
}
#endif

#undef stdin
#undef stdout
#undef stderr
#define stdin _getstdfilex(0)
#define stdout _getstdfilex(1)
#define stderr _getstdfilex(2)
