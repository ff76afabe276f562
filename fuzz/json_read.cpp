// SPDX-License-Identifier: MIT
// Any bytes as a task list: read, and written back, as the literal version does it.
#include "support.h"
#include "support/literal_task_list.h"

static void compareWithLiteral(const std::string &text, EFI_STATUS status, const std::string &file) {
  const auto [expected, jobs] = test::literallyRead(text);
  fuzz::require(status == expected, "the status is the literal reader's");
  if (EFI_ERROR(status)) return;
  fuzz::require(test::literalList(gSSSIB2pvt.ssibEntryListHead) == jobs, "and so is the list");
  const EFI_STATUS written = iCloseSSIB(&gSSSIB2pvt);
  fuzz::require(written == (jobs.empty() ? EFI_INVALID_PARAMETER : EFI_SUCCESS), "a list without jobs is not written");
  fuzz::require(file == (jobs.empty() ? text : test::literallyWrite(jobs)), "the file is the literal writer's");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz::Run run(tool::Form::TaskList, data, size);
  const std::string text = *run.file;
  const EFI_STATUS status = run.open();
  fuzz::require(gSSSIB2pvt.openCount == 1, "a task list counts as open");
  run.compare(status);
  if (!text.empty()) compareWithLiteral(text, status, *run.file);
  iCloseSSIB(&gSSSIB2pvt);
  run.salvage();
  return 0;
}
