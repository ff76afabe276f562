// SPDX-License-Identifier: MIT
// Where the stand-in keeps things. Wide names become UTF-8 file names whatever the process's locale.
#include "paths.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "utf8.h"

namespace vyx::platform {
namespace {

using FileName = char[NAME_MAX + 1];

bool toFileName(const wchar_t *wide, FileName &name) {
  std::size_t length = 0;
  for (; *wide != L'\0'; ++wide) {
    char bytes[4];
    const std::size_t count = encodeUtf8(static_cast<std::uint32_t>(*wide), bytes);
    if (count == 0 || *wide == L'/' || length + count > NAME_MAX) return false;
    std::memcpy(name + length, bytes, count);
    length += count;
  }
  name[length] = '\0';
  return length > 0 && name[0] != '.';
}

EFI_STATUS print(Path &path, const char *first, const char *between, const char *last) {
  const int length = std::snprintf(path.text, sizeof(path.text), "%s%s%s", first, between, last);
  return length > 0 && static_cast<std::size_t>(length) < sizeof(path.text) ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

const char *setting(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

}  // namespace

EFI_STATUS rootPath(Path &path) {
  if (const char *root = setting("VARSK_ROOT")) return print(path, root, "", "");
  if (const char *state = setting("XDG_STATE_HOME")) return print(path, state, "", "/varsk");
  if (const char *home = setting("HOME")) return print(path, home, "/.local/state", "/varsk");
  return EFI_DEVICE_ERROR;
}

EFI_STATUS childPath(const Path &directory, const char *name, Path &path) {
  return print(path, directory.text, "/", name);
}

EFI_STATUS queuePath(const wchar_t *partition, const wchar_t *fileName, Path &directory, Path &path) {
  FileName partitionName, name;
  if (!toFileName(partition, partitionName) || !toFileName(fileName, name)) return EFI_ACCESS_DENIED;
  Path root;
  if (const EFI_STATUS status = rootPath(root); status != EFI_SUCCESS) return status;
  if (const EFI_STATUS status = childPath(root, partitionName, directory); status != EFI_SUCCESS) return status;
  return childPath(directory, name, path);
}

EFI_STATUS statusOfErrno(int error) {
  switch (error) {
    case ENOENT:
      return EFI_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case ELOOP:
      return EFI_ACCESS_DENIED;
    default:
      return EFI_DEVICE_ERROR;
  }
}

}  // namespace vyx::platform
