// SPDX-License-Identifier: MIT
// Any bytes as a task list: read, and written back, as the literal version does it.
#include "support.h"
#include "support/literal_task_list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz::Run run("a.json", data, size);
  const SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const std::string text = *run.file;
  const EFI_STATUS status = run.open();
  fuzz::require(handle.openCount == 1, "a task list counts as open");
  if (text.empty()) return 0;
  const auto [expected, jobs] = test::literallyRead(text);
  fuzz::require(status == expected, "the status is the literal reader's");
  if (EFI_ERROR(status)) return 0;
  fuzz::require(test::literalList(handle.ssibEntryListHead) == jobs, "and so is the list");
  const EFI_STATUS written = iCloseSSIB(&gSSSIB2pvt);
  fuzz::require(written == (jobs.empty() ? EFI_INVALID_PARAMETER : EFI_SUCCESS), "a list without jobs is not written");
  fuzz::require(*run.file == (jobs.empty() ? text : test::literallyWrite(jobs)), "the file is the literal writer's");
  return 0;
}
