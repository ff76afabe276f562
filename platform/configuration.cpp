// SPDX-License-Identifier: MIT
// The configuration service: integer attributes in one file, an object that maps each name to [kind, value]. The file
// may be changed by others between two calls; what was read is used again only while the file is the same.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "paths.h"
#include "PlatformServices.h"
#include "replacement.h"

namespace vyx::platform {
namespace {

using nlohmann::json;

constexpr const char *kFileName = "attributes.json";

// Tells a file from every other one and from its own earlier contents, without reading it.
struct Identity {
  dev_t device = 0;
  ino_t inode = 0;  // 0: no file
  off_t size = 0;
  timespec modified = {};

  bool operator==(const Identity &other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
  }
};

Identity identityOf(const struct stat &info) {
  return {info.st_dev, info.st_ino, info.st_size, info.st_mtim};
}

struct Attributes {
  std::string path;  // empty: nothing was read yet
  Identity identity;
  json values = json::object();
};
Attributes cache;

// False for whatever is no regular file, but not for no file at all.
bool identify(const Path &path, Identity &identity) {
  struct stat info {};
  if (lstat(path.text, &info) != 0) return errno == ENOENT;
  identity = identityOf(info);
  return S_ISREG(info.st_mode);
}

bool refresh(const Path &path) {
  Identity identity;
  if (!identify(path, identity)) return false;
  if (cache.path == path.text && cache.identity == identity) return true;
  json values = json::object();
  if (identity.inode != 0) values = json::parse(std::ifstream(path.text, std::ios::binary));
  if (!values.is_object()) return false;
  cache = {path.text, identity, std::move(values)};
  return true;
}

bool writeAll(int descriptor, const std::string &text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return true;
}

bool store(const Path &directory, const Path &path, json values) {
  const std::string text = values.dump(2) + '\n';
  FileReplacement replacement;
  struct stat info {};
  if (replacement.begin(directory, path) != EFI_SUCCESS) return false;
  if (!writeAll(replacement.descriptor(), text)) return false;
  if (fstat(replacement.descriptor(), &info) != 0) return false;
  if (replacement.commit() != EFI_SUCCESS) return false;
  cache = {path.text, identityOf(info), std::move(values)};
  return true;
}

bool setAttribute(const char *name, int kind, int value) {
  Path directory, path;
  if (rootPath(directory) != EFI_SUCCESS || childPath(directory, kFileName, path) != EFI_SUCCESS) return false;
  if (!refresh(path)) return false;
  json wanted = json::array({kind, value});
  const auto found = cache.values.find(name);
  if (found != cache.values.end() && *found == wanted) return true;
  json values = cache.values;
  values[name] = std::move(wanted);
  return store(directory, path, std::move(values));
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// -1 when the attribute could not be set; a file that cannot be read or understood is left as it is.
int CfgSetAttributeInt(const char *name, int kind, int value) {
  if (name == nullptr || *name == '\0') return -1;
  try {
    return setAttribute(name, kind, value) ? 0 : -1;
  } catch (const std::exception &) {  // no memory, or a text that JSON does not know
    return -1;
  }
}

}  // extern "C"
