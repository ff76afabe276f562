// SPDX-License-Identifier: MIT
// How long a queue's operations take, beside their bounds and beside others who do the same work. Fails when the
// library takes longer than it may.
#include <malloc.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "bounds.h"
#include "jobs.h"
#include "peers.h"

namespace bench {
namespace {

constexpr double kMostOfBound = 2.0;
constexpr double kMostOfCopies = 1.15;
constexpr double kMostOfService = kOnNullPlatform ? 1.25 : 1.15;
constexpr double kMostOfWriting = kOnNullPlatform ? 0 : 1.8;
constexpr double kMostGrowth = kOnNullPlatform ? 0 : 13;  // without a platform, where the caches end decides

const std::vector<std::size_t> kUsualSizes = {10, 100, 1000};
const std::vector<std::size_t> kAllSizes = {10, 100, 1000, 10000, 100000};

using Peers = std::vector<std::pair<std::string, Other>>;
Peers &peers() {
  static Peers instance;
  return instance;
}

Way openWay(Form form) {
  return [=](std::size_t count) {
    return Timed{[=] { writeQueue(count, form); }, [=] { openQueue(form); }, closeQueue};
  };
}

Way flushWay(Form form) {
  return [=](std::size_t count) {
    return Timed{[=] { openNewQueue(count, form); }, [] { must(iFlushSSIBQueue(&handle)); }, closeQueue};
  };
}

// A consumer's walk: each entry is released before the next one is asked for.
void walk() {
  SSIB_ENTRY entry;
  while (iGetSSIBNextEntry(&handle, &entry) == EFI_SUCCESS) {
    for (char *text : {entry.Job_ID, entry.Cmd_Line, entry.Task_Name, entry.LU_Category}) std::free(text);
  }
}

Timed walking(std::size_t count) {
  return {[=] { openNewQueue(count, kXml); }, walk, closeQueue};
}

Timed adding(std::size_t count) {
  auto job = std::make_shared<SSIB_ENTRY>(sampleJob(kXml));
  auto batch = std::make_shared<std::vector<SSIB_ENTRY *>>(count, job.get());
  const auto add = [=] {
    must(iAddToSSIBQueue(&handle, static_cast<std::uint32_t>(count), batch->data(), kFieldMask, SSIB_ADD_APPEND_HI));
    static_cast<void>(job);
  };
  return {[] { openNewQueue(0, kXml); }, add, closeQueue};
}

// A job comes, and the first one is taken: each is a change of the file.
void cycle(Form form) {
  SSIB_ENTRY job = sampleJob(form), *batch[] = {&job};
  must(iAddToSSIBQueue(&handle, 1, batch, kFieldMask, SSIB_ADD_APPEND_LO));
  must(iFlushSSIBQueue(&handle));
  SSIB_ENTRY first;
  handle.ssibEntryListPtr = handle.ssibEntryListHead;
  must(iGetSSIBNextEntry(&handle, &first));
  must(iRemoveFromSSIBQueue(&handle, &first));
  for (char *text : {first.Cmd_Line, first.Task_Name, first.LU_Category}) std::free(text);
  for (const TaskText &text : kTaskTexts) std::free(first.*text.member);
}

Way cycleWay(Form form) {
  return [=](std::size_t count) {
    openNewQueue(count, form);
    const std::shared_ptr<void> closing(nullptr, [](void *) { closeQueue(); });
    return Timed{{}, [form, closing] { cycle(form); }, {}};
  };
}

// The service's part of an open and of a flush, in the order of the library, where an image that was read goes before
// its tree and one that is written after it: the heap clears up when a large block is freed.

Timed parsing(std::size_t count) {
  const auto image = std::make_shared<Image>();
  const auto prepare = [=] {
    writeQueue(count, kXml);
    *image = readImage(kXml);
  };
  return {prepare, [=] { release(parse(*image)); }, {}};
}

void readAndParse() {
  XML_NODE *root = parse(readImage(kXml));
  release(root);
}

Timed readingAndParsing(std::size_t count) {
  return {[=] { writeQueue(count, kXml); }, readAndParse, {}};
}

Timed serializing(std::size_t count) {
  const auto root = std::make_shared<XML_NODE *>(nullptr);
  const auto prepare = [=] {
    writeQueue(count, kXml);
    *root = parse(readImage(kXml));
  };
  const auto serialize = [=] {
    XML_STRING *text = nullptr;
    must(service()->SerializeTree(service(), *root, 1, &text));
    release(*root);
    std::free(text->text);
    std::free(text);
  };
  return {prepare, serialize, {}};
}

Other boundOf(const Way &way, double most = kMostOfBound) {
  return {"bound", way, most, 1000};
}

bool measureCycles(std::string_view xml, std::string_view taskList, Clock clock) {
  const bool isXmlGood = measure({std::string(xml), kUsualSizes, cycleWay(kXml), peersOf(xml), 0, clock});
  return measure({std::string(taskList), kUsualSizes, cycleWay(kTaskList), peersOf(taskList), 0, clock}) && isXmlGood;
}

bool measureSyncedCycles() {
  const char *disk = std::getenv("BENCH_DISK");
  if (disk == nullptr) return true;
  const std::string memory = std::getenv("VARSK_ROOT");
  setenv("VARSK_ROOT", disk, 1);
  setenv("VARSK_SYNC", "1", 1);
  const bool isGood = measureCycles(kXmlSyncedCycle, kTaskListSyncedCycle, Clock::kReal);
  setenv("VARSK_ROOT", memory.c_str(), 1);
  setenv("VARSK_SYNC", "0", 1);
  return isGood;
}

Work workOf(std::string_view name, const Way &library, std::vector<Other> others) {
  for (const Other &peer : peersOf(name)) others.push_back(peer);
  return {std::string(name), kAllSizes, library, others, kMostGrowth};
}

}  // namespace

Peer::Peer(std::string_view work, const Other &other) {
  peers().emplace_back(work, other);
}

std::vector<Other> peersOf(std::string_view work) {
  std::vector<Other> found;
  for (const auto &[name, other] : peers())
    if (name == work) found.push_back(other);
  return found;
}

bool measureAll() {
  bool good = kOnNullPlatform || measureCycles(kXmlCycle, kTaskListCycle, Clock::kProcessor);
  good = (kOnNullPlatform || measureSyncedCycles()) && good;
  std::vector<Work> works = {
      workOf(kXmlOpen, openWay(kXml),
             {boundOf(boundOpen(kXml)), {"XML service alone", readingAndParsing, kMostOfService}}),
      workOf(kXmlFlush, flushWay(kXml),
             {boundOf(boundFlush(kXml)), {"XML service alone", serializing, kMostOfWriting, 100000}}),
      workOf(kXmlParse, parsing, {}),
      workOf("walk", walking, {boundOf(boundWalk(), kMostOfCopies)}),
      workOf("batch add", adding, {boundOf(boundAdd())}),
      workOf(kTaskListOpen, openWay(kTaskList), {boundOf(boundOpen(kTaskList))}),
      workOf(kTaskListFlush, flushWay(kTaskList), {boundOf(boundFlush(kTaskList))}),
  };
  for (const Work &work : works) good = measure(work) && good;
  return good;
}

}  // namespace bench

int main() {
  // The kernel's share, fresh pages for a heap that has shrunk, is kept out of the figures.
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  mallopt(M_MMAP_THRESHOLD, INT_MAX);
  bench::must(vyxSSIB2LinuxInitBackend());
  const bool isGood = bench::measureAll();
  bench::must(vyxSSIB2LinuxUnloadBackend());
  return isGood ? 0 : 1;
}
