// SPDX-License-Identifier: MIT
// Writing the list as a JSON task list. Values go out as they stand: the format has no escapes.
#include "json/writer.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "json/keys.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"

namespace ssib {
namespace {

constexpr char kDocumentHead[] = "{\n  \"SMAJob\":\n  [\n";
constexpr char kObjectOpen[] = "    {\n";
constexpr std::string_view kValueEnd = "\",\n";
constexpr std::string_view kLastValueEnd = "\"\n";
constexpr char kObjectClose[] = "    },\n";
constexpr char kLastObjectClose[] = "    }\n";
constexpr char kDocumentTail[] = "  ]\n}\n";

// Pieces are gathered here and reach the stream in chunks.
class OutputBuffer {
 public:
  void append(std::FILE *stream, std::string_view piece) {
    if (length_ + piece.size() >= sizeof(text_)) write(stream);
    const std::size_t kept = std::min(piece.size(), sizeof(text_) - 1 - length_);
    std::memcpy(text_ + length_, piece.data(), kept);
    length_ += kept;
  }

  // Empties the buffer; whether the stream took the text is not looked at.
  void write(std::FILE *stream) {
    text_[length_] = '\0';
    std::fputs(text_, stream);
    length_ = 0;
  }

  void clear() {
    std::memset(text_, 0, sizeof(text_));
    length_ = 0;
  }

 private:
  char text_[SSIB_TASK_LIST_TEXT_MAX + 1];
  std::size_t length_ = 0;  // without the terminating zero
};

// One area for all calls. A flush that a host has left half-way leaves its text here.
OutputBuffer output;

void writeFrame(const SSIB2_PRIVATE_DATA &handle, std::FILE *stream, const char *text) {
  const EFI_STATUS status = jsonWriter(stream, text);
  if (EFI_ERROR(status)) logTo(handle.debugProto, kLibraryTag, L"ERROR: %r\n", status);
}

void writeJob(const SSIB2_PRIVATE_DATA &handle, std::FILE *stream, const SSIB_ENTRY &entry) {
  logTo(handle.debugProto, kLibraryTag, L"Writing JobType [%s], ResourceType [%s] ...", orEmpty(entry.Job_Type),
        orEmpty(entry.Resource_Type));
  for (const JsonKey &key : kKeys) {
    output.append(stream, key.lineStart);
    output.append(stream, orEmpty(entry.*key.field.member));
    output.append(stream, &key == std::prev(std::end(kKeys)) ? kLastValueEnd : kValueEnd);
  }
}

void writeDocument(const SSIB2_PRIVATE_DATA &handle, std::FILE *stream) {
  output.clear();
  logTo(handle.debugProto, kLibraryTag, L"Writing entries now ...");
  writeFrame(handle, stream, kDocumentHead);
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    writeFrame(handle, stream, kObjectOpen);
    writeJob(handle, stream, element->entry);
    writeFrame(handle, stream, element->next == nullptr ? kLastObjectClose : kObjectClose);
  }
  writeFrame(handle, stream, kDocumentTail);
  output.write(stream);
}

EFI_STATUS writeFile(const SSIB2_PRIVATE_DATA &handle) {
  logNarrow(handle.debugProto, L"Opening file [%s]", handle.ssibFileName);
  PartitionFile file(kJsonSource, kTaskListPartition, handle.ssibFileName, kForWriting);
  if (file.stream() == nullptr) {
    logNarrow(handle.debugProto, L"ERROR: unable to open %s\n", handle.ssibFileName);
    return EFI_ABORTED;
  }
  if (EFI_ERROR(file.status())) {
    logNarrow(handle.debugProto, L"ERROR: unable to open %s %r\n", handle.ssibFileName, file.status());
    file.close(kTaskListPartition);
    return EFI_ABORTED;
  }
  writeDocument(handle, file.stream());
  logNarrow(handle.debugProto, L"Closing [%s].", kTaskListPartition);
  file.close(kTaskListPartition);
  logTo(handle.debugProto, kLibraryTag, L"Returning EFI_SUCCESS.");
  return file.status();
}

}  // namespace

EFI_STATUS jsonWriter(std::FILE *stream, const char *text) {
  if (stream == nullptr || text == nullptr) return EFI_INVALID_PARAMETER;
  output.append(stream, text);
  return EFI_SUCCESS;
}

}  // namespace ssib

extern "C" {

EFI_STATUS iFlushToJSON(SSIB2_PRIVATE_DATA *SSIB2) {
  if (SSIB2 == nullptr || SSIB2->ssibEntryListHead == nullptr || SSIB2->ssibFileName == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return ssib::writeFile(*SSIB2);
}

}  // extern "C"
