// SPDX-License-Identifier: MIT
#include "jobs.h"

#include <vector>

namespace bench {
namespace {

constexpr std::size_t kUpdateEvery = 10;

SSIB_TEXT constant(const char *text) {
  return const_cast<char *>(text);
}

void addJobs(std::size_t count, Form form) {
  SSIB_ENTRY job = sampleJob(form), update = job;
  update.Job_Type = constant("UPDATE");
  std::vector<SSIB_ENTRY *> batch(count, &job);
  for (std::size_t at = 0; form == kTaskList && at < count; at += kUpdateEvery) batch[at] = &update;
  must(iAddToSSIBQueue(&handle, static_cast<std::uint32_t>(count), batch.data(), kFieldMask, SSIB_ADD_APPEND_LO));
}

}  // namespace

void must(EFI_STATUS status) {
  if (status == EFI_SUCCESS) return;
  std::fprintf(stderr, "bench: an operation failed with 0x%08X\n", status);
  std::exit(1);
}

SSIB_ENTRY sampleJob(Form form) {
  SSIB_ENTRY job = {};
  job.Version = 1;
  job.Block_ID = 7;
  job.Timeout = SSIB_DEFAULT_TIMEOUT;
  job.Job_ID = constant("JID_000123456789");
  if (form == kXml) {
    job.Cmd_Line = constant("/usr/libexec/update --quiet --image=/tmp/image.bin");
    job.Task_Name = constant("Update task");
    job.LU_Category = constant("FIRMWARE");
    return job;
  }
  job.Display_Name = constant("System firmware, slot one");
  job.Job_Type = constant("INVENTORY");
  job.FQDD = constant("BIOS.Setup.1-1");
  job.Resource_URI = constant("/images/firmware-000123.bin");
  job.Resource_Type = constant("image");
  job.Resource_Namespace = constant("namespace-main");
  job.Target_Version = constant("1.2.3");
  return job;
}

const wchar_t *nameOf(Form form) {
  return form == kTaskList ? L"bench.json" : L"bench.ssib";
}

void openQueue(Form form) {
  must(iOpenSSIB(&handle, nameOf(form)));
}

void closeQueue() {
  must(iCloseSSIB(&handle));
}

void writeQueue(std::size_t count, Form form) {
  iDeleteSSIB(&handle, nameOf(form));
  openQueue(form);
  addJobs(count, form);
  closeQueue();
}

void openNewQueue(std::size_t count, Form form) {
  writeQueue(count, form);
  openQueue(form);
}

Image readImage(Form form) {
  FILE *stream = nullptr;
  must(varsk_fopen_1(sVarskPartition, nameOf(form), "r", &stream));
  Image image;
  image.size = getSize(stream);
  varsk_fclose_1(sVarskPartition, stream, "r");
  must(varsk_fopen_1(sVarskPartition, nameOf(form), "r", &stream));
  image.text.reset(static_cast<char *>(std::calloc(image.size + kImageRoom, 1)));
  must(std::fread(image.text.get(), image.size, 1, stream) == 1);
  varsk_fclose_1(sVarskPartition, stream, "r");
  return image;
}

XML_NODE *parse(const Image &image) {
  const XML_STRING string = {1, image.text.get()};
  XML_NODE *root = nullptr;
  must(service()->ParseImage(service(), &string, &root));
  return root;
}

void release(XML_NODE *root) {
  must(service()->DeleteTree(service(), root));
}

void writeFile(Form form, const std::function<void(std::FILE *)> &write) {
  FILE *stream = nullptr;
  must(varsk_fopen_1(sVarskPartition, nameOf(form), "w", &stream));
  write(stream);
  must(varsk_fclose_1(sVarskPartition, stream, "w"));
}

SSIB_ENTRY &List::append() {
  SSIB_ENTRY_LIST *element = le_new();
  element->priority = SSIB_PRIORITY_FROM_FILE;
  *end_ = element;
  end_ = &element->next;
  return element->entry;
}

void List::clear() {
  while (SSIB_ENTRY_LIST *element = head_) {
    const SSIB_ENTRY &entry = element->entry;
    for (char *text : {entry.Cmd_Line, entry.Task_Name, entry.LU_Category}) std::free(text);
    for (const TaskText &text : kTaskTexts) std::free(entry.*text.member);
    head_ = element->next;
    std::free(element);
  }
  end_ = &head_;
}

}  // namespace bench
