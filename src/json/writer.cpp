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

// Pieces are gathered here and reach the stream in chunks. What follows the gathered text is zeros.
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
    std::fputs(text_, stream);
    clear();
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

class TaskListWriter {
 public:
  TaskListWriter(const SSIB2_PRIVATE_DATA &handle, std::FILE *stream) : handle_(handle), stream_(stream) {}

  void writeDocument() {
    output.clear();
    logTo(handle_.debugProto, kLibraryTag, L"Writing entries now ...");
    writeFrame(kDocumentHead);
    for (const SSIB_ENTRY_LIST *element = handle_.ssibEntryListHead; element != nullptr; element = element->next) {
      writeFrame(kObjectOpen);
      writeJob(element->entry);
      writeFrame(element->next == nullptr ? kLastObjectClose : kObjectClose);
    }
    writeFrame(kDocumentTail);
    output.write(stream_);
  }

 private:
  void writeFrame(const char *text) {
    const EFI_STATUS status = jsonWriter(stream_, text);
    if (EFI_ERROR(status)) logTo(handle_.debugProto, kLibraryTag, L"ERROR: %r\n", status);
  }

  void writeJob(const SSIB_ENTRY &entry) {
    logTo(handle_.debugProto, kLibraryTag, L"Writing JobType [%s], ResourceType [%s] ...", orEmpty(entry.Job_Type),
          orEmpty(entry.Resource_Type));
    for (const JsonKey &key : kKeys) {
      output.append(stream_, key.lineStart);
      output.append(stream_, orEmpty(entry.*key.member));
      output.append(stream_, &key == std::prev(std::end(kKeys)) ? kLastValueEnd : kValueEnd);
    }
  }

  const SSIB2_PRIVATE_DATA &handle_;
  std::FILE *stream_;
};

}  // namespace

EFI_STATUS jsonWriter(std::FILE *stream, const char *text) {
  if (stream == nullptr || text == nullptr) return EFI_INVALID_PARAMETER;
  output.append(stream, text);
  return EFI_SUCCESS;
}

}  // namespace ssib

using namespace ssib;

extern "C" EFI_STATUS iFlushToJSON(SSIB2_PRIVATE_DATA *SSIB2) {
  if (SSIB2 == nullptr || SSIB2->ssibEntryListHead == nullptr || SSIB2->ssibFileName == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  logNarrow(SSIB2->debugProto, L"Opening file [%s]", SSIB2->ssibFileName);
  PartitionFile file(kJsonSource, kTaskListPartition, SSIB2->ssibFileName, kForWriting);
  if (file.stream() == nullptr) {
    logNarrow(SSIB2->debugProto, L"ERROR: unable to open %s\n", SSIB2->ssibFileName);
    return EFI_ABORTED;
  }
  if (EFI_ERROR(file.status())) {
    logNarrow(SSIB2->debugProto, L"ERROR: unable to open %s %r\n", SSIB2->ssibFileName, file.status());
    file.close(kTaskListPartition);
    return EFI_ABORTED;
  }
  TaskListWriter(*SSIB2, file.stream()).writeDocument();
  logNarrow(SSIB2->debugProto, L"Closing [%s].", kTaskListPartition);
  file.close(kTaskListPartition);
  logTo(SSIB2->debugProto, kLibraryTag, L"Returning EFI_SUCCESS.");
  return file.status();
}
