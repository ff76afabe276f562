// SPDX-License-Identifier: MIT
// Random sequences of calls on three handles and four files, each made on the library and on the model of it. A sequence
// that tells the two apart is cut down to the calls that matter and printed. MODEL_SEQUENCES sets how many are run,
// MODEL_SEED the first one's seed.
#include <algorithm>
#include <cstdlib>

#include "ssib_if2_backend/entry.h"
#include "support/describe.h"
#include "support/library_test.h"
#include "support/model.h"
#include "support/random.h"

namespace test {
namespace {

constexpr const char *kFiles[] = {"Main.ssib", "sub.ssib", "BIOS_task_list.json", "sub.json"};
constexpr std::uint32_t kHandles = 3;

// The library and the model side by side, on a platform of their own.
struct World {
  World() {
    resetPlatform();
    for (SSIB2_PRIVATE_DATA &handle : handles) Protocol2Constructor(&handle);
  }
  ~World() {
    for (SSIB2_PRIVATE_DATA &handle : handles) {
      while (handle.openCount != 0) iCloseSSIB(&handle);
      std::free(handle.ssibFileName);
    }
  }
  World(const World &) = delete;

  SSIB2_PRIVATE_DATA handles[kHandles] = {};
  ModelHandle modelHandles[kHandles];
  Model model;
};

std::string describe(const ModelJob &job) {
  return textOf(ModelRecord(job).entry) + " mask=" + std::to_string(job.fieldMask) +
         " priority=" + std::to_string(job.priority);
}

std::string difference(const SSIB2_PRIVATE_DATA &handle, const ModelHandle &expected) {
  if (handle.openCount != expected.openCount || (handle.mode == SSIB_MODE_BIOS_SMA) != expected.isTaskList)
    return "open count or mode";
  const wchar_t *name = handle.ssibFileName;
  if ((name == nullptr) != !expected.name || (name != nullptr && name != wide(*expected.name))) return "file name";
  const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead;
  for (auto job = expected.jobs.begin();; ++job, element = element->next) {
    if ((element == handle.ssibEntryListPtr) != (job == expected.cursor)) return "cursor";
    if ((element == nullptr) != (job == expected.jobs.end())) return "length of the list";
    if (element == nullptr) return "";
    ModelJob actual = valueOf(element->entry);
    actual.fieldMask = element->fieldMask;
    actual.priority = element->priority;
    if (actual != *job) return describe(actual) + " instead of " + describe(*job);
  }
}

std::string difference(const World &world) {
  for (std::size_t i = 0; i < kHandles; ++i) {
    const std::string found = difference(world.handles[i], world.modelHandles[i]);
    if (!found.empty()) return "handle " + std::to_string(i) + ": " + found;
  }
  std::map<std::string, std::string> files;
  for (const auto &[name, file] : world.model.files) files["VAR025/" + name] = file.text;
  if (files != platform().files) return "files";
  std::erase(platform().calls, "DeleteTree");
  if (platform().calls != world.model.calls) return "calls of the platform";
  return platform().openStreams == 0 ? "" : "an open stream";
}

// ---- The calls: each is made on both, and says what the library answered and what it should have.

// A call. Each kind looks at what it needs.
struct Call {
  std::string kind;
  std::uint32_t handle = 0;
  std::string file;
  std::vector<ModelJob> jobs;
  std::uint32_t number = 0;  // add location; whether a merge deletes; which of the list's jobs is the key
  std::uint32_t mask = 0;
  Fault fault = {"none"};
  bool failWrites = false;
};

struct Result {
  EFI_STATUS actual = EFI_SUCCESS, expected = EFI_SUCCESS;
  ModelJob actualJob{}, expectedJob{};
};

using Sequence = std::vector<Call>;

// A job of the list, a near miss of one, or one of the caller's own.
ModelJob keyOf(const ModelList &jobs, const Call &given) {
  const ModelJob &own = given.jobs[0];
  if (jobs.empty() || given.number % 8 == 0) return own;
  ModelJob key = *std::next(jobs.begin(), static_cast<std::ptrdiff_t>(given.number % jobs.size()));
  if (given.number % 8 > 3) return key;
  const std::size_t field = given.mask / 2 % (key.texts.size() + key.numbers.size());
  if (field >= key.texts.size()) {
    key.numbers[field - key.texts.size()] = own.numbers[field - key.texts.size()];
  } else if (given.mask % 2 == 0 && key.texts[field]) {
    *key.texts[field] += "+";
  } else {
    key.texts[field] = own.texts[field];
  }
  return key;
}

Result read(SSIB2_PRIVATE_DATA *handle, ModelHandle &queue, const Model &model, bool advances) {
  SSIB_ENTRY entry = {};
  Result result;
  result.actual = (advances ? iGetSSIBNextEntry : iPeekSSIBNextEntry)(handle, &entry);
  result.expected = model.read(queue, advances, &result.expectedJob);
  result.actualJob = valueOf(entry);
  ssib::releaseContents(handle->XMLProto, entry);
  return result;
}

Result add(SSIB2_PRIVATE_DATA *handle, ModelHandle &queue, Model &model, const Call &given) {
  std::list<ModelRecord> records;
  std::vector<SSIB_ENTRY *> entries;
  for (const ModelJob &job : given.jobs) entries.push_back(&records.emplace_back(job).entry);
  const auto count = static_cast<std::uint32_t>(entries.size());
  return {iAddToSSIBQueue(handle, count, entries.data(), given.mask, given.number),
          model.add(queue, given.jobs, given.mask, given.number)};
}

// How often a kind stands here is how often it is made. With put, a file appears.
const std::string kKinds[] = {
    "open",   "open",   "open",   "close",   "close",   "flush",           "get",   "peek", "add", "add", "add",
    "delete", "delete", "remove", "replace", "replace", "delete the file", "merge", "put"};

Result make(World &world, const Call &given) {
  SSIB2_PRIVATE_DATA *handle = &world.handles[given.handle];
  ModelHandle &queue = world.modelHandles[given.handle];
  Model &model = world.model;
  const std::string &kind = given.kind, &file = given.file;
  const std::wstring wideName = wide(file);
  const wchar_t *name = wideName.c_str();
  const ModelJob key = keyOf(queue.jobs, given), &renewed = given.jobs.back();
  ModelRecord keyRecord(key), renewedRecord(renewed);
  const std::uint32_t deletes = given.number & 1;
  if (kind == "open") return {iOpenSSIB(handle, name), model.open(queue, file)};
  if (kind == "close") return {iCloseSSIB(handle), model.close(queue)};
  if (kind == "flush") return {iFlushSSIBQueue(handle), model.flush(queue)};
  if (kind == "get" || kind == "peek") return read(handle, queue, model, kind == "get");
  if (kind == "add") return handle->openCount == 0 ? Result() : add(handle, queue, model, given);
  if (kind == "delete") return {iDeleteSSIBEntry(handle, &keyRecord.entry), model.erase(queue, key)};
  if (kind == "remove") return {iRemoveFromSSIBQueue(handle, &keyRecord.entry), model.remove(queue, key)};
  if (kind == "replace")
    return {iReplaceSSIBEntry(handle, &keyRecord.entry, &renewedRecord.entry), model.replace(queue, key, renewed)};
  if (kind == "delete the file") return {iDeleteSSIB(handle, name), model.deleteFile(file)};
  if (kind == "merge") return {iMergeToMain(handle, name, deletes), model.merge(file, deletes != 0)};
  model.put(file, {given.jobs.begin(), given.jobs.end()}, given.number % 4 == 0);
  if (model.files.contains(file)) platform().files["VAR025/" + file] = model.files[file].text;
  return {};
}

std::string describe(const Call &given) {
  const auto &[kind, handle, file, jobs, number, mask, fault, failWrites] = given;
  std::string text = kind + ": handle " + std::to_string(handle) + ", " + file + ", number " + std::to_string(number) +
                     ", mask " + std::to_string(mask) + (failWrites ? ", writes fail" : "");
  for (const ModelJob &job : jobs) text += "\n      " + describe(job);
  if (fault.prefix == "none") return text;
  return text + "\n      call " + std::to_string(fault.nth) + " of \"" + fault.prefix + "\" answers " +
         std::to_string(fault.status);
}

// Makes one call; returns what differed, or nothing.
std::string step(World &world, const Call &given) {
  Platform &host = platform();
  host.forgetEvents();
  host.fault = given.fault;
  host.failWrites = world.model.failWrites = given.failWrites;
  world.model.calls.clear();
  world.model.fault = given.fault;
  vyxSsibDebug = nullptr;  // nobody reads what a thousand calls have to say
  const Result result = make(world, given);
  if (result.actual != result.expected)
    return "status " + std::to_string(result.actual) + " instead of " + std::to_string(result.expected);
  return result.actualJob == result.expectedJob ? difference(world) : "the job that was read";
}

std::string run(const Sequence &sequence) {
  const std::size_t live = heap::live();
  {
    World world;
    for (const Call &call : sequence) {
      const std::string found = step(world, call);
      if (!found.empty()) return call.kind + ": " + found;
    }
  }
  return heap::live() == live ? "" : "blocks left behind";
}

Sequence shrink(Sequence sequence) {
  for (auto at = static_cast<std::ptrdiff_t>(sequence.size()); at-- > 0;) {
    Sequence shorter = sequence;
    shorter.erase(shorter.begin() + at);
    if (!run(shorter).empty()) sequence = shorter;
  }
  return sequence;
}

// ---- Random sequences.

// A common job is one that deleting can find; the others have anything in any field, often a text of all the bytes that
// count or of one less.
ModelJob someJob(Random &random) {
  static const std::uint32_t values[] = {0, 1, 200, 600, 70000, 0x80000001};
  static const std::uint32_t limits[] = {~0U, 1, 0xFFFF, 0xFF, 0xFF, ~0U, ~0U, 0xFFFF};
  static const std::string texts[] = {"a", "b", "", "UPDATE", "UPDATES", " a <&> b "};
  static const std::size_t counted[] = {64, 256, 256, 16, 256, 16, 256, 256, 256, 256, 256};
  static const std::string commands[] = {"", "a", "\"", "\"a", "\"cut", "\"cut\"", "\"\"cut\"\"", "a <&> b", "\x01"};
  const bool isCommon = random.oneIn(2);
  ModelJob made;
  for (std::size_t i = 0; i < made.numbers.size(); ++i)
    made.numbers[i] = isCommon && limits[i] != 1 ? 0 : random.of(values) & limits[i];
  for (std::size_t i = 0; i < made.texts.size(); ++i) {
    const bool isLong = random.oneIn(3);
    if (!isCommon && random.oneIn(4)) continue;
    made.texts[i] = isCommon ? texts[random.below(2)]
                    : isLong ? std::string(counted[i] - random.below(2), 'c')
                             : random.of(texts);
  }
  if (random.oneIn(4)) made.texts[1] = random.of(commands);
  if (random.oneIn(4)) made.node.assign(1 + random.below(2), random.oneIn(2) ? "extra" : "more");
  if (!made.node.empty() && random.oneIn(2)) made.texts[1].reset();
  return made;
}

Fault someFault(Random &random) {
  static const char *const prefixes[] = {
      "open", "open", "open VAR025/Main.ssib w", "close", "CreateNode", "SerializeTree", "ParseImage", "delete"};
  static const EFI_STATUS statuses[] = {EFI_ACCESS_DENIED, EFI_DEVICE_ERROR, EFI_NOT_FOUND};
  return {random.of(prefixes), 1 + random.below(6), random.of(statuses)};
}

Sequence someSequence(Random random) {
  Sequence calls(10 + random.below(25));
  for (Call &given : calls) {
    given.kind = random.of(kKinds);
    given.handle = random.below(kHandles);
    given.file = random.of(kFiles);
    given.jobs.resize(1 + random.below(3));
    for (ModelJob &job : given.jobs) job = someJob(random);
    given.number = random.below(random.oneIn(8) ? 1000 : 6);
    given.mask = random.below(0x80);
    if (random.oneIn(4)) given.fault = someFault(random);
    given.failWrites = random.oneIn(16);
  }
  return calls;
}

std::uint32_t setting(const char *name, std::uint32_t otherwise) {
  const char *value = std::getenv(name);
  return value == nullptr ? otherwise : static_cast<std::uint32_t>(std::strtoul(value, nullptr, 10));
}

class ModelTest : public LibraryTest {};

TEST_F(ModelTest, AgreesWithTheLibraryOnEverySequence) {
  const std::uint32_t first = setting("MODEL_SEED", 1), count = setting("MODEL_SEQUENCES", 5000);
  for (std::uint32_t seed = first; seed != first + count; ++seed) {
    const Sequence sequence = someSequence(Random(seed));
    if (run(sequence).empty()) continue;
    const Sequence shortest = shrink(sequence);
    std::string calls;
    for (const Call &call : shortest) calls += "\n  " + describe(call);
    FAIL() << "seed " << seed << ": " << run(shortest) << calls;
  }
}

}  // namespace
}  // namespace test
