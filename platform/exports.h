/* SPDX-License-Identifier: MIT */
// Marks the functions that the shared library shows to the outside. Everything else is compiled hidden.
#ifndef VYX_PLATFORM_EXPORTS_H
#define VYX_PLATFORM_EXPORTS_H

#include "PlatformServices.h"

#define VYX_PLATFORM_EXPORT extern "C" __attribute__((visibility("default")))

#endif
