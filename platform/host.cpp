// SPDX-License-Identifier: MIT
// What the stand-in offers to programs beside the library.
#include "HostPlatform.h"

#include <cstdlib>
#include <cstring>

#include "files.h"
#include "text.h"
#include "utf8.h"

using namespace vyx::platform;

struct VYX_HOST_LOCK : Lock {
  using Lock::Lock;
};

namespace {

template <class Char>
Char *onHeap(const std::basic_string<Char> &text) {
  const std::size_t size = (text.size() + 1) * sizeof(Char);
  void *copy = std::malloc(size);
  if (copy == nullptr) throw std::bad_alloc();
  return static_cast<Char *>(std::memcpy(copy, text.c_str(), size));
}

std::wstring wideOf(const char *text) {
  std::wstring wide;
  while (*text != '\0') {
    const Character character = decodeUtf8(text);
    require(character.length != 0, EFI_INVALID_PARAMETER);
    wide += static_cast<wchar_t>(character.value);
    text += character.length;
  }
  return wide;
}

// An exported function that makes one thing of one other.
template <class From, class To, class Make>
EFI_STATUS give(const From *from, To **to, Make make) {
  if (to != nullptr) *to = nullptr;
  if (from == nullptr || to == nullptr) return EFI_INVALID_PARAMETER;
  return statusOf([&] { *to = make(from); });
}

}  // namespace

extern "C" {

EFI_STATUS vyxHostPartitionPath(const wchar_t *partition, char **path) {
  return give(partition, path, [](const wchar_t *name) { return onHeap(partitionPath(name)); });
}

EFI_STATUS vyxHostLockPartition(const wchar_t *partition, uint32_t milliseconds, VYX_HOST_LOCK **lock) {
  const EFI_STATUS status =
      give(partition, lock, [&](const wchar_t *name) { return new VYX_HOST_LOCK(partitionPath(name), milliseconds); });
  return status == EFI_NOT_FOUND ? EFI_DEVICE_ERROR : status;
}

void vyxHostUnlockPartition(VYX_HOST_LOCK *lock) {
  delete lock;
}

const char *vyxHostStatusName(EFI_STATUS status) {
  return statusName(status);
}

EFI_STATUS vyxHostTerminalText(const char *text, char **safe) {
  return give(text, safe, [](const char *bytes) { return onHeap(safeText(bytes)); });
}

EFI_STATUS vyxHostWideText(const char *text, wchar_t **wide) {
  return give(text, wide, [](const char *bytes) { return onHeap(wideOf(bytes)); });
}

}  // extern "C"
