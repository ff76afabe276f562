// SPDX-License-Identifier: MIT
#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "descriptor.h"
#include "host.h"
#include "stop.h"

namespace tool {
namespace {

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

Stop failure(const char *action, const std::string &path, const char *why = std::strerror(errno)) {
  return {Exit::Refused, std::string("cannot ") + action + " " + escaped(path) + ": " + why};
}

[[noreturn]] void fail(const char *action, const std::string &path, const char *why = std::strerror(errno)) {
  throw failure(action, path, why);
}

std::string directoryOfPath(const std::string &path) {
  return path.substr(0, path.rfind('/') + 1) + ".";
}

// As the stand-in does for its own files: EINVAL means that nothing is kept back that could be lost.
bool sync(int descriptor) {
  const char *setting = std::getenv("VARSK_SYNC");
  if (setting != nullptr && std::string_view(setting) == "0") return true;
  return fsync(descriptor) == 0 || errno == EINVAL;
}

// After a change of a name in it. A directory that may be written but not read has to do without.
void syncDirectoryOf(const std::string &path) {
  const Descriptor directory(open(directoryOfPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.get() < 0 ? errno == EACCES : sync(directory.get())) return;
  throw Unconfirmed(failure("write", path));
}

// The new file beside the old one, which is gone again unless it has taken its place.
class Replacement {
 public:
  explicit Replacement(const std::string &path)
      : target_(path),
        temporary_(path.substr(0, path.rfind('/') + 1) + ".ssib-XXXXXX"),
        file_(mkostemp(temporary_.data(), O_CLOEXEC)) {
    if (file_.get() < 0) fail("write beside", path);
  }
  ~Replacement() {
    if (!temporary_.empty()) unlink(temporary_.c_str());
  }
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;

  // A group that the file cannot be given does not get the rights of the one that had them.
  void setOwnerAndMode(const struct stat &old) const {
    const int file = file_.get();
    constexpr uid_t kSame = static_cast<uid_t>(-1);
    const bool hasGroup = fchown(file, old.st_uid, old.st_gid) == 0 || fchown(file, kSame, old.st_gid) == 0;
    const mode_t mode = old.st_mode & 0777;
    if (fchmod(file, hasGroup ? mode : mode & ~mode_t{070}) != 0) fail("write", target_);
  }

  void commit(const std::string &bytes) {
    const bool isWritten = writeAll(file_.get(), bytes) && sync(file_.get());
    if (!isWritten || std::rename(temporary_.c_str(), target_.c_str()) != 0) fail("write", target_);
    temporary_.clear();
    syncDirectoryOf(target_);
  }

 private:
  std::string target_, temporary_;
  Descriptor file_;
};

}  // namespace

bool readRest(std::FILE *stream, std::string &text) {
  char block[16384];
  for (std::size_t size = 0; (size = std::fread(block, 1, sizeof(block), stream)) > 0;) text.append(block, size);
  return std::ferror(stream) == 0;
}

std::string readAll(const std::string &path) {
  const bool isInput = path == "-";
  const Stream file(isInput ? nullptr : std::fopen(path.c_str(), "rbe"));
  std::FILE *stream = isInput ? stdin : file.get();
  if (stream == nullptr) fail("read", path);
  std::string text;
  if (!readRest(stream, text)) fail("read", path);
  return text;
}

bool isFile(const std::string &path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return false;
    fail("open", path);
  }
  if (S_ISREG(status.st_mode)) return true;
  if (S_ISLNK(status.st_mode)) fail("open", path, "it is a symbolic link; name the file that it points to");
  fail("open", path, S_ISDIR(status.st_mode) ? "it is a directory" : "it is not a regular file");
}

void replaceFile(const std::string &path, const std::string &bytes) {
  struct stat old {};
  const bool isThere = isFile(path);
  // Its directory alone would allow to replace a file that may not be written.
  if (isThere && (access(path.c_str(), W_OK) != 0 || stat(path.c_str(), &old) != 0)) fail("write", path);
  Replacement replacement(path);
  if (isThere) replacement.setOwnerAndMode(old);
  replacement.commit(bytes);
}

void removeFile(const std::string &path) {
  if (!isFile(path)) return;
  if (unlink(path.c_str()) != 0) fail("delete", path);
  syncDirectoryOf(path);
}

}  // namespace tool
