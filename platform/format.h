/* SPDX-License-Identifier: MIT */
// The texts of the two log services, from a format in the manner of printf and its values. Independent of the locale.
#pragma once

#include <cstdarg>

#include "growing_array.h"

namespace vyx::platform {

// Appends a text; wide characters become UTF-8. Conversions: "%d" and "%x" an int, "%s" a single-byte string, "%ls" a
// wide string, "%r" an EFI_STATUS by its name, "%%". Any other ends the interpretation, because it cannot be told how
// large its value is: the format's rest appears as it stands. What control characters a string holds appears as "\x1B",
// so that a terminal cannot be driven by a value; a null string as "(null)". False without memory.
bool appendFormat(GrowingArray<char> &out, const char *format, va_list values);
bool appendFormat(GrowingArray<char> &out, const wchar_t *format, va_list values);

// Appends a text as "%s" would.
bool appendValue(GrowingArray<char> &out, const char *text);

}  // namespace vyx::platform
