// SPDX-License-Identifier: MIT
#include "queue.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>

#include "descriptor.h"
#include "host.h"
#include "queue_file.h"
#include "stop.h"
#include "values.h"

namespace tool {
namespace {

bool isSet(const char *variable) {
  const char *value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

// Keeps the library from saying on standard error, each time a handle is set up, that there is no debug-log service.
// Does nothing when the environment asks for diagnostics.
class QuietSetUp {
 public:
  QuietSetUp() {
    if (isSet("QUOR_DEBUG") || isSet("QUOR_TRACE")) return;
    const Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (nowhere.get() < 0) return;
    standardError_ = Descriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (standardError_.get() >= 0) dup2(nowhere.get(), STDERR_FILENO);
  }
  ~QuietSetUp() {
    if (standardError_.get() >= 0) dup2(standardError_.get(), STDERR_FILENO);
  }
  QuietSetUp(const QuietSetUp &) = delete;
  QuietSetUp &operator=(const QuietSetUp &) = delete;

 private:
  Descriptor standardError_;  // kept aside; none when nothing was done
};

Elements listOf(const SSIB2_PRIVATE_DATA &handle) {
  Elements elements;
  for (SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    elements.push_back(element);
  }
  return elements;
}

void link(const Elements &elements, SSIB2_PRIVATE_DATA &handle) {
  SSIB_LINK next = nullptr;
  for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
    (*element)->next = next;
    next = *element;
  }
  handle.ssibEntryListHead = handle.ssibEntryListPtr = next;
}

// What a change has left is not known when it cannot be looked at.
template <class Look>
auto afterChange(Look look) {
  try {
    return look();
  } catch (const Stop &stop) {
    throw Unconfirmed(stop);
  }
}

// What is there to see may still not outlast a power loss.
void requireLasting(const std::string &action) {
  afterChange([&] { require(writeStatus(), action); });
}

// The platform knows whether the old file stayed. Else the reading had too little memory, or the writing: an extra
// content of which a part could not be copied is written without it.
[[noreturn]] void refuseOther(const std::string &action) {
  if (writeStatus() != EFI_SUCCESS) refuse(action, EFI_DEVICE_ERROR);
  throw Stop(Exit::Refused, "cannot " + action + ": what is in the file now has to be looked at", EFI_DEVICE_ERROR);
}

}  // namespace

std::string plainName(const wchar_t *name) {
  const std::wstring_view wide = name;
  return {wide.begin(), wide.end()};
}

std::string counted(std::size_t entries) {
  return std::to_string(entries) + (entries == 1 ? " entry" : " entries");
}

QueueName::QueueName(const std::string &given) : plain_(given), wide_(wideName(given)), shown_(escaped(given)) {}

QueueName QueueName::ofFile(const std::string &path) {
  std::string plain;
  std::shared_ptr<const Place> place = Place::of(path, plain);
  QueueName name(plain);
  name.place_ = std::move(place);
  name.isByPath_ = true;
  name.shown_ = path == "-" ? "standard input" : escaped(path);
  return name;
}

Form QueueName::form() const {
  return wide_.find(SSIB_TASK_LIST_MARK) != std::wstring::npos ? Form::TaskList : Form::Xml;
}

std::string QueueName::checkCommand() const {
  const bool isInput = place_ != nullptr && place_->isInput();
  return "'ssib check " + (isByPath_ ? "-f " + (isInput ? "-" : shown_) : shown_) + "'";
}

QueueName QueueName::with(const char *suffix) const {
  QueueName longer = *this;
  longer.plain_ += suffix;
  longer.wide_.append(suffix, suffix + std::strlen(suffix));
  longer.shown_ += suffix;
  return longer;
}

QueueName QueueName::mainQueue() const {
  return QueueName(plainName(form() == Form::TaskList ? SSIB_MAIN_TASK_LIST : SSIB_MAIN_QUEUE));
}

void startLibrary() {
  const QuietSetUp quiet;
  require(vyxSSIB2LinuxInitBackend(), "start the library");
}

bool exists(const QueueName &name, const std::string &action) {
  return openStored(name, action) != nullptr;
}

std::string missingMessage(const QueueName &name) {
  const std::string missing = "there is no " + name.shown();
  return name.isByPath() ? missing : missing + "; 'ssib queues' lists what there is";
}

void requireExists(const QueueName &name, const std::string &action) {
  if (!exists(name, action)) throw Stop(Exit::NothingThere, missingMessage(name));
}

void deleteFile(const QueueName &name) {
  const std::string action = "delete " + name.shown();
  hasChangeBegun = true;
  {
    const AtPlace there(name);
    require(iDeleteSSIB(&gSSSIB2pvt, name.wide()), action);
    there.putBack();
  }
  if (afterChange([&] { return exists(name, action); })) refuse(action, EFI_DEVICE_ERROR);
  requireLasting(action);
}

// Without the lock a file that a writer replaces between the library's two looks at it, the first for its size, seems
// damaged: it is refused only when it seems so again and again.
Queue::Queue(const QueueName &name, Access access, const std::string &action)
    : name_(name), version_(name), handle_(newHandle(name)) {
  const AtPlace there(name);
  EFI_STATUS status = iOpenSSIB(handle_.get(), name.wide());
  for (int again = 3; status != EFI_SUCCESS && access == Access::Unlocked && again > 0; --again) {
    // A task list that is refused counts as open. Its list is empty, so that the close writes nothing.
    iCloseSSIB(handle_.get());
    status = iOpenSSIB(handle_.get(), name.wide());
  }
  if (status == EFI_INVALID_PARAMETER) {
    throw Stop(Exit::Refused,
               "cannot " + action + " " + name.shown() + ": " + statusName(status) + "; " + name.checkCommand() +
                   " tells where it is damaged",
               status);
  }
  require(status, action + " " + name.shown());
  elements = listOf(*handle_);
}

Queue::Queue(const QueueName &name, Elements own) : elements(std::move(own)), name_(name), handle_(newHandle(name)) {
  link(elements, *handle_);
  handle_->mode = static_cast<std::uint8_t>(form());
  handle_->ssibFileName = wcsdup(name.wide());
  if (handle_->ssibFileName == nullptr) throw std::bad_alloc();
}

Elements Queue::takeOut(const Places &places) {
  Elements out, left;
  auto next = places.begin();
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const bool isChosen = next != places.end() && *next == i;
    (isChosen ? out : left).push_back(elements[i]);
    if (isChosen) ++next;
  }
  elements = std::move(left);
  link(elements, *handle_);
  return out;
}

bool Queue::isCurrent() const {
  return version_ == FileVersion(name_);
}

Queue &Queue::operator=(Queue &&other) noexcept {
  std::swap(elements, other.elements);
  std::swap(name_, other.name_);
  std::swap(version_, other.version_);
  std::swap(handle_, other.handle_);
  return *this;
}

Queue::~Queue() {
  release(elements);
}

// The library's close would write the file.
void Queue::ForgetHandle::operator()(SSIB2_PRIVATE_DATA *handle) const {
  std::free(handle->ssibFileName);
  delete handle;
}

Queue::Handle Queue::newHandle(const QueueName &name) {
  Handle handle(new SSIB2_PRIVATE_DATA{});
  const QuietSetUp quiet;
  require(Protocol2Constructor(handle.get()), "set up a handle for " + name.shown());
  return handle;
}

// The library reports neither a file that could not be closed nor a task list that could not be written: what the file
// holds afterwards tells.
void Queue::store() {
  link(elements, *handle_);
  if (elements.empty() && form() == Form::TaskList) return deleteFile(name_);
  const std::string action = "write " + name_.shown();
  hasChangeBegun = true;
  {
    const AtPlace there(name_);
    require(iFlushSSIBQueue(handle_.get()), action);
    there.putBack();
  }
  Queue read = afterChange([&] { return Queue(name_, Access::Locked, "read back"); });
  const auto isStored = [this](const SSIB_ENTRY_LIST *written, const SSIB_ENTRY_LIST *found) {
    return isGivenBack(form(), *written, *found);
  };
  if (!afterChange([&] { return std::ranges::equal(elements, read.elements, isStored); })) refuseOther(action);
  requireLasting(action);
  version_ = std::move(read.version_);
}

void release(const Elements &elements) {
  for (SSIB_ENTRY_LIST *element : elements) releaseElement(element);
}

std::string emptyMessage(const QueueName &name) {
  return exists(name, "open " + name.shown()) ? name.shown() + " is empty" : missingMessage(name);
}

}  // namespace tool
