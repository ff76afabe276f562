// SPDX-License-Identifier: MIT
#include "queue_file.h"

#include <cstdio>

#include "stop.h"
#include "VyxSSIBBackend.h"

namespace tool {

std::optional<std::string> storedBytes(const QueueName &name) {
  const AtPlace there(name);
  std::FILE *stream = nullptr;
  const EFI_STATUS status = varsk_fopen_1(sVarskPartition, name.wide(), "r", &stream);
  if (status == EFI_NOT_FOUND) return std::nullopt;
  if (stream == nullptr) refuse("open " + name.shown(), status == EFI_SUCCESS ? EFI_DEVICE_ERROR : status);
  if (getSize(stream) == UINT32_MAX) {  // the library refuses it without reading it
    varsk_fclose_1(sVarskPartition, stream, "r");
    refuse("open " + name.shown(), EFI_OUT_OF_RESOURCES);
  }
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
