// SPDX-License-Identifier: MIT
#include "host.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>

#include "stop.h"
#include "VyxSSIBBackend.h"

#pragma weak vyxHostPartitionPath
#pragma weak vyxHostStatusName
#pragma weak vyxHostTerminalText
#pragma weak vyxHostWideText
#pragma weak vyxHostWriteStatus

namespace tool {
namespace {

std::string numberText(const char *format, unsigned value) {
  char text[16];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

bool isPrintable(char byte) {
  return byte >= ' ' && byte <= '~';
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
    out += isPrintable(byte) && byte != '\\' ? std::string(1, byte)
                                             : numberText("\\x%02X", static_cast<unsigned char>(byte));
  }
  return out;
}

std::wstring wideName(const std::string &given) {
  if (vyxHostWideText == nullptr) {
    if (std::ranges::all_of(given, isPrintable)) return {given.begin(), given.end()};
    throw Stop(Exit::Usage,
               "--queue: " + escaped(given) + " is not printable ASCII, as names have to be on this platform");
  }
  wchar_t *wide = nullptr;
  const EFI_STATUS status = vyxHostWideText(given.c_str(), &wide);
  const Block<wchar_t> owner(wide);
  if (status == EFI_OUT_OF_RESOURCES) throw std::bad_alloc();
  if (status != EFI_SUCCESS) throw Stop(Exit::Usage, "--queue: " + escaped(given) + " is not UTF-8");
  return wide;
}

std::string hostPartition() {
  if (vyxHostPartitionPath == nullptr) throw Stop(Exit::Refused, "this platform does not say where its files are");
  char *path = nullptr;
  require(vyxHostPartitionPath(sVarskPartition, &path), "find the partition");
  return Block<char>(path).get();
}

std::string partitionPath(const std::string &below) {
  char *path = nullptr;
  if (vyxHostPartitionPath == nullptr) return "this platform";
  const EFI_STATUS status = vyxHostPartitionPath(sVarskPartition, &path);
  const Block<char> owner(path);
  if (status == EFI_DEVICE_ERROR) return "none of VARSK_ROOT, XDG_STATE_HOME and HOME is set";
  require(status, "find the partition");
  return escaped(path) + below;
}

EFI_STATUS writeStatus() {
  return vyxHostWriteStatus != nullptr ? vyxHostWriteStatus() : EFI_SUCCESS;
}

std::vector<HostFile> partitionFiles() {
  const std::string path = hostPartition();
  std::vector<HostFile> files;
  std::error_code error;
  std::filesystem::directory_iterator directory(path, error);
  if (error == std::errc::no_such_file_or_directory) return files;
  for (; !error && directory != std::filesystem::directory_iterator(); directory.increment(error)) {
    const std::filesystem::directory_entry &entry = *directory;
    const std::string name = entry.path().filename();
    std::error_code gone;  // by another process, in the meantime
    if (name.front() == '.' || name.ends_with(kPutAside)) continue;
    if (!entry.is_regular_file(gone) || entry.is_symlink(gone)) continue;
    const std::uintmax_t bytes = entry.file_size(gone);
    if (!gone) files.push_back({name, bytes});
  }
  if (error) throw Stop(Exit::Refused, "cannot list " + escaped(path) + ": " + error.message());
  std::ranges::sort(files, {}, &HostFile::name);
  return files;
}

}  // namespace tool
