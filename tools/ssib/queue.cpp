// SPDX-License-Identifier: MIT
#include "queue.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host.h"
#include "stop.h"

namespace tool {
namespace {

bool isSet(const char *variable) {
  const char *value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

void openWith(SSIB2_PRIVATE_DATA &handle, const QueueName &name) {
  require(iOpenSSIB(&handle, name.wide()), "open " + name.shown());
}

void setUp(SSIB2_PRIVATE_DATA &handle, const QueueName &name) {
  const QuietSetUp quiet;
  require(Protocol2Constructor(&handle), "set up a handle for " + name.shown());
}

// A new handle that lasts until the process ends. Each is a block of its own: the record is packed, and in an array the
// pointers of the second one would lie where leak checkers do not look.
SSIB2_PRIVATE_DATA &keptHandle() {
  static auto &handles = *new std::vector<SSIB2_PRIVATE_DATA *>;
  handles.reserve(handles.size() + 1);
  return *handles.emplace_back(new SSIB2_PRIVATE_DATA{});
}

}  // namespace

std::string plainName(const wchar_t *name) {
  const std::wstring_view wide = name;
  return {wide.begin(), wide.end()};
}

std::string counted(std::size_t entries) {
  return std::to_string(entries) + (entries == 1 ? " entry" : " entries");
}

QueueName::QueueName(const std::string &given) : wide_(wideName(given)), shown_(escaped(given)) {}

Form QueueName::form() const {
  return wide_.find(SSIB_TASK_LIST_MARK) != std::wstring::npos ? Form::TaskList : Form::Xml;
}

QueueName QueueName::with(const char *suffix) const {
  QueueName longer = *this;
  longer.wide_.append(suffix, suffix + std::strlen(suffix));
  longer.shown_ += suffix;
  return longer;
}

QueueName QueueName::mainQueue() const {
  return QueueName(plainName(form() == Form::TaskList ? SSIB_MAIN_TASK_LIST : SSIB_MAIN_QUEUE));
}

QuietSetUp::QuietSetUp() {
  if (isSet("QUOR_DEBUG") || isSet("QUOR_TRACE")) return;
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0) return;
  standardError_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (standardError_ >= 0) dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

QuietSetUp::~QuietSetUp() {
  if (standardError_ < 0) return;
  dup2(standardError_, STDERR_FILENO);
  close(standardError_);
}

void startLibrary() {
  const QuietSetUp quiet;
  require(vyxSSIB2LinuxInitBackend(), "start the library");
}

void openQueue(const QueueName &name) {
  openWith(gSSSIB2pvt, name);
}

void openQueueUnlocked(const QueueName &name) {
  if (iOpenSSIB(&gSSSIB2pvt, name.wide()) == EFI_SUCCESS) return;
  // A task list that is refused counts as open. Its list is empty, so that the close writes nothing.
  iCloseSSIB(&gSSSIB2pvt);
  openQueue(name);
}

SSIB2_PRIVATE_DATA &openAside(const QueueName &name) {
  SSIB2_PRIVATE_DATA &handle = keptHandle();
  setUp(handle, name);
  openWith(handle, name);
  return handle;
}

Elements elementsOf(const SSIB2_PRIVATE_DATA &handle) {
  Elements elements;
  for (SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    elements.push_back(element);
  }
  return elements;
}

Elements storedElements(const QueueName &name) {
  return elementsOf(openAside(name));
}

bool exists(const QueueName &name, const std::string &action) {
  std::FILE *stream = nullptr;
  const EFI_STATUS status = varsk_fopen_1(sVarskPartition, name.wide(), "r", &stream);
  if (stream != nullptr) {
    varsk_fclose_1(sVarskPartition, stream, "r");
    return true;
  }
  if (status == EFI_ACCESS_DENIED) refuse(action, status);
  return false;
}

std::string emptyMessage(const QueueName &name) {
  return name.shown() + " is empty, or there is no such file";
}

Elements elementsWith(const QueueName &name, std::size_t number) {
  Elements elements = elementsOf(gSSSIB2pvt);
  if (elements.empty()) throw Stop(Exit::NothingThere, emptyMessage(name));
  if (elements.size() < number) {
    throw Stop(Exit::NothingThere, name.shown() + " has only " + counted(elements.size()));
  }
  return elements;
}

void ReleaseEntry::operator()(SSIB_ENTRY *entry) const {
  for (const Field &field : fields()) {
    if (field.kind == Field::Kind::Text) std::free(entry->*field.text);
  }
  XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
  if (entry->Node != nullptr) xml->DeleteTree(xml, entry->Node);
  delete entry;
}

OwnedEntry newEntry() {
  return OwnedEntry(new SSIB_ENTRY{});
}

OwnedEntry copyOfEntry(const QueueName &name, SSIB_ENTRY_LIST &element) {
  OwnedEntry entry = newEntry();
  gSSSIB2pvt.ssibEntryListPtr = &element;
  require(iPeekSSIBNextEntry(&gSSSIB2pvt, entry.get()), "read " + name.shown());
  return entry;
}

}  // namespace tool
