// SPDX-License-Identifier: MIT
// Any sequence of calls on two handles and a platform that fails at any call and any allocation.
#include "support.h"

#include <iterator>

#include "ssib_if2_backend/entry.h"

namespace {

const wchar_t *const kNames[] = {L"Main.ssib", L"sub.ssib", L"BIOS_task_list.json", L"sub.json"};
const char *const kFailing[] = {"open", "close", "delete", "ParseImage", "SerializeTree", "CreateNode", "set"};
const std::uint32_t kLocations[] = {SSIB_ADD_PREPEND_HI, SSIB_ADD_APPEND_HI, SSIB_ADD_PREPEND_LO, SSIB_ADD_APPEND_LO,
                                    3};

struct Machine {
  SSIB2_PRIVATE_DATA &handle;
  fuzz::Bytes &bytes;
  fuzz::Jobs &jobs;

  const wchar_t *name() const { return kNames[bytes.byte() % std::size(kNames)]; }
};

void add(const Machine &on) {
  SSIB_ENTRY *entries[] = {&on.jobs.make(on.bytes), &on.jobs.make(on.bytes)};
  const std::uint32_t location = kLocations[on.bytes.byte() % std::size(kLocations)];
  iAddToSSIBQueue(&on.handle, 1 + (on.bytes.byte() & 1U), entries, on.bytes.byte(), location);
}

// What was handed out is also the best key for the calls that search.
void get(const Machine &on) {
  SSIB_ENTRY entry = {};
  const std::uint8_t use = on.bytes.byte();
  if (EFI_ERROR((use & 1U) != 0 ? iGetSSIBNextEntry(&on.handle, &entry) : iPeekSSIBNextEntry(&on.handle, &entry)))
    return;
  if ((use & 2U) != 0) iDeleteSSIBEntry(&on.handle, &entry);
  if ((use & 4U) != 0) iRemoveFromSSIBQueue(&on.handle, &entry);
  if ((use & 8U) != 0) iReplaceSSIBEntry(&on.handle, &entry, &on.jobs.make(on.bytes));
  if ((use & 16U) != 0) iReplaceSSIBEntry(&on.handle, &entry, &entry);
  ssib::releaseContents(on.handle.XMLProto, entry);
}

void setFile(const Machine &on) {
  const std::wstring name = on.name();
  test::platform().setFile(name, on.bytes.text());
}

void arm(const Machine &on) {
  const char *call = kFailing[on.bytes.byte() % std::size(kFailing)];
  const bool withResult = (on.bytes.byte() & 1U) != 0 && std::string(call) == "open";
  test::platform().failCall(call, 1 + on.bytes.byte() % 4U, {EFI_ACCESS_DENIED, withResult});
}

void (*const kCalls[])(const Machine &on) = {
    [](const Machine &on) { iOpenSSIB(&on.handle, on.name()); },
    [](const Machine &on) { iCloseSSIB(&on.handle); },
    [](const Machine &on) { iFlushSSIBQueue(&on.handle); },
    [](const Machine &on) { iFlushToJSON(&on.handle); },
    [](const Machine &on) { iParseFromJSON(&on.handle, on.bytes.text().c_str()); },
    [](const Machine &on) { iMergeToMain(&on.handle, on.name(), on.bytes.byte() & 1U); },
    [](const Machine &on) { iDeleteSSIB(&on.handle, on.name()); },
    [](const Machine &on) { SSIBEntryCmp(&on.handle, &on.jobs.make(on.bytes), &on.jobs.make(on.bytes)); },
    [](const Machine &) { test::platform().failWrites = !test::platform().failWrites; },
    [](const Machine &) { test::platform().faults.clear(); },
    add,
    get,
    setFile,
    arm,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const fuzz::Run run;
  fuzz::Bytes bytes(data, size);
  fuzz::Jobs jobs;
  SSIB2_PRIVATE_DATA other = {};
  Protocol2Constructor(&other);
  while (!bytes.empty()) {
    const std::uint8_t choice = bytes.byte();
    const Machine machine{(choice & 0x80U) == 0 ? gSSSIB2pvt : other, bytes, jobs};
    {
      const test::heap::Watch watch((choice & 0x40U) == 0 ? 0 : 1U + bytes.byte());
      kCalls[choice % 0x40U % std::size(kCalls)](machine);
    }
    fuzz::checkHandle(gSSSIB2pvt);
    fuzz::checkHandle(other);
    test::platform().forgetEvents();
  }
  fuzz::closeHandle(other);
  return 0;
}
