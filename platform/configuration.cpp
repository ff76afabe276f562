// SPDX-License-Identifier: MIT
// The configuration service: integer attributes in one file, an object that maps each name to [kind, value]. The file
// may be changed by others between two calls; what was read is used again only while the file is the same.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "replacement.h"
#include "utf8.h"

namespace vyx::platform {
namespace {

using nlohmann::json;

constexpr const char *kFileName = "attributes.json";
constexpr std::uint32_t kPatience = 10'000;  // milliseconds that another process may take to set an attribute
constexpr std::size_t kLargest = 1 << 20;    // bytes of a file that is read; an attribute takes about 50
constexpr int kDeepest = 16;                 // of what others have put into the file; a value of our own has depth 1

// Tells a file from every other one and from its own earlier contents, without reading it: device, inode, size and time
// of the last change.
using Identity = std::array<std::int64_t, 5>;

Identity identityOf(const struct stat &info) {
  return {static_cast<std::int64_t>(info.st_dev), static_cast<std::int64_t>(info.st_ino), info.st_size,
          info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

struct Attributes {
  std::string path;        // empty: nothing was read yet
  Identity identity = {};  // all 0 without a file
  json values;             // an object, or null where there is none: a library that is loaded allocates nothing
};
Attributes cache;

std::string readAll(const Descriptor &file) {
  std::string text;
  char block[4096];
  while (true) {
    const ssize_t count = untilDone([&] { return read(file.get(), block, sizeof(block)); });
    require(count >= 0, EFI_DEVICE_ERROR);
    if (count == 0) return text;
    text.append(block, static_cast<std::size_t>(count));
    require(text.size() <= kLargest, EFI_INVALID_PARAMETER);
  }
}

// Releasing a value takes stack for each level of it, so no deep one is ever built.
json parse(const std::string &text) {
  json values = json::parse(text, [](int depth, json::parse_event_t, const json &) {
    require(depth <= kDeepest, EFI_INVALID_PARAMETER);
    return true;
  });
  require(values.is_object(), EFI_INVALID_PARAMETER);
  return values;
}

void refresh(const std::string &path) {
  struct stat info {};
  if (lstat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) throw failureOf(errno);
    cache = {path, {}, json::object()};
    return;
  }
  if (cache.path == path && cache.identity == identityOf(info)) return;
  const Descriptor file = openRegular(AT_FDCWD, path.c_str(), O_RDONLY);
  const Identity identity = identityOf(statusOfFile(file));
  cache = {path, identity, parse(readAll(file))};
}

bool hasValue(const std::string &path, const char *name, const json &wanted) {
  refresh(path);
  const auto found = cache.values.find(name);
  return found != cache.values.end() && *found == wanted;
}

void store(const std::string &root, const std::string &path, json values) {
  Replacement replacement;
  replacement.begin(root, kFileName);
  require(replacement.write(values.dump(2) + '\n'), EFI_DEVICE_ERROR);
  const Identity identity = identityOf(replacement.status());
  replacement.commit();
  cache = {path, identity, std::move(values)};
}

// Without the lock, of two processes that set different attributes one could write back what it read before the other.
void setAttribute(const char *name, int kind, int value) {
  const json wanted = json::array({kind, value});
  const std::string root = rootPath(), path = root + '/' + kFileName;
  if (hasValue(path, name, wanted)) return;
  const Lock lock(root, kPatience);
  if (hasValue(path, name, wanted)) return;
  json values = cache.values;
  values[name] = wanted;
  store(root, path, std::move(values));
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// -1 when the attribute could not be set; a file that cannot be read or understood is left as it is.
int CfgSetAttributeInt(const char *name, int kind, int value) {
  if (name == nullptr || *name == '\0' || !isUtf8(name)) return -1;
  return statusOf([&] { setAttribute(name, kind, value); }) == EFI_SUCCESS ? 0 : -1;
}

}  // extern "C"
