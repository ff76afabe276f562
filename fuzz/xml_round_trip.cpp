// SPDX-License-Identifier: MIT
// Any entries in an XML queue: refused with the file untouched, or read back with the same fields.
#include "support.h"

#include "ssib_if2_backend/entry.h"

namespace {

struct Kept {
  SSIB_ENTRY entry;
  std::uint32_t mask;
};

// A command line in double quotes is stored without its first and last character.
std::string storedCommand(const std::string &command) {
  if (command.empty() || command[0] != '"') return command;
  return command.size() < 2 ? "" : command.substr(1, command.size() - 2);
}

void checkEntry(const Kept &kept, const SSIB_ENTRY_LIST &read) {
  const SSIB_ENTRY &entry = read.entry;
  const auto agrees = [&](std::uint32_t bit, std::uint32_t value, std::uint32_t original) {
    return value == ((kept.mask & bit) == 0 ? 0 : original);
  };
  fuzz::require(read.fieldMask == (kept.mask & 0x3FU), "the field mask is read back");
  fuzz::require(entry.Version == kept.entry.Version && entry.Block_ID == kept.entry.Block_ID, "numbers are read back");
  fuzz::require(agrees(SSIB_FIELD_RB_TYPE, entry.RB_Type, kept.entry.RB_Type), "RB_Type is read back");
  fuzz::require(agrees(SSIB_FIELD_RB_REQ, entry.RB_Req, kept.entry.RB_Req), "RB_Req is read back");
  fuzz::require(agrees(SSIB_FIELD_TIMEOUT, entry.Timeout, kept.entry.Timeout), "Timeout is read back");
  fuzz::require(agrees(SSIB_FIELD_RTN_CODE, entry.Rtn_Code, kept.entry.Rtn_Code), "Rtn_Code is read back");
  fuzz::require(agrees(SSIB_FIELD_RT_COUNT, entry.RT_Count, kept.entry.RT_Count), "RT_Count is read back");
  std::vector<std::string> expected = fuzz::textsOf(kept.entry);
  if ((kept.mask & SSIB_FIELD_JOB_ID) == 0) expected[0].clear();
  expected[1] = storedCommand(expected[1]);
  expected.resize(4);
  expected.resize(std::size(ssib::kStrings));
  fuzz::require(fuzz::textsOf(entry) == expected, "texts are read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const fuzz::Run run;
  fuzz::Bytes bytes(data, size);
  fuzz::Jobs jobs;
  std::vector<Kept> kept;
  test::platform().setFile(L"Main.ssib", "<SSIB_INFO/>");
  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  fuzz::require(iOpenSSIB(&handle, L"Main.ssib") == EFI_SUCCESS, "an empty queue opens");
  while (!bytes.empty()) {
    const std::uint32_t mask = bytes.byte();
    SSIB_ENTRY *entry = &jobs.make(bytes);
    fuzz::require(iAddToSSIBQueue(&handle, 1, &entry, mask, SSIB_ADD_APPEND_LO) == EFI_SUCCESS, "adding");
    kept.push_back({*entry, mask});
  }
  if (iCloseSSIB(&handle) != EFI_SUCCESS) {
    fuzz::require(test::platform().file(L"Main.ssib") == "<SSIB_INFO/>", "a refused flush leaves the file");
    return 0;
  }
  fuzz::require(iOpenSSIB(&handle, L"Main.ssib") == EFI_SUCCESS, "what was written can be read");
  fuzz::require(fuzz::lengthOf(handle) == kept.size(), "no entry is lost");
  const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead;
  for (const Kept &job : kept) {
    checkEntry(job, *element);
    element = element->next;
  }
  return 0;
}
