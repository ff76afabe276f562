// SPDX-License-Identifier: MIT
// Folding a sub-queue into the main queue of its form, on two private handles.
#include <cstdlib>

#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"

using namespace ssib;

namespace {

constexpr char kTag[] = "iMergeToMain";

void say(const wchar_t *line) {
  logTo(vyxSsibDebug, kTag, line);
}

// A handle of the merge's own. An open that failed may have left it a file name; a closed handle has none.
class PrivateHandle {
 public:
  ~PrivateHandle() {
    std::free(handle_.ssibFileName);
    Protocol2Destructor(&handle_);
  }
  PrivateHandle() = default;
  PrivateHandle(const PrivateHandle &) = delete;
  PrivateHandle &operator=(const PrivateHandle &) = delete;

  SSIB2_PRIVATE_DATA *get() { return &handle_; }
  SSIB2_PRIVATE_DATA *operator->() { return &handle_; }

 private:
  SSIB2_PRIVATE_DATA handle_ = {};
};

// On failure says so and returns the status.
EFI_STATUS construct(PrivateHandle &handle, const wchar_t *failed) {
  const EFI_STATUS status = Protocol2Constructor(handle.get());
  if (EFI_ERROR(status)) say(failed);
  return status;
}

const wchar_t *chooseMain(std::uint8_t mode) {
  const bool isTaskList = mode == SSIB_MODE_BIOS_SMA;
  say(isTaskList ? L"Merging to smajob.json" : L"Merging to Main.ssib");
  return isTaskList ? SSIB_MAIN_TASK_LIST : SSIB_MAIN_QUEUE;
}

void moveEntries(SSIB2_PRIVATE_DATA &from, SSIB2_PRIVATE_DATA &to) {
  SSIB_LINK *end = &to.ssibEntryListHead;
  while (*end != nullptr) end = &(*end)->next;
  *end = from.ssibEntryListHead;
  from.ssibEntryListHead = nullptr;
}

EFI_STATUS openBoth(PrivateHandle &mainQueue, PrivateHandle &subQueue, const wchar_t *subQueueName) {
  EFI_STATUS status = iOpenSSIB(subQueue.get(), subQueueName);
  if (EFI_ERROR(status)) {
    say(L"Error opening SSIB");
    return status;
  }
  status = iOpenSSIB(mainQueue.get(), chooseMain(subQueue->mode));
  if (EFI_ERROR(status)) {
    say(L"Error opening main SSIB");
    iCloseSSIB(subQueue.get());
  }
  return status;
}

EFI_STATUS merge(const wchar_t *subQueueName, bool deleteSubQueue) {
  PrivateHandle mainQueue;
  EFI_STATUS status = construct(mainQueue, L"Error constructing main protocol");
  if (EFI_ERROR(status)) return status;
  PrivateHandle subQueue;
  status = construct(subQueue, L"Error constructing sub protocol");
  if (EFI_ERROR(status)) return status;
  status = openBoth(mainQueue, subQueue, subQueueName);
  if (EFI_ERROR(status)) return status;

  moveEntries(*subQueue.get(), *mainQueue.get());
  iCloseSSIB(subQueue.get());
  if (deleteSubQueue) deleteFile(subQueueName);
  iCloseSSIB(mainQueue.get());
  return EFI_SUCCESS;
}

}  // namespace

extern "C" EFI_STATUS iMergeToMain(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *subQueueName, uint32_t deleteSubQueue) {
  say(L"Entered");
  if (SSIB2 == nullptr || subQueueName == nullptr) return logExit(kTag, EFI_INVALID_PARAMETER);
  std::uint32_t size = 0;
  EFI_STATUS probed = EFI_SUCCESS;
  if (!file_exists(subQueueName, &size, &probed)) {
    say(L"Could not locate SSIB list");
    return logExit(kTag, EFI_NOT_FOUND);
  }
  const EFI_STATUS status = merge(subQueueName, deleteSubQueue != 0);
  return EFI_ERROR(status) ? logExit(kTag, status) : status;
}
