// SPDX-License-Identifier: MIT
#include "queue_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "host.h"
#include "stop.h"
#include "VyxSSIBBackend.h"

#pragma weak vyxHostPartitionPath

namespace tool {
namespace {

namespace fs = std::filesystem;

fs::path partitionDirectory() {
  if (vyxHostPartitionPath == nullptr) throw Stop(Exit::Usage, "on this platform queues have to be named");
  char *path = nullptr;
  require(vyxHostPartitionPath(sVarskPartition, &path), "find the queues");
  return std::unique_ptr<char, decltype(&std::free)>(path, &std::free).get();
}

}  // namespace

std::optional<std::string> storedBytes(const QueueName &name) {
  std::FILE *stream = nullptr;
  const EFI_STATUS status = varsk_fopen_1(sVarskPartition, name.wide(), "r", &stream);
  if (status == EFI_NOT_FOUND) return std::nullopt;
  if (stream == nullptr) refuse("open " + name.shown(), status == EFI_SUCCESS ? EFI_DEVICE_ERROR : status);
  std::string bytes;
  char chunk[BUFSIZ];
  for (std::size_t read = 0; (read = std::fread(chunk, 1, sizeof(chunk), stream)) > 0;) bytes.append(chunk, read);
  const bool isRead = std::ferror(stream) == 0;
  varsk_fclose_1(sVarskPartition, stream, "r");
  if (!isRead) refuse("read " + name.shown(), EFI_DEVICE_ERROR);
  return bytes;
}

void storeBytes(const QueueName &name, const std::string &bytes) {
  const std::string action = "write " + name.shown();
  std::FILE *stream = nullptr;
  const EFI_STATUS opened = varsk_fopen_1(sVarskPartition, name.wide(), "w", &stream);
  if (stream == nullptr) refuse(action, opened == EFI_SUCCESS ? EFI_DEVICE_ERROR : opened);
  std::fwrite(bytes.data(), 1, bytes.size(), stream);
  require(varsk_fclose_1(sVarskPartition, stream, "w"), action);  // an error of the stream is one of the close
  if (storedBytes(name) != bytes) refuse(action, EFI_DEVICE_ERROR);
}

std::vector<QueueName> allQueues() {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator file(partitionDirectory(), error), end; !error && file != end; file.increment(error)) {
    std::string name = file->path().filename().string();
    if (!name.starts_with('.') && !name.ends_with(kPutAside)) names.push_back(std::move(name));
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    throw Stop(Exit::Refused, "cannot find the queues: " + error.message());
  }
  std::ranges::sort(names);
  return {names.begin(), names.end()};
}

}  // namespace tool
