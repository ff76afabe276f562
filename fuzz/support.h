// SPDX-License-Identifier: MIT
// What the fuzz targets share: the library on a platform in memory.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "support/heap.h"
#include "support/platform.h"

namespace fuzz {

// Ends the process when something that must hold does not; the fuzzer keeps the input.
inline void require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// The library, started on a new platform whose file of that name holds the input. At the end no stream may be open and
// no block left.
struct Run {
  Run(const std::string &name, const std::uint8_t *data, std::size_t size) : name_(test::wide(name)) {
    test::resetPlatform();
    live_ = test::heap::live();
    file = &test::platform().files["VAR025/" + name];
    file->assign(data, data + size);
    require(vyxSSIB2LinuxInitBackend() == EFI_SUCCESS, "the library starts");
  }
  Run(const Run &) = delete;
  ~Run() {
    iCloseSSIB(&gSSSIB2pvt);
    vyxSSIB2LinuxUnloadBackend();
    require(test::platform().openStreams == 0, "all streams are closed");
    require(test::heap::live() == live_, "all blocks are freed");
  }

  std::string *file;  // as it is now
  // Opens the file, and checks what holds of the handle whatever comes of that.
  EFI_STATUS open() {
    const SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
    const EFI_STATUS status = iOpenSSIB(&gSSSIB2pvt, name_.c_str());
    require(handle.ssibEntryListPtr == handle.ssibEntryListHead, "the cursor is on the first element");
    require((handle.openCount != 0) == (handle.ssibFileName != nullptr), "an open queue has a file name, no other has");
    require(handle.xmlRoot == nullptr, "no tree is left");
    return status;
  }

 private:
  std::wstring name_;
  std::size_t live_;
};

}  // namespace fuzz
