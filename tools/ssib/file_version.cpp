// SPDX-License-Identifier: MIT
#include "file_version.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <tuple>

#include "queue.h"
#include "stop.h"

namespace tool {
namespace {

// Empty when the platform does not say where its files are.
std::string pathOf(const QueueName &name) {
  try {
    return directoryOf(name) + "/" + name.plain();
  } catch (const Stop &) {
    return "";
  }
}

}  // namespace

FileVersion::FileVersion(const QueueName &name) {
  const std::string path = pathOf(name);
  file_ = Descriptor(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (file_.get() < 0) {
    state_ = errno == ENOENT && !path.empty() ? State::Missing : State::Unknown;
    return;
  }
  struct stat status {};
  if (fstat(file_.get(), &status) != 0) return;
  state_ = State::There;
  device_ = status.st_dev;
  number_ = status.st_ino;
  size_ = static_cast<std::uint64_t>(status.st_size);
  written_ = status.st_mtim;
}

bool FileVersion::operator==(const FileVersion &other) const {
  if (state_ == State::Unknown || state_ != other.state_) return false;
  const auto all = [](const FileVersion &one) {
    return std::tuple(one.device_, one.number_, one.size_, one.written_.tv_sec, one.written_.tv_nsec);
  };
  return all(*this) == all(other);
}

}  // namespace tool
