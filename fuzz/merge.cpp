// SPDX-License-Identifier: MIT
// Any two images merged; the sub-queue's comes first in the input. No entry of an XML queue may get lost; a task list's
// values go out as they stand, so some do not read back.
#include "support.h"

namespace {

// How many entries a file has; -1 when it does not open.
int entriesOf(const wchar_t *name) {
  SSIB2_PRIVATE_DATA handle = {};
  Protocol2Constructor(&handle);
  const EFI_STATUS status = iOpenSSIB(&handle, name);
  const int count = EFI_ERROR(status) ? -1 : static_cast<int>(fuzz::lengthOf(handle));
  handle.openCount = 0;  // closing would write
  fuzz::closeHandle(handle);
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const fuzz::Run run;
  fuzz::Bytes bytes(data, size);
  const bool isTaskList = (bytes.byte() & 1U) != 0;
  const std::uint32_t deletes = bytes.byte() & 1U;
  const wchar_t *mainName = isTaskList ? L"BIOS_task_list.json" : L"Main.ssib";
  const wchar_t *subName = isTaskList ? L"sub.json" : L"sub.ssib";
  test::Platform &platform = test::platform();
  platform.setFile(subName, bytes.text());
  platform.setFile(mainName, bytes.rest());
  const std::string oldMain = platform.file(mainName);
  const int inSub = entriesOf(subName);
  const int inMain = entriesOf(mainName);
  const EFI_STATUS status = iMergeToMain(&gSSSIB2pvt, subName, deletes);
  fuzz::require(!EFI_ERROR(status) == (inSub >= 0 && inMain >= 0), "a merge fails only when an open does");
  if (EFI_ERROR(status)) {
    fuzz::require(platform.file(mainName) == oldMain, "a failed merge leaves the main file");
    if (inSub >= 0 && !isTaskList) fuzz::require(entriesOf(subName) == inSub, "and the sub-queue's entries");
    return 0;
  }
  fuzz::require((platform.file(subName) == "<none>") == (deletes != 0), "the sub-queue is deleted when asked for");
  if (!isTaskList) fuzz::require(entriesOf(mainName) == inMain + inSub, "all entries are in the main file");
  return 0;
}
