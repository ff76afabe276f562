// SPDX-License-Identifier: MIT
// Any bytes as an XML queue file: refused without a trace, or read into a list that can be written and read again.
#include "support.h"

static std::size_t lengthOf(const SSIB_ENTRY_LIST *first) {
  std::size_t length = 0;
  for (; first != nullptr; first = first->next) ++length;
  return length;
}

// Each writing takes a quote from the front of a command line, and what stands at its end.
static bool hasQuote(const SSIB_ENTRY_LIST *first) {
  for (; first != nullptr; first = first->next) {
    if (first->entry.Cmd_Line != nullptr && *first->entry.Cmd_Line == '"') return true;
  }
  return false;
}

static void writeAndReadAgain(fuzz::Run &run) {
  const SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const std::size_t length = lengthOf(handle.ssibEntryListHead);
  fuzz::require(iCloseSSIB(&gSSSIB2pvt) == EFI_SUCCESS, "what was read can be written");
  const std::string written = *run.file;
  fuzz::require(run.open() == EFI_SUCCESS, "what was written can be read");
  fuzz::require(lengthOf(handle.ssibEntryListHead) == length, "no entry is lost");
  const bool changes = hasQuote(handle.ssibEntryListHead);
  iCloseSSIB(&gSSSIB2pvt);
  fuzz::require(changes || *run.file == written, "the second writing is like the first");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz::Run run(tool::Form::Xml, data, size);
  const EFI_STATUS status = run.open();
  run.compare(status);
  if (EFI_ERROR(status)) {
    fuzz::require(gSSSIB2pvt.openCount == 0, "a refused file is not open");
  } else {
    writeAndReadAgain(run);
  }
  run.salvage();
  return 0;
}
