/* The part of iconv that the QR reader uses. */
#pragma once
#include <stddef.h>

typedef void* iconv_t;

iconv_t iconv_open(const char* to, const char* from);
size_t iconv(iconv_t cd, char** in, size_t* inLeft, char** out, size_t* outLeft);
int iconv_close(iconv_t cd);
