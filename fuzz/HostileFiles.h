// Put before the recorder's code by the build: its files are the hostile core's.

#pragma once

#include <cstdio>

FILE* hostile_fopen(const char* path, const char* mode);

#define fopen hostile_fopen
