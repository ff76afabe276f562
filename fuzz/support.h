// SPDX-License-Identifier: MIT
// What the fuzz targets share: the library on a platform in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/platform.h"

namespace fuzz {

// Ends the process when something that must hold does not; the fuzzer keeps the input.
void require(bool holds, const char *what);

// The library, started on a new platform whose file of that name holds the input. At the end no stream may be open and no
// block left.
class Run {
 public:
  Run(const char *name, const std::uint8_t *data, std::size_t size);
  ~Run();
  Run(const Run &) = delete;
  Run &operator=(const Run &) = delete;

  std::string &file;  // as it is now
  // Opens the file, and checks what holds of the handle whatever comes of that.
  EFI_STATUS open();

 private:
  std::wstring name_;
  std::size_t live_;
};

std::size_t lengthOf(const SSIB_ENTRY_LIST *first);

}  // namespace fuzz
