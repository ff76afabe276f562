// SPDX-License-Identifier: MIT
#include "queue_file.h"

#include "files.h"
#include "stop.h"

namespace tool {

StoredFile openStored(const QueueName &name, const std::string &action) {
  const AtPlace there(name);
  std::FILE *stream = nullptr;
  const EFI_STATUS status = varsk_fopen_1(sVarskPartition, name.wide(), "r", &stream);
  StoredFile file(stream);
  if (file == nullptr && status != EFI_NOT_FOUND) refuse(action, status == EFI_SUCCESS ? EFI_DEVICE_ERROR : status);
  return file;
}

std::optional<std::string> storedBytes(const QueueName &name) {
  const StoredFile file = openStored(name, "open " + name.shown());
  if (file == nullptr) return std::nullopt;
  if (getSize(file.get()) == UINT32_MAX) {  // the library refuses it without reading it
    refuse("open " + name.shown(), EFI_OUT_OF_RESOURCES);
  }
  std::string bytes;
  if (!readRest(file.get(), bytes)) refuse("read " + name.shown(), EFI_DEVICE_ERROR);
  return bytes;
}

void storeBytes(const QueueName &name, const std::string &bytes) {
  const std::string action = "write " + name.shown();
  {
    const AtPlace there(name);
    std::FILE *stream = nullptr;
    const EFI_STATUS opened = varsk_fopen_1(sVarskPartition, name.wide(), "w", &stream);
    if (stream == nullptr) refuse(action, opened == EFI_SUCCESS ? EFI_DEVICE_ERROR : opened);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    require(varsk_fclose_1(sVarskPartition, stream, "w"), action);  // an error of the stream is one of the close
    there.putBack();
  }
  if (storedBytes(name) != bytes) refuse(action, EFI_DEVICE_ERROR);
}

}  // namespace tool
