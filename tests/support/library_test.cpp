// SPDX-License-Identifier: MIT
#include "support/library_test.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <list>
#include <sstream>
#include <utility>

#include "ssib_if2_backend/entry.h"

namespace test {

namespace {

std::vector<std::string> split(const std::string &text, const std::string &mark) {
  std::vector<std::string> parts;
  for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + mark.size()) {
    end = text.find(mark, at);
    parts.push_back(text.substr(at, end - at));
  }
  return parts;
}

std::string hexadecimal(EFI_STATUS status) {
  std::ostringstream text;
  text << std::hex << status;
  return text.str();
}

// With "@" for every address but 0.
std::string withoutAddresses(std::string text) {
  for (const std::string mark :
       {"xmlRoot = ", "ListHead = ", "ListPtr = ", "ListPtr to ", "result = ", "found = ", "ListPtr (", "deleted. ("}) {
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos;) {
      at += mark.size();
      if (text[at] != '0') text.replace(at, text.find_first_not_of("-0123456789abcdef", at) - at, "@");
    }
  }
  return text;
}

// The lines with a tag, the statuses, and the state.
std::string linesOf(const std::string &played, const std::string &tag) {
  std::string text, last;
  for (const std::string &line : split(played.substr(0, played.size() - 1), "\n")) {
    if (line.starts_with(tag) || line.starts_with("= ") || line == "NOT TRACED") text += line + "\n";
    last = line + "\n";
  }
  return text + last;
}

}  // namespace

void LibraryTest::SetUp() {
  resetPlatform();
  std::wcscpy(sVarskPartition, L"VAR025");
  liveBefore_ = heap::live();
  ASSERT_EQ(vyxSSIB2LinuxInitBackend(), EFI_SUCCESS);
  constructed_ = constant();
  platform().forgetEvents();
}

void LibraryTest::TearDown() {
  tidy();
  vyxSSIB2LinuxUnloadBackend();
}

void LibraryTest::tidy() {
  outcome("service on; open last; close; close; close");
  EXPECT_EQ(heap::live(), liveBefore_) << "blocks left behind";
  EXPECT_EQ(platform().openStreams, 0U) << "streams left behind";
}

// What no call may change.
SSIB2_PRIVATE_DATA LibraryTest::constant() {
  SSIB2_PRIVATE_DATA copy = handle;
  copy.ssibEntryListHead = copy.ssibEntryListPtr = nullptr;
  copy.ssibFileName = nullptr;
  copy.xmlRoot = nullptr;
  copy.openCount = copy.mode = 0;
  return copy;
}

std::string LibraryTest::state() {
  std::string text = std::to_string(handle.openCount);
  if (handle.mode != 0) text += " mode " + std::to_string(handle.mode);
  if (handle.ssibFileName != nullptr) text += " " + narrow(handle.ssibFileName);
  if (handle.ssibEntryListHead != nullptr) text += " " + textOf(handle.ssibEntryListHead, handle.ssibEntryListPtr);
  if (handle.xmlRoot != nullptr) text += " TREE";
  const SSIB2_PRIVATE_DATA now = constant();
  if (std::memcmp(&now, &constructed_, sizeof(now)) != 0) text += " CHANGED";
  return text + textOfFiles();
}

bool LibraryTest::arrange(const Words &step) {
  const auto word = [&](std::size_t at) { return at < step.size() ? step[at] : ""; };
  const auto number = [&](std::size_t at, int base) { return std::stoul("0" + word(at), nullptr, base); };
  if (step[0] == "file") {
    const std::string key = word(1).find('/') == std::string::npos ? "VAR025/" + word(1) : word(1);
    host().files[key] = step.size() < 3 ? "" : fileOf(word(1), word(2) == "-" ? "" : word(2));
  } else if (step[0] == "old") {
    handle.ssibEntryListHead = handle.ssibEntryListPtr = le_new();
    handle.ssibFileName = wcsdup(L"Main.ssib");
    handle.xmlRoot = treeOf("<old/>");
  } else if (step[0] == "service") {
    handle.XMLProto = word(1) == "on" ? constructed_.XMLProto : nullptr;
  } else if (step[0] == "mode") {
    handle.mode = static_cast<std::uint8_t>(number(1, 10));
  } else if (step[0] == "cursor") {
    handle.ssibEntryListPtr = handle.ssibEntryListHead;
  } else if (step[0] == "priority") {
    handle.ssibEntryListHead->priority = static_cast<std::uint8_t>(number(1, 10));
  } else if (step[0] == "partition") {
    std::wcscpy(sVarskPartition, wide(word(1)).c_str());
  } else if (step[0] == "size") {
    host().announcedSize = number(1, 10);
  } else if (step[0] == "fail") {
    fault_ = {word(1) == "any" ? "" : word(1), step.size() < 3 ? 1 : number(2, 10)};
    if (step.size() > 3) fault_.status = static_cast<EFI_STATUS>(number(3, 16));
    fault_.result = word(4);
  } else {
    return false;
  }
  return true;
}

EFI_STATUS LibraryTest::call(const Words &step, SSIB_ENTRY &taken) {
  const std::string &verb = step[0], first = step.size() > 1 ? step[1] : "", second = step.size() > 2 ? step[2] : "0";
  const std::wstring wideName = wide(first);
  const wchar_t *const name = first == "own" ? handle.ssibFileName : wideName.c_str();
  std::list<Job> jobs;
  std::vector<SSIB_ENTRY *> entries;
  for (const char job : verb == "add" ? first : (first + "0").substr(0, 1) + second)
    entries.push_back(job == '0' ? nullptr : &jobs.emplace_back(job));
  if (verb == "init") return vyxSSIB2LinuxInitBackend();
  if (verb == "open") return iOpenSSIB(&handle, name);
  if (verb == "close") return iCloseSSIB(&handle);
  if (verb == "flush") return iFlushSSIBQueue(&handle);
  if (verb == "flush-json") return iFlushToJSON(&handle);
  if (verb == "get") return iGetSSIBNextEntry(&handle, &taken);
  if (verb == "peek") return iPeekSSIBNextEntry(&handle, &taken);
  if (verb == "delete-file") return iDeleteSSIB(&handle, name);
  if (verb == "merge") return iMergeToMain(&handle, name, static_cast<std::uint32_t>(std::stoul(second)));
  if (verb == "parse") return iParseFromJSON(&handle, first.c_str());
  if (verb == "delete") return iDeleteSSIBEntry(&handle, entries[0]);
  if (verb == "remove") return iRemoveFromSSIBQueue(&handle, entries[0]);
  if (verb == "compare") return SSIBEntryCmp(&handle, entries[0], entries[1]);
  if (verb == "replace") return iReplaceSSIBEntry(&handle, entries[0], entries[1]);
  if (verb != "add") std::abort();
  return iAddToSSIBQueue(&handle, static_cast<std::uint32_t>(entries.size()), entries.data(),
                         static_cast<std::uint32_t>(std::stoul(step.size() > 3 ? step[3] : "0")),
                         static_cast<std::uint32_t>(std::stoul(step.size() > 2 ? second : "5")));
}

void LibraryTest::make(const Words &step) {
  SSIB_ENTRY taken = {};
  std::string result;
  host().fault = std::exchange(fault_, {"none"});
  host().failWrites = host().fault->prefix == "write";
  {
    const bool lasts = host().fault->prefix == "allocations";
    const heap::Watch watch(lasts || host().fault->prefix == "allocation" ? host().fault->nth : 0, lasts);
    result = "= " + hexadecimal(call(step, taken));
    const std::size_t seen = host().failWrites ? 1 : host().fault->seen;
    faultHappened = watch.failed() || seen >= host().fault->nth;
  }
  host().fault.reset();
  host().failWrites = false;
  result += textOf(taken);
  ssib::releaseContents(constructed_.XMLProto, taken);
  host().events.push_back(result);
}

std::string LibraryTest::outcome(const std::string &script) {
  host().forgetEvents();
  for (const std::string &step : split(script, "; ")) {
    const Words words = split(step, " ");
    if (!arrange(words)) make(words);
  }
  return (host().events.empty() ? "" : host().events.back().substr(2) + "; ") + state();
}

std::string LibraryTest::play(const std::string &script) {
  outcome(script);
  return withoutAddresses(host().transcript() + state() + "\n");
}

void LibraryTest::expectDialogues(std::initializer_list<Dialogue> dialogues, const std::string &before,
                                  const std::string &tag) {
  for (const auto &[label, script, expected] : dialogues) {
    host() = Platform();
    outcome(before);
    std::string played = play(script);
    if (!tag.empty()) played = linesOf(played, tag);
    EXPECT_EQ(played, expected) << label;
    tidy();
  }
}

}  // namespace test
