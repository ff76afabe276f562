// SPDX-License-Identifier: MIT
// The configuration service: integer attributes in one file, an object that maps each name to [kind, value]. The file
// may be changed by others between two calls; what was read is used again only while the file is the same.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
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

// Tells a file from every other one, and from what it was before, without reading it.
struct Identity {
  dev_t device;
  ino_t inode;
  nlink_t names;  // whoever replaces or removes a file takes one from it
  off_t size;
  std::array<std::int64_t, 4> times;  // of the last change of its contents, and of anything else
  bool operator==(const Identity &) const = default;
};

Identity identityOf(const struct stat &info) {
  return {info.st_dev,
          info.st_ino,
          info.st_nlink,
          info.st_size,
          {info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_ctim.tv_sec, info.st_ctim.tv_nsec}};
}

// The file stays open after it was read: a look at it then takes no walk along its path, which is most of what the look
// would cost. Where the path leads is looked at once after each visit to a partition: directories are moved rarely.
struct Attributes {  // NOLINT(bugprone-exception-escape): a null value allocates nothing
  std::string root;
  unsigned visits = 0;
  Descriptor file;  // none: nothing was read yet, or there was no file
  Identity identity = {};
  json values;  // an object, or null where there is none
};

// Never destroyed: it would close a descriptor that may be the host's by then. Not on the heap: a library that is
// loaded allocates nothing.
alignas(Attributes) std::byte place[sizeof(Attributes)];
Attributes &cache = *new (place) Attributes;

std::optional<Identity> identityOfOpenFile() {
  struct stat info {};
  if (fstat(cache.file.get(), &info) != 0) return std::nullopt;
  return identityOf(info);
}

// A rename takes the name of the file that it replaces before the path leads elsewhere: what was found at the path, but
// without a name, is not the file any more.
bool isCurrent(const std::string &root) {
  if (cache.root != root || cache.identity.names == 0 || identityOfOpenFile() != cache.identity) return false;
  if (cache.visits == partitionVisits()) return true;
  struct stat info {};
  cache.visits = partitionVisits();
  return lstat((root + '/' + kFileName).c_str(), &info) == 0 && identityOf(info) == cache.identity;
}

// A host may have closed all that was open, as daemons do: then the number is nobody's, or another file's.
void forget() {
  const auto identity = identityOfOpenFile();
  const bool isOurs = identity && identity->device == cache.identity.device && identity->inode == cache.identity.inode;
  if (!isOurs) cache.file.release();
  cache = {};
}

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

// The identity is what is found at the path after the open: a file that was replaced meanwhile is never taken for it.
void refresh(const std::string &root) {
  if (isCurrent(root)) return;
  forget();
  const std::string path = root + '/' + kFileName;
  struct stat info {};
  if (lstat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) throw failureOf(errno);
    return;
  }
  Descriptor file = openRegular(AT_FDCWD, path.c_str(), O_RDONLY);
  const Identity identity = identityOf(statusAt(AT_FDCWD, path.c_str()));
  json values = parse(readAll(file));
  cache = {root, partitionVisits(), std::move(file), identity, std::move(values)};
}

bool hasValue(const char *name, int kind, int value) {
  const auto found = cache.values.find(name);
  return found != cache.values.end() && found->is_array() && found->size() == 2 && (*found)[0] == kind &&
         (*found)[1] == value;
}

void store(const std::string &root, const json &values) {
  Replacement replacement;
  replacement.begin(root, kFileName);
  require(replacement.write(values.dump(2) + '\n'), EFI_DEVICE_ERROR);
  replacement.commit();
}

// Without the lock, of two processes that set different attributes one could write back what it read before the other.
void setAttribute(const char *name, int kind, int value) {
  const std::string root = rootPath() + "/.";  // the root itself may be a symbolic link
  refresh(root);
  if (hasValue(name, kind, value)) return;
  require(isUtf8(name), EFI_INVALID_PARAMETER);
  const Lock lock(root, kPatience);
  refresh(root);
  if (hasValue(name, kind, value)) return;
  // A null that becomes an object without memory for it cannot be released.
  json values = cache.values.is_null() ? json::object() : cache.values;
  values[name] = json::array({kind, value});
  store(root, values);
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// -1 when the attribute could not be set; a file that cannot be read or understood is left as it is.
int CfgSetAttributeInt(const char *name, int kind, int value) {
  if (name == nullptr || *name == '\0') return -1;
  return statusOf([&] { setAttribute(name, kind, value); }) == EFI_SUCCESS ? 0 : -1;
}

}  // extern "C"
