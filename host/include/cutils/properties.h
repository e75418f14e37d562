#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define PROPERTY_VALUE_MAX 92

// Copies the property's value, or the default, to `value` (PROPERTY_VALUE_MAX bytes) and returns its length.
int property_get(const char* key, char* value, const char* default_value);

// 1 for "1", "y", "yes", "on", "true"; 0 for "0", "n", "no", "off", "false"; the default for anything else.
int8_t property_get_bool(const char* key, int8_t default_value);

// 0, or negative when the value is too long. A null value unsets the property.
int property_set(const char* key, const char* value);

#ifdef __cplusplus
}
#endif
