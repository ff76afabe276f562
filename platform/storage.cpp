// SPDX-License-Identifier: MIT
// Partition storage: a partition is a directory, a file of it a regular file there. A file opened with "w" is replaced
// in one step at its close; until then, and whenever anything went wrong, the old one is there, whole.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "paths.h"
#include "PlatformServices.h"
#include "replacement.h"

namespace vyx::platform {
namespace {

// The streams open for writing. No lock guards the chain: calls are serialised by their callers.
struct WriteStream {
  std::FILE *stream = nullptr;
  FileReplacement replacement;
  std::unique_ptr<WriteStream> next;
};
std::unique_ptr<WriteStream> writeStreams;

std::unique_ptr<WriteStream> takeWriteStream(const std::FILE *stream) {
  for (auto *link = &writeStreams; *link != nullptr; link = &(*link)->next) {
    if ((*link)->stream != stream) continue;
    auto found = std::move(*link);
    *link = std::move(found->next);
    return found;
  }
  return nullptr;
}

bool isReading(const char *mode) {
  return std::strcmp(mode, "r") == 0;
}
bool isWriting(const char *mode) {
  return std::strcmp(mode, "w") == 0;
}

// Looks before anything is opened: opening alone can block on a fifo and does things to a device.
EFI_STATUS requireRegular(const Path &path) {
  struct stat info {};
  if (lstat(path.text, &info) != 0) return statusOfErrno(errno);
  return S_ISREG(info.st_mode) ? EFI_SUCCESS : EFI_ACCESS_DENIED;
}

// A file that the system does not let us write is not replaced either, though its directory would allow that.
EFI_STATUS requireWritable(const Path &path) {
  const EFI_STATUS status = requireRegular(path);
  if (status == EFI_NOT_FOUND) return EFI_SUCCESS;
  if (status != EFI_SUCCESS) return status;
  return faccessat(AT_FDCWD, path.text, W_OK, AT_EACCESS) == 0 ? EFI_SUCCESS : statusOfErrno(errno);
}

EFI_STATUS streamOf(int descriptor, const char *mode, std::FILE **stream) {
  if (descriptor < 0) return statusOfErrno(errno);
  *stream = fdopen(descriptor, mode);
  if (*stream != nullptr) return EFI_SUCCESS;
  close(descriptor);
  return EFI_DEVICE_ERROR;
}

// A file that is there but does not open, for want of descriptors, say, is not permitted rather than failed: the library
// would take any other status for a missing file, and an empty queue would be written over this one.
EFI_STATUS openToRead(const Path &path, std::FILE **stream) {
  if (const EFI_STATUS status = requireRegular(path); status != EFI_SUCCESS) return status;
  const EFI_STATUS status = streamOf(open(path.text, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC), "r", stream);
  return status == EFI_DEVICE_ERROR ? EFI_ACCESS_DENIED : status;
}

EFI_STATUS openToWrite(const Path &directory, const Path &path, std::FILE **stream) {
  if (const EFI_STATUS status = requireWritable(path); status != EFI_SUCCESS) return status;
  std::unique_ptr<WriteStream> opened(new (std::nothrow) WriteStream);
  if (opened == nullptr) return EFI_DEVICE_ERROR;
  FileReplacement &replacement = opened->replacement;
  if (const EFI_STATUS status = replacement.begin(directory, path); status != EFI_SUCCESS)
    return status == EFI_NOT_FOUND ? EFI_DEVICE_ERROR : status;
  // A descriptor of its own: closing the stream must not give the replacement's lock up before
  // the file is in its place.
  const int descriptor = fcntl(replacement.descriptor(), F_DUPFD_CLOEXEC, 0);
  if (const EFI_STATUS status = streamOf(descriptor, "w", stream); status != EFI_SUCCESS) return status;
  opened->stream = *stream;
  opened->next = std::move(writeStreams);
  writeStreams = std::move(opened);
  return EFI_SUCCESS;
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// A mode other than "r" and "w" and a null argument are refused with EFI_INVALID_PARAMETER.
EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream) {
  if (stream == nullptr) return EFI_INVALID_PARAMETER;
  *stream = nullptr;
  if (partition == nullptr || fileName == nullptr || mode == nullptr) return EFI_INVALID_PARAMETER;
  if (!isReading(mode) && !isWriting(mode)) return EFI_INVALID_PARAMETER;
  Path directory, path;
  if (const EFI_STATUS status = queuePath(partition, fileName, directory, path); status != EFI_SUCCESS) return status;
  return isReading(mode) ? openToRead(path, stream) : openToWrite(directory, path, stream);
}

// The stream is closed whatever is returned. What was written counts only when nothing failed, on the stream
// neither, and the mode is that of the open; otherwise the old file stays. The partition is not looked at:
// the stream knows its own.
EFI_STATUS varsk_fclose_1(const wchar_t *, FILE *stream, const char *mode) {
  if (stream == nullptr) return EFI_INVALID_PARAMETER;
  const auto written = takeWriteStream(stream);
  const bool intact = std::fflush(stream) == 0 && std::ferror(stream) == 0;
  const bool closed = std::fclose(stream) == 0;
  if (mode == nullptr || !(written != nullptr ? isWriting(mode) : isReading(mode))) return EFI_INVALID_PARAMETER;
  if (written == nullptr) return EFI_SUCCESS;
  return intact && closed ? written->replacement.commit() : EFI_DEVICE_ERROR;
}

EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName) {
  if (partition == nullptr || fileName == nullptr) return EFI_INVALID_PARAMETER;
  Path directory, path;
  if (const EFI_STATUS status = queuePath(partition, fileName, directory, path); status != EFI_SUCCESS) return status;
  if (const EFI_STATUS status = requireRegular(path); status != EFI_SUCCESS) return status;
  if (unlink(path.text) != 0) return statusOfErrno(errno);
  return syncDirectory(directory);
}

// A file of more than 4 GiB - 1 has that size, and so has one whose size cannot be found out.
uint32_t getSize(FILE *stream) {
  struct stat info {};
  if (stream == nullptr || fstat(fileno(stream), &info) != 0) return UINT32_MAX;
  return info.st_size < INT64_C(0xFFFFFFFF) ? static_cast<std::uint32_t>(info.st_size) : UINT32_MAX;
}

}  // extern "C"
