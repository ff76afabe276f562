// SPDX-License-Identifier: MIT
// Access to the flash partition. The formats of the trace stand here and nowhere else.
#include "ssib_if2_backend/partition.h"

namespace ssib {
namespace {

constexpr int kTraceLevel = 5;
constexpr int kTraceVerbosity = 9;

template <typename... Values>
void trace(const char *format, const char *source, int line, Values... values) {
  quorprintf(kTraceLevel, kTraceVerbosity, format, source, line, values...);
}

}  // namespace

PartitionFile::PartitionFile(const char *source, const wchar_t *partition, const wchar_t *name, const char *mode,
                             int line)
    : source_(source),
      line_(line),
      partition_(partition),
      mode_(mode),
      status_(varsk_fopen_1(partition, name, mode, &stream_)) {
  trace("%s:%d:Calling varsk_fopen() with partition:%ls fileName:%ls and mode:%s\n", source, line, partition, name,
        mode);
}

PartitionFile::~PartitionFile() {
  if (stream_ != nullptr) close(partition_, line_);
}

void PartitionFile::close(const wchar_t *partition, int line) {
  varsk_fclose_1(partition, stream_, mode_);
  trace("%s:%d:Calling varsk_fclose() with partition:%ls\n", source_, line, partition);
  stream_ = nullptr;
}

Probe file_exists(const wchar_t *fileName) {
  PartitionFile file(kBackendSource, sVarskPartition, fileName, kForReading);
  if (file.stream() == nullptr) return {false, 0, file.status()};
  const std::uint32_t size = getSize(file.stream());
  file.close(sVarskPartition);
  return {true, size, file.status()};
}

void deleteFile(const wchar_t *fileName, int line) {
  varsk_fdelete_1(sVarskPartition, fileName);
  trace("%s:%d:Calling varsk_fdelete() with partition:%ls and filename: %ls\n", kBackendSource, line, sVarskPartition,
        fileName);
}

}  // namespace ssib
