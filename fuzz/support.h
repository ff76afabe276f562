// SPDX-License-Identifier: MIT
// What the fuzz targets share: the library on a platform in memory, and the tool's strict reading beside it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "strict_reader.h"
#include "support/platform.h"

namespace fuzz {

// Ends the process when something that must hold does not; the fuzzer keeps the input.
inline void require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// The library, started on a new platform whose file of that form holds the input. At the end no stream may be open and
// no block left.
class Run {
 public:
  Run(tool::Form form, const std::uint8_t *data, std::size_t size);
  Run(const Run &) = delete;
  ~Run();

  // Opens the file, and checks what holds of the handle whatever comes of that.
  EFI_STATUS open();
  // What the strict reading calls sound, the library has read so; what it calls damaged, otherwise or not at all.
  void compare(EFI_STATUS opened) const;
  // Writes what the strict reading calls whole, with the queue closed: the file gives it back.
  void salvage();

  std::string *file;  // as it is now

 private:
  tool::Form form_;
  std::wstring name_;
  std::size_t live_ = 0;  // blocks on the heap before
  tool::StrictReading strict_;
};

}  // namespace fuzz
