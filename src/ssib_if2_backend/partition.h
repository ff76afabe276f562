// SPDX-License-Identifier: MIT
// Access to the flash partition: every call of the partition storage, each followed by its line of trace.
#pragma once

#include <cstdint>
#include <cstdio>

#include "VyxSSIBBackend.h"

namespace ssib {

// The name under which a group of source files appears in the trace.
inline constexpr char kBackendSource[] = "ssib_if2_backend";
inline constexpr char kJsonSource[] = "json";

// The task lists' own access names the partition itself, whatever a caller has made of sVarskPartition.
inline constexpr wchar_t kTaskListPartition[] = SSIB_PARTITION;

inline constexpr char kForReading[] = "r";
inline constexpr char kForWriting[] = "w";

// An open file of a partition. Whoever opened it closes it, under the line of that call in its source file; the scope
// closes only what an overlooked path leaves open, under the line of the open.
class PartitionFile {
 public:
  PartitionFile(const char *source, const wchar_t *partition, const wchar_t *name, const char *mode,
                int line = __builtin_LINE());
  ~PartitionFile();
  PartitionFile(const PartitionFile &) = delete;
  PartitionFile &operator=(const PartitionFile &) = delete;

  std::FILE *stream() const { return stream_; }  // null when the file did not open
  EFI_STATUS status() const { return status_; }  // what the open returned

  void close(const wchar_t *partition, int line = __builtin_LINE());

 private:
  const char *source_;
  int line_;
  const wchar_t *partition_;
  const char *mode_;
  std::FILE *stream_ = nullptr;
  EFI_STATUS status_;
};

// What opening a queue file for reading shows.
struct Probe {
  bool opened;
  std::uint32_t size;  // bytes; 0 when the file did not open
  EFI_STATUS status;   // of the open
};
Probe file_exists(const wchar_t *fileName);

// Deletes a queue file. Whether the partition did so is not looked at.
void deleteFile(const wchar_t *fileName, int line = __builtin_LINE());

}  // namespace ssib
