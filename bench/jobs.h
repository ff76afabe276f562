/* SPDX-License-Identifier: MIT */
// The queues that are measured, and the partition as a client of the platform sees it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

#include "VyxSSIBBackend.h"

namespace bench {

// The two forms of a queue.
enum Form : bool { kXml, kTaskList };

constexpr std::uint32_t kFieldMask = SSIB_FIELD_JOB_ID | SSIB_FIELD_TIMEOUT;

inline SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;

inline XML_SERVICE_PROTOCOL *service() {
  return gSSSIB2pvt.XMLProto;
}

// Ends the program when an operation has failed.
void must(EFI_STATUS status);
inline void must(bool isGood) {
  must(isGood ? EFI_SUCCESS : EFI_DEVICE_ERROR);
}

// What a typical job holds. Its texts are constants.
SSIB_ENTRY sampleJob(Form form);

const wchar_t *nameOf(Form form);
void openQueue(Form form);
void closeQueue();

// Makes the file anew, of so many jobs. One task in ten is an update.
void writeQueue(std::size_t count, Form form);

// The same, and opens it.
void openNewQueue(std::size_t count, Form form);

// A file's bytes, with zeros after them: some parsers look ahead.
struct Image {
  std::unique_ptr<char, decltype(&std::free)> text{nullptr, &std::free};
  std::size_t size = 0;
};
inline constexpr std::size_t kImageRoom = 64;

// Reads a file with the calls of an open.
Image readImage(Form form);

// The tree of an XML queue's image, which is released afterwards.
XML_NODE *parse(const Image &image);
void release(XML_NODE *root);

// What a flush does with its stream.
void writeFile(Form form, const std::function<void(std::FILE *)> &write);

// The texts of a task in the order of the file.
struct TaskText {
  const char *key;
  SSIB_TEXT SSIB_ENTRY::*member;
};
inline constexpr TaskText kTaskTexts[] = {
    {"JobType", &SSIB_ENTRY::Job_Type},
    {"DisplayName", &SSIB_ENTRY::Display_Name},
    {"FQDD", &SSIB_ENTRY::FQDD},
    {"JOBID", &SSIB_ENTRY::Job_ID},
    {"ResourceURI", &SSIB_ENTRY::Resource_URI},
    {"ResourceType", &SSIB_ENTRY::Resource_Type},
    {"ResourceNamespace", &SSIB_ENTRY::Resource_Namespace},
    {"TargetVersion", &SSIB_ENTRY::Target_Version},
};

// A list as the library builds one, for those that do its work in other ways.
class List {
 public:
  List() = default;
  List(const List &) = delete;
  List &operator=(const List &) = delete;
  ~List() { clear(); }

  SSIB_ENTRY &append();
  void clear();

 private:
  SSIB_LINK head_ = nullptr;
  SSIB_LINK *end_ = &head_;
};

}  // namespace bench
