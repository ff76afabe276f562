// SPDX-License-Identifier: MIT
// Folding a sub-queue into the main queue of its form, on two private handles.
#include <cstdlib>
#include <memory>

#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"

namespace ssib {
namespace {

constexpr char kTag[] = "iMergeToMain";

void say(const wchar_t *line) {
  logTo(vyxSsibDebug, kTag, line);
}

// An open that failed may have left a file name; a closed handle has none.
struct ClearHandle {
  void operator()(SSIB2_PRIVATE_DATA *handle) const {
    std::free(handle->ssibFileName);
    Protocol2Destructor(handle);
  }
};

// A handle of the merge's own, cleared with the scope.
using PrivateHandle = std::unique_ptr<SSIB2_PRIVATE_DATA, ClearHandle>;

struct MainQueue {
  const wchar_t *name;
  const wchar_t *line;
};

constexpr MainQueue kXmlQueue = {SSIB_MAIN_QUEUE, L"Merging to Main.ssib"};
constexpr MainQueue kTaskList = {SSIB_MAIN_TASK_LIST, L"Merging to smajob.json"};

EFI_STATUS construct(SSIB2_PRIVATE_DATA &handle, const wchar_t *failed) {
  const EFI_STATUS status = Protocol2Constructor(&handle);
  if (EFI_ERROR(status)) say(failed);
  return status;
}

EFI_STATUS openBoth(SSIB2_PRIVATE_DATA &mainHandle, SSIB2_PRIVATE_DATA &subHandle, const wchar_t *subQueueName) {
  EFI_STATUS status = iOpenSSIB(&subHandle, subQueueName);
  if (EFI_ERROR(status)) {
    say(L"Error opening SSIB");
    return status;
  }
  const MainQueue &mainQueue = subHandle.mode == SSIB_MODE_BIOS_SMA ? kTaskList : kXmlQueue;
  say(mainQueue.line);
  status = iOpenSSIB(&mainHandle, mainQueue.name);
  if (EFI_ERROR(status)) {
    say(L"Error opening main SSIB");
    iCloseSSIB(&subHandle);
  }
  return status;
}

void moveEntries(SSIB2_PRIVATE_DATA &from, SSIB2_PRIVATE_DATA &to) {
  SSIB_LINK *end = &to.ssibEntryListHead;
  while (*end != nullptr) end = &(*end)->next;
  *end = from.ssibEntryListHead;
  from.ssibEntryListHead = nullptr;
}

EFI_STATUS mergeFiles(const wchar_t *subQueueName, bool deleteSubQueue) {
  SSIB2_PRIVATE_DATA mainHandle = {};
  const PrivateHandle mainOwner(&mainHandle);
  EFI_STATUS status = construct(mainHandle, L"Error constructing main protocol");
  if (EFI_ERROR(status)) return status;
  SSIB2_PRIVATE_DATA subHandle = {};
  const PrivateHandle subOwner(&subHandle);
  status = construct(subHandle, L"Error constructing sub protocol");
  if (EFI_ERROR(status)) return status;
  status = openBoth(mainHandle, subHandle, subQueueName);
  if (EFI_ERROR(status)) return status;

  moveEntries(subHandle, mainHandle);
  iCloseSSIB(&subHandle);
  if (deleteSubQueue) deleteFile(subQueueName);
  iCloseSSIB(&mainHandle);
  return EFI_SUCCESS;
}

EFI_STATUS merge(const SSIB2_PRIVATE_DATA *handle, const wchar_t *subQueueName, bool deleteSubQueue) {
  say(L"Entered");
  if (handle == nullptr || subQueueName == nullptr) return logExit(kTag, EFI_INVALID_PARAMETER);
  if (!file_exists(subQueueName).opened) {
    say(L"Could not locate SSIB list");
    return logExit(kTag, EFI_NOT_FOUND);
  }
  const EFI_STATUS status = mergeFiles(subQueueName, deleteSubQueue);
  return EFI_ERROR(status) ? logExit(kTag, status) : EFI_SUCCESS;
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iMergeToMain(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *subQueueName, uint32_t deleteSubQueue) {
  return ssib::merge(SSIB2, subQueueName, deleteSubQueue != 0);
}

}  // extern "C"
