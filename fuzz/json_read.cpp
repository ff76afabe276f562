// SPDX-License-Identifier: MIT
// Any bytes as a task list: read, and written back, as the literal version does it.
#include "support.h"
#include "support/literal_task_list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz::Run run("a.json", data, size);
  const SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const std::string text = run.file;
  const EFI_STATUS status = run.open();
  fuzz::require(handle.openCount == 1, "a task list counts as open");
  if (text.empty()) return 0;
  const test::LiteralOutcome read = test::literallyRead(text);
  fuzz::require(status == read.status, "the status is the literal reader's");
  if (EFI_ERROR(status)) return 0;
  fuzz::require(test::literalJobs(handle.ssibEntryListHead) == read.jobs, "and so is the list");
  const test::LiteralOutcome written = test::literallyWrite(read.jobs, "a.json");
  fuzz::require(iCloseSSIB(&gSSSIB2pvt) == written.status, "the status is the literal writer's");
  fuzz::require(run.file == (EFI_ERROR(written.status) ? text : written.bytes), "and so is the file");
  return 0;
}
