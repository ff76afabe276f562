// SPDX-License-Identifier: MIT
#include "support.h"

#include <utility>

#include "support/heap.h"
#include "values.h"

namespace fuzz {
namespace {

using Agrees = bool (*)(tool::Form form, const SSIB_ENTRY_LIST &one, const SSIB_ENTRY_LIST &other);

bool agree(Agrees agrees, tool::Form form, const SSIB_ENTRY_LIST *one, const SSIB_ENTRY_LIST *other) {
  for (; one != nullptr && other != nullptr; one = one->next, other = other->next) {
    if (!agrees(form, *one, *other)) return false;
  }
  return one == other;
}

// The entries of a strict reading, in the order of the file; without those that a file of the form cannot hold, when it
// is to be one.
class List {
 public:
  List(tool::Form form, const tool::StrictReading &reading, bool isToBeWritten) {
    SSIB_ENTRY_LIST *last = nullptr;
    for (const tool::StrictEntry &entry : reading.entries) {
      if (isToBeWritten && form == tool::Form::TaskList && !tool::isTaskListEntry(entry)) continue;
      SSIB_ENTRY_LIST *element = tool::elementOf(entry);
      if (last == nullptr) first_ = element;
      if (last != nullptr) last->next = element;
      last = element;
    }
  }
  List(const List &) = delete;
  ~List() {
    while (SSIB_ENTRY_LIST *element = first_) {
      first_ = element->next;
      tool::releaseElement(element);
    }
  }
  const SSIB_ENTRY_LIST *first() const { return first_; }
  SSIB_ENTRY_LIST *release() { return std::exchange(first_, nullptr); }

 private:
  SSIB_ENTRY_LIST *first_ = nullptr;
};

}  // namespace

Run::Run(tool::Form form, const std::uint8_t *data, std::size_t size)
    : form_(form), name_(form == tool::Form::Xml ? SSIB_MAIN_QUEUE : SSIB_MAIN_TASK_LIST) {
  test::resetPlatform();
  live_ = test::heap::live();
  file = &test::platform().files["VAR025/" + test::narrow(name_)];
  file->assign(data, data + size);
  require(vyxSSIB2LinuxInitBackend() == EFI_SUCCESS, "the library starts");
  strict_ = tool::readStrictly(form, *file);
}

Run::~Run() {
  iCloseSSIB(&gSSSIB2pvt);
  vyxSSIB2LinuxUnloadBackend();
  require(test::platform().openStreams == 0, "all streams are closed");
  require(test::heap::live() == live_, "all blocks are freed");
}

EFI_STATUS Run::open() {
  const SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const EFI_STATUS status = iOpenSSIB(&gSSSIB2pvt, name_.c_str());
  require(handle.ssibEntryListPtr == handle.ssibEntryListHead, "the cursor is on the first element");
  require((handle.openCount != 0) == (handle.ssibFileName != nullptr), "an open queue has a file name, no other has");
  require(handle.xmlRoot == nullptr, "no tree is left");
  return status;
}

void Run::compare(EFI_STATUS opened) const {
  const List sound(form_, strict_, false);
  const bool isRead = opened == EFI_SUCCESS && agree(tool::isSame, form_, sound.first(), gSSSIB2pvt.ssibEntryListHead);
  require(isRead == !strict_.damage, "what is sound is read so, and what is damaged otherwise");
}

void Run::salvage() {
  file->clear();
  require(open() == EFI_SUCCESS, "an empty file is an empty queue");
  List whole(form_, strict_, true);
  if (whole.first() == nullptr) return;
  gSSSIB2pvt.ssibEntryListPtr = gSSSIB2pvt.ssibEntryListHead = whole.release();
  require(iFlushSSIBQueue(&gSSSIB2pvt) == EFI_SUCCESS, "what is whole can be written");
  SSIB2_PRIVATE_DATA again = {};
  Protocol2Constructor(&again);
  require(iOpenSSIB(&again, name_.c_str()) == EFI_SUCCESS, "and read again");
  require(agree(tool::isGivenBack, form_, gSSSIB2pvt.ssibEntryListHead, again.ssibEntryListHead), "as it was");
  iCloseSSIB(&again);
}

}  // namespace fuzz
