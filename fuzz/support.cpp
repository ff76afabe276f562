// SPDX-License-Identifier: MIT
#include "support.h"

#include <cstdio>
#include <cstdlib>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/list.h"

namespace fuzz {

void require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

Run::Run() {
  test::resetPlatform();
  live_ = test::heap::live();
  require(vyxSSIB2LinuxInitBackend() == EFI_SUCCESS, "the library starts");
}

Run::~Run() {
  closeHandle(gSSSIB2pvt);
  vyxSSIB2LinuxUnloadBackend();
  require(test::platform().openStreams == 0, "all streams are closed");
  require(test::heap::live() == live_, "all blocks are freed");
}

std::size_t lengthOf(const SSIB2_PRIVATE_DATA &handle) {
  std::size_t length = 0;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) ++length;
  return length;
}

void checkHandle(const SSIB2_PRIVATE_DATA &handle) {
  bool found = handle.ssibEntryListPtr == nullptr;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    found = found || element == handle.ssibEntryListPtr;
  }
  require(found, "the cursor is on an element of the list");
  require(handle.openCount == 0 || handle.ssibFileName != nullptr, "an open queue has a file name");
  require(handle.xmlRoot == nullptr, "no tree is left between calls");
  require(handle.mode <= SSIB_MODE_BIOS_SMA, "the mode is known");
}

void closeHandle(SSIB2_PRIVATE_DATA &handle) {
  while (handle.openCount != 0) iCloseSSIB(&handle);
  ssib::freeListOf(handle);
  std::free(handle.ssibFileName);
  handle.ssibFileName = nullptr;
}

std::string Bytes::text() {
  std::string text;
  for (std::uint8_t next = byte(); next != 0; next = byte()) text += static_cast<char>(next);
  return text;
}

std::string Bytes::text(std::size_t length) {
  std::string text;
  for (; length != 0 && !empty(); --length) text += static_cast<char>(byte());
  return text;
}

SSIB_ENTRY &Jobs::make(Bytes &bytes) {
  SSIB_ENTRY &entry = entries_.emplace_back(SSIB_ENTRY{});
  entry.mode = bytes.byte() & 1U;
  entry.Version = bytes.byte() * 0x01010101U;
  entry.Block_ID = static_cast<std::uint16_t>(bytes.byte() * 0x101U);
  entry.RB_Type = bytes.byte();
  entry.RB_Req = bytes.byte();
  entry.Timeout = bytes.byte() * 0x101U;
  entry.Rtn_Code = bytes.byte() * 0x01010101U;
  entry.RT_Count = static_cast<std::uint16_t>(bytes.byte() * 0x101U);
  std::uint32_t present = bytes.byte();
  present |= std::uint32_t{bytes.byte()} << 8U;
  for (const auto &field : ssib::kStrings) {
    if ((present & 1U) != 0) entry.*field.member = texts_.emplace_back(bytes.text()).data();
    present >>= 1U;
  }
  return entry;
}

std::vector<std::string> textsOf(const SSIB_ENTRY &entry) {
  std::vector<std::string> texts;
  for (const auto &field : ssib::kStrings) {
    const char *text = entry.*field.member;
    texts.emplace_back(text == nullptr ? "" : text);
  }
  return texts;
}

}  // namespace fuzz
