// SPDX-License-Identifier: MIT
#include "support.h"

#include <cstdio>
#include <cstdlib>

#include "support/heap.h"

namespace fuzz {

namespace {

std::string &newFile(const char *name) {
  test::resetPlatform();
  return test::platform().files[std::string("VAR025/") + name];
}

}  // namespace

void require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

Run::Run(const char *name, const std::uint8_t *data, std::size_t size)
    : file(newFile(name)), name_(test::wide(name)), live_(test::heap::live()) {
  file.assign(data, data + size);
  require(vyxSSIB2LinuxInitBackend() == EFI_SUCCESS, "the library starts");
}

Run::~Run() {
  iCloseSSIB(&gSSSIB2pvt);
  vyxSSIB2LinuxUnloadBackend();
  require(test::platform().openStreams == 0, "all streams are closed");
  require(test::heap::live() == live_, "all blocks are freed");
}

EFI_STATUS Run::open() {
  const SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const EFI_STATUS status = iOpenSSIB(&gSSSIB2pvt, name_.c_str());
  require(handle.ssibEntryListPtr == handle.ssibEntryListHead, "the cursor is on the first element");
  require((handle.openCount != 0) == (handle.ssibFileName != nullptr), "an open queue has a file name, no other has");
  require(handle.xmlRoot == nullptr, "no tree is left");
  return status;
}

std::size_t lengthOf(const SSIB_ENTRY_LIST *first) {
  std::size_t length = 0;
  for (; first != nullptr; first = first->next) ++length;
  return length;
}

}  // namespace fuzz
