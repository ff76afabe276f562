// SPDX-License-Identifier: MIT
#include "lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "environment.h"
#include "stop.h"
#include "text.h"
#include "VyxSSIBBackend.h"

namespace ssib {
namespace {

[[noreturn]] void cannotLock(const std::string &what) {
  throw Stop(Exit::Refused, "cannot lock the queues: " + what);
}

[[noreturn]] void cannotLockFor(const std::string &path, int error) {
  cannotLock(escaped(path) + ": " + std::strerror(error));
}

// The directory above the partitions, where the platform keeps them.
std::string root() {
  if (const char *own = setting("VARSK_ROOT")) return own;
  if (const char *state = setting("XDG_STATE_HOME")) return std::string(state) + "/varsk";
  if (const char *home = setting("HOME")) return std::string(home) + "/.local/state/varsk";
  cannotLock("none of VARSK_ROOT, XDG_STATE_HOME and HOME is set");
}

std::string partitionDirectory() {
  std::string path = root() + "/";
  for (const wchar_t *ch = sVarskPartition; *ch != L'\0'; ++ch) path += static_cast<char>(*ch);
  return path;
}

void syncDirectory(const std::string &path) {
  const char *sync = setting("VARSK_SYNC");
  if (sync != nullptr && std::strcmp(sync, "0") == 0) return;
  const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0 || fsync(directory) != 0) cannotLockFor(path, errno);
  close(directory);
}

// What is made here has to last like the queue that is to come into it: each new directory is an entry of its parent.
void createDirectories(const std::string &path) {
  std::string parent = path.front() == '/' ? "/" : ".";
  for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    const std::string ancestor = path.substr(0, end);
    const bool isNew = mkdir(ancestor.c_str(), 0700) == 0;
    if (!isNew && errno != EEXIST) cannotLockFor(ancestor, errno);
    if (isNew) syncDirectory(parent);
    if (end == std::string::npos) return;
    parent = ancestor;
  }
}

}  // namespace

ChangeLock::ChangeLock() {
  const std::string directory = partitionDirectory();
  const std::string path = directory + "/.lock";
  createDirectories(directory);
  file_ = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file_ < 0) cannotLockFor(path, errno);
  while (flock(file_, LOCK_EX) != 0) {
    if (errno != EINTR) cannotLockFor(path, errno);
  }
}

ChangeLock::~ChangeLock() {
  close(file_);
}

}  // namespace ssib
