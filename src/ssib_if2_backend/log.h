// SPDX-License-Identifier: MIT
// Lines for the debug-log service. Nothing that the library does depends on whether anybody reads them.
#pragma once

#include <cstdint>

#include "ssib_if2_backend/heap.h"
#include "VyxSSIBBackend.h"

namespace ssib {

inline constexpr char kLibraryTag[] = "VYXSSIB";
inline constexpr std::uint32_t kLogLevel = 0x800000;

// Addresses are logged as plain numbers of 32 bits.
inline std::uint32_t asNumber(const void *address) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

// "%s" never receives null.
inline const char *orEmpty(const char *text) {
  return text == nullptr ? "" : text;
}

// Not inlined, like log below: a hundred calls are smaller than a hundred tests for a service.
template <typename... Values>
[[gnu::noinline]] void logTo(const DEBUG_LOG_PROTOCOL *service, const char *tag, const wchar_t *format,
                             Values... values) {
  if (service != nullptr) service->Print(kLogLevel, tag, format, values...);
}

template <typename... Values>
[[gnu::noinline]] void log(const wchar_t *format, Values... values) {
  logTo(vyxSsibDebug, kLibraryTag, format, values...);
}

// For the lines of every entry that is added or handed out: here a test without a call is worth its room.
template <typename... Values>
inline void logOften(const wchar_t *format, Values... values) {
  if (vyxSsibDebug != nullptr) log(format, values...);
}

// For formats that announce a file name by "%s": they take a single-byte copy of it.
template <typename... Values>
void logNarrow(const DEBUG_LOG_PROTOCOL *service, const wchar_t *format, const wchar_t *name, Values... values) {
  if (service == nullptr) return;
  const HeapPtr<char> narrow(unicodeToAscii(name));
  logTo(service, kLibraryTag, format, orEmpty(narrow.get()), values...);
}

// The last line of an operation that brackets its work with "Entered" and "Exit".
inline EFI_STATUS logExit(const char *tag, EFI_STATUS status) {
  logTo(vyxSsibDebug, tag, L"Exit. %r", status);
  return status;
}

}  // namespace ssib
