// Put before the recorder's code by the build: its files are the hostile core's.

#pragma once

#include <cstdio>

FILE* hostile_fopen(const char* path, const char* mode);
size_t hostile_fwrite(const void* text, size_t size, size_t count, FILE* file);
int hostile_fflush(FILE* file);
int hostile_fclose(FILE* file);

#define fopen hostile_fopen
#define fwrite hostile_fwrite
#define fflush hostile_fflush
#define fclose hostile_fclose
