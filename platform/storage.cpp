// SPDX-License-Identifier: MIT
// Partition storage: a partition is a directory, a file of it a regular file there. A file opened with "w" is replaced
// in one step at its close; until then, and whenever anything went wrong, the old one is there, whole.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <new>

#include "HostPlatform.h"
#include "replacement.h"

namespace vyx::platform {
namespace {

// What a stream that is open for writing stands for. The buffer is its own: a larger one than the C library would give
// it takes a task list with a sixteenth of the writes.
struct Output {
  Replacement replacement;
  char buffer[65536];
};
using Outputs = std::map<std::FILE *, std::unique_ptr<Output>>;

// Of the streams open for writing. No lock guards them: calls are serialised by their callers. Never destroyed: the C
// library flushes streams that are open when the process ends, after all destructors.
Outputs &outputs() {
  alignas(Outputs) static std::byte place[sizeof(Outputs)];  // a close has nobody to tell that memory is short
  static auto &instance = *new (place) Outputs;
  return instance;
}

EFI_STATUS lastChange = EFI_SUCCESS;

bool isMode(const char *mode, const char *wanted) {
  return mode != nullptr && std::strcmp(mode, wanted) == 0;
}

std::FILE *openToRead(const std::string &partition, const std::string &name) {
  Descriptor file = openRegular(openDirectory(partition, O_PATH).get(), name.c_str(), O_RDONLY);
  std::FILE *stream = fdopen(file.get(), "r");
  require(stream != nullptr, EFI_DEVICE_ERROR);
  file.release();
  return stream;
}

// Whatever is less than `size` is an error of the stream.
ssize_t writeToReplacement(void *cookie, const char *text, std::size_t size) {
  return static_cast<Replacement *>(cookie)->write({text, size}) ? static_cast<ssize_t>(size) : 0;
}

struct Close {
  void operator()(std::FILE *stream) const { std::fclose(stream); }
};

std::FILE *openToWrite(const std::string &partition, const std::string &name) {
  auto output = std::make_unique_for_overwrite<Output>();
  output->replacement.begin(partition, name);
  std::unique_ptr<std::FILE, Close> stream(
      fopencookie(&output->replacement, "w", {nullptr, writeToReplacement, nullptr, nullptr}));
  require(stream != nullptr, EFI_DEVICE_ERROR);
  std::setvbuf(stream.get(), output->buffer, _IOFBF, sizeof(output->buffer));
  outputs().emplace(stream.get(), std::move(output));
  return stream.release();
}

// A file that is there but does not open, because no descriptor is left for example, is not permitted rather than
// failed: the library would take any other status for a missing file, and an empty queue would be written over this
// one.
EFI_STATUS forReading(EFI_STATUS status) {
  return status == EFI_SUCCESS || status == EFI_NOT_FOUND ? status : EFI_ACCESS_DENIED;
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// A mode other than "r" and "w" and a null argument are refused with EFI_INVALID_PARAMETER.
EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream) {
  if (stream == nullptr) return EFI_INVALID_PARAMETER;
  *stream = nullptr;
  const bool isReading = isMode(mode, "r");
  if (partition == nullptr || fileName == nullptr || !(isReading || isMode(mode, "w"))) return EFI_INVALID_PARAMETER;
  const EFI_STATUS status = statusOf([&] {
    const std::string path = partitionPath(partition), name = vyx::platform::fileName(fileName);
    *stream = isReading ? openToRead(path, name) : openToWrite(path, name);
  });
  if (isReading) return forReading(status);
  return status == EFI_NOT_FOUND ? EFI_DEVICE_ERROR : status;
}

// The stream is closed whatever is returned. What was written counts only when nothing failed, the stream included,
// and the mode is that of the open; otherwise the old file stays. The partition is not looked at: the stream knows its
// own.
EFI_STATUS varsk_fclose_1(const wchar_t *, FILE *stream, const char *mode) {
  if (stream == nullptr) return EFI_INVALID_PARAMETER;
  const auto written = outputs().extract(stream);
  const bool isIntact = std::fflush(stream) == 0 && std::ferror(stream) == 0;
  const bool isClosed = std::fclose(stream) == 0;
  if (written.empty()) return isMode(mode, "r") ? EFI_SUCCESS : EFI_INVALID_PARAMETER;
  if (!isMode(mode, "w")) return lastChange = EFI_INVALID_PARAMETER;
  if (!isIntact || !isClosed) return lastChange = EFI_DEVICE_ERROR;
  return lastChange = statusOf([&] { written.mapped()->replacement.commit(); });
}

EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName) {
  if (partition == nullptr || fileName == nullptr) return lastChange = EFI_INVALID_PARAMETER;
  return lastChange = statusOf([&] {
           const std::string path = partitionPath(partition), name = vyx::platform::fileName(fileName);
           const Descriptor directory = openDirectory(path, O_RDONLY);
           require(S_ISREG(statusAt(directory.get(), name.c_str()).st_mode), EFI_ACCESS_DENIED);
           if (unlinkat(directory.get(), name.c_str(), 0) != 0) throw failureOf(errno);
           sync(directory);
         });
}

EFI_STATUS vyxHostWriteStatus(void) {
  return lastChange;
}

// A file of more than 4 GiB - 1 has that size, and so has one whose size cannot be found out.
uint32_t getSize(FILE *stream) {
  struct stat info {};
  if (stream == nullptr || fstat(fileno(stream), &info) != 0) return UINT32_MAX;
  return info.st_size < INT64_C(0xFFFFFFFF) ? static_cast<std::uint32_t>(info.st_size) : UINT32_MAX;
}

}  // extern "C"
