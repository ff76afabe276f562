// SPDX-License-Identifier: MIT
// Any bytes as a task list: read as the literal reader reads them.
#include "support.h"
#include "support/literal_task_list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const fuzz::Run run;
  const std::string text = fuzz::Bytes(data, size).rest();
  test::platform().setFile(L"a.json", text);
  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const EFI_STATUS status = iOpenSSIB(&handle, L"a.json");
  fuzz::checkHandle(handle);
  fuzz::require(handle.openCount == 1, "a task list counts as open");
  if (text.empty()) return 0;
  const test::LiteralOutcome expected = test::literallyRead(text);
  fuzz::require(status == expected.status, "the status is the literal reader's");
  fuzz::require(fuzz::lengthOf(handle) == (EFI_ERROR(status) ? 0 : expected.jobs.size()), "so is the length");
  std::size_t number = 0;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    fuzz::require(test::literalJob(element->entry) == expected.jobs[number++], "and so is each job");
  }
  return 0;
}
