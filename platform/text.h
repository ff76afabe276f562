// SPDX-License-Identifier: MIT
// Texts for people: of the two log services, and of programs that show queues on a terminal. Independent of the locale.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

#include "PlatformServices.h"

namespace vyx::platform {

// What a format in the manner of printf makes of its values. Conversions: "%d" and "%x" an int, "%s" a single-byte
// string, "%ls" a wide string, "%r" an EFI_STATUS by its name, "%%". Any other ends the interpretation, because it
// cannot be told how large its value is: the format's rest appears as it stands. Strings appear as safeText makes them,
// a null one as "(null)".
std::string formatted(std::string_view format, va_list values);

// A text that cannot drive a terminal, as vyxHostTerminalText describes it.
std::string safeText(const char *text);

// Wide characters as UTF-8; U+FFFD for what is not a character.
std::string toUtf8(const wchar_t *text);

// A status by the name that the headers give it; null when they give it none.
const char *statusName(EFI_STATUS status);

}  // namespace vyx::platform
