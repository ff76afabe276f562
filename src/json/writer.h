// SPDX-License-Identifier: MIT
// The task list's output routine.
#pragma once

#include <cstdio>

#include "VyxSSIBBackend.h"

namespace ssib {

// Appends a text to the output buffer of 4096 bytes, which is first written to the stream when the text does not fit.
// Of a text longer than the empty buffer, 4095 bytes are kept. Write errors are not looked at. Returns
// EFI_INVALID_PARAMETER when an argument is null.
EFI_STATUS jsonWriter(std::FILE *stream, const char *text);

}  // namespace ssib
