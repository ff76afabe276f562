// SPDX-License-Identifier: MIT
#include "host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "stop.h"
#include "VyxSSIBBackend.h"

#pragma weak vyxHostLockPartition
#pragma weak vyxHostPartitionPath
#pragma weak vyxHostStatusName
#pragma weak vyxHostTerminalText
#pragma weak vyxHostUnlockPartition
#pragma weak vyxHostWideText

namespace tool {
namespace {

struct Free {
  void operator()(void *block) const { std::free(block); }
};
template <class T>
using Block = std::unique_ptr<T, Free>;

std::string numberText(const char *format, unsigned value) {
  char text[16];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

bool isAscii(char byte) {
  return byte >= ' ' && byte <= '~';
}

std::string lockPath() {
  char *path = nullptr;
  const EFI_STATUS status = vyxHostPartitionPath(sVarskPartition, &path);
  const Block<char> owner(path);
  if (status == EFI_SUCCESS) return escaped(path) + "/" VYX_HOST_LOCK_NAME;
  return "none of VARSK_ROOT, XDG_STATE_HOME and HOME is set";
}

}  // namespace

std::string statusName(EFI_STATUS status) {
  const char *name = vyxHostStatusName != nullptr ? vyxHostStatusName(status) : nullptr;
  return name != nullptr ? name : numberText("0x%08X", status);
}

std::string escaped(const std::string &text) {
  if (vyxHostTerminalText != nullptr) {
    char *safe = nullptr;
    if (vyxHostTerminalText(text.c_str(), &safe) != EFI_SUCCESS) throw std::bad_alloc();
    return Block<char>(safe).get();
  }
  std::string out;
  for (const char byte : text) {
    out +=
        isAscii(byte) && byte != '\\' ? std::string(1, byte) : numberText("\\x%02X", static_cast<unsigned char>(byte));
  }
  return out;
}

std::wstring wideName(const std::string &given) {
  if (vyxHostWideText == nullptr) {
    if (std::ranges::all_of(given, isAscii)) return {given.begin(), given.end()};
    throw Stop(Exit::Usage, "--queue: " + escaped(given) + " is not ASCII, as names have to be on this platform");
  }
  wchar_t *wide = nullptr;
  const EFI_STATUS status = vyxHostWideText(given.c_str(), &wide);
  const Block<wchar_t> owner(wide);
  if (status == EFI_OUT_OF_RESOURCES) throw std::bad_alloc();
  if (status != EFI_SUCCESS) throw Stop(Exit::Usage, "--queue: " + escaped(given) + " is not UTF-8");
  return wide;
}

ChangeLock::ChangeLock() {
  if (vyxHostLockPartition == nullptr) {
    std::fputs("ssib: this platform has no lock; see to it that nobody else changes the queues\n", stderr);
    return;
  }
  const EFI_STATUS status = vyxHostLockPartition(sVarskPartition, VYX_HOST_FOREVER, &lock_);
  if (status != EFI_SUCCESS) refuse("lock the queues: " + lockPath(), status);
}

ChangeLock::~ChangeLock() {
  if (lock_ != nullptr) vyxHostUnlockPartition(lock_);
}

}  // namespace tool
