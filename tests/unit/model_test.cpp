// SPDX-License-Identifier: MIT
// Random sequences of calls on three handles and four files, each made on the library and on the model of it. A sequence
// that tells the two apart is cut down to the calls that matter and printed. MODEL_SEQUENCES sets how many are run,
// MODEL_SEED the first one's seed.
#include <algorithm>
#include <cstdlib>
#include <random>

#include "ssib_if2_backend/entry.h"
#include "support/library_test.h"
#include "support/model.h"

namespace test {
namespace {

constexpr const char *kFiles[] = {"Main.ssib", "sub.ssib", "BIOS_task_list.json", "sub.json"};
constexpr std::size_t kHandles = 3;

std::wstring wide(const std::string &name) {
  return {name.begin(), name.end()};
}

// What a call is given. Each kind of call looks at what it needs.
struct Arguments {
  std::size_t handle = 0;
  std::string file;
  std::vector<ModelJob> jobs;
  std::uint32_t number = 0;  // add location; whether a merge deletes; which of the list's jobs is the key
  std::uint32_t mask = 0;
  Platform::Fault fault{};
  bool failWrites = false;
};

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
  World &operator=(const World &) = delete;

  SSIB2_PRIVATE_DATA handles[kHandles] = {};
  ModelHandle modelHandles[kHandles];
  Model model;
};

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
  std::map<std::wstring, std::string> files;
  for (const auto &[name, file] : world.model.files) files[L"VAR025/" + wide(name)] = file.text;
  if (files != platform().files) return "files";
  std::erase(platform().calls, "DeleteTree");
  if (platform().calls != world.model.calls) return "calls of the platform";
  return platform().openStreams == 0 ? "" : "an open stream";
}

// ---- The calls: each is made on both, and says what the library answered and what it should have.

struct Result {
  EFI_STATUS actual = EFI_SUCCESS, expected = EFI_SUCCESS;
  ModelJob actualJob{}, expectedJob{};
};

struct Step {
  const Arguments &given;
  SSIB2_PRIVATE_DATA *handle;
  ModelHandle &queue;
  Model &model;
  std::wstring name;
  ModelJob key;
};

// A job of the list, a near miss of one, or one of the caller's own.
ModelJob keyOf(const ModelList &jobs, const Arguments &given) {
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

Result put(const Step &s) {
  s.model.put(s.given.file, {s.given.jobs.begin(), s.given.jobs.end()}, s.given.number % 4 == 0);
  if (s.model.files.contains(s.given.file)) platform().setFile(s.name, s.model.files[s.given.file].text);
  return {};
}

Result read(const Step &s, bool advances) {
  SSIB_ENTRY entry = {};
  Result result;
  result.actual = (advances ? iGetSSIBNextEntry : iPeekSSIBNextEntry)(s.handle, &entry);
  result.expected = s.model.read(s.queue, advances, &result.expectedJob);
  result.actualJob = valueOf(entry);
  ssib::releaseContents(s.handle->XMLProto, entry);
  return result;
}

Result add(const Step &s) {
  if (s.handle->openCount == 0) return {};
  std::list<ModelRecord> records;
  std::vector<SSIB_ENTRY *> entries;
  for (const ModelJob &job : s.given.jobs) entries.push_back(records.emplace_back(job).get());
  const auto count = static_cast<std::uint32_t>(entries.size());
  return {iAddToSSIBQueue(s.handle, count, entries.data(), s.given.mask, s.given.number),
          s.model.add(s.queue, s.given.jobs, s.given.mask, s.given.number)};
}

Result replace(const Step &s) {
  const ModelJob &renewed = s.given.jobs.back();
  return {iReplaceSSIBEntry(s.handle, ModelRecord(s.key).get(), ModelRecord(renewed).get()),
          s.model.replace(s.queue, s.key, renewed)};
}

Result merge(const Step &s) {
  const std::uint32_t deletes = s.given.number & 1;
  return {iMergeToMain(s.handle, s.name.c_str(), deletes), s.model.merge(s.given.file, deletes != 0)};
}

struct Kind {
  const char *name;
  unsigned weight;
  Result (*make)(const Step &);
};
constexpr Kind kKinds[] = {
    {"a file appears", 1, put},
    {"open", 3,
     [](const Step &s) {
       return Result{iOpenSSIB(s.handle, s.name.c_str()), s.model.open(s.queue, s.given.file)};
     }},
    {"close", 2,
     [](const Step &s) {
       return Result{iCloseSSIB(s.handle), s.model.close(s.queue)};
     }},
    {"flush", 1,
     [](const Step &s) {
       return Result{iFlushSSIBQueue(s.handle), s.model.flush(s.queue)};
     }},
    {"get", 1, [](const Step &s) { return read(s, true); }},
    {"peek", 1, [](const Step &s) { return read(s, false); }},
    {"add", 3, add},
    {"delete", 2,
     [](const Step &s) {
       return Result{iDeleteSSIBEntry(s.handle, ModelRecord(s.key).get()), s.model.erase(s.queue, s.key)};
     }},
    {"remove", 1,
     [](const Step &s) {
       return Result{iRemoveFromSSIBQueue(s.handle, ModelRecord(s.key).get()), s.model.remove(s.queue, s.key)};
     }},
    {"replace", 2, replace},
    {"delete file", 1,
     [](const Step &s) {
       return Result{iDeleteSSIB(s.handle, s.name.c_str()), s.model.deleteFile(s.given.file)};
     }},
    {"merge", 1, merge},
};

struct Call {
  const Kind *kind;
  Arguments arguments;
};
using Sequence = std::vector<Call>;

std::string describe(const Call &call) {
  const Arguments &given = call.arguments;
  std::string text = std::string(call.kind->name) + ": handle " + std::to_string(given.handle) + ", " + given.file +
                     ", number " + std::to_string(given.number) + ", mask " + std::to_string(given.mask) +
                     (given.failWrites ? ", writes fail" : "");
  for (const ModelJob &job : given.jobs) text += "\n      " + describe(job);
  if (given.fault.nth == 0) return text;
  return text + "\n      call " + std::to_string(given.fault.nth) + " of \"" + given.fault.prefix + "\" answers " +
         std::to_string(given.fault.answer.status);
}

// Makes one call; returns what differed, or nothing.
std::string step(World &world, const Call &call) {
  Platform &host = platform();
  const Arguments &given = call.arguments;
  host.forgetEvents();
  host.faults.assign(given.fault.nth == 0 ? 0 : 1, given.fault);
  host.failWrites = world.model.failWrites = given.failWrites;
  world.model.calls.clear();
  world.model.fault = given.fault;
  vyxSsibDebug = nullptr;  // nobody reads what a thousand calls have to say
  ModelHandle &queue = world.modelHandles[given.handle];
  const Result result = call.kind->make(
      {given, &world.handles[given.handle], queue, world.model, wide(given.file), keyOf(queue.jobs, given)});
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
      if (!found.empty()) return call.kind->name + std::string(": ") + found;
    }
  }
  return heap::live() == live ? "" : "blocks left behind";
}

Sequence shrink(Sequence sequence) {
  for (std::size_t at = 0; at < sequence.size();) {
    Sequence shorter = sequence;
    shorter.erase(shorter.begin() + static_cast<std::ptrdiff_t>(at));
    const bool stillFails = !run(shorter).empty();
    if (stillFails) sequence = shorter;
    at = stillFails ? 0 : at + 1;
  }
  return sequence;
}

// ---- Random sequences.

class Generator {
 public:
  explicit Generator(std::uint32_t seed) : random_(seed) {}

  Sequence sequence() {
    std::vector<const Kind *> kinds;
    for (const Kind &kind : kKinds) kinds.insert(kinds.end(), kind.weight, &kind);
    Sequence calls(10 + below(25));
    for (Call &call : calls) call = {kinds[below(kinds.size())], arguments()};
    return calls;
  }

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }
  template <typename T, std::size_t N>
  const T &pick(const T (&values)[N]) {
    return values[below(N)];
  }

  // A common job is one that deleting can find; the others have anything in any field.
  ModelJob job() {
    static const std::uint32_t values[] = {0, 1, 200, 600, 70000, 0x80000001};
    static const std::uint32_t limits[] = {~0U, 1, 0xFFFF, 0xFF, 0xFF, ~0U, ~0U, 0xFFFF};
    static const std::string texts[] = {"",
                                        "a",
                                        "b",
                                        "UPDATE",
                                        "UPDATES",
                                        " a <&> b ",
                                        std::string(15, 'c'),
                                        std::string(16, 'c'),
                                        std::string(63, 'l'),
                                        std::string(64, 'l'),
                                        std::string(255, 'm'),
                                        std::string(256, 'm')};
    static const std::string commands[] = {"", "a", "\"", "\"cut\"", "a <&> b", "\x01"};
    const bool isCommon = below(2) == 0;
    ModelJob made;
    for (std::size_t i = 0; i < made.numbers.size(); ++i) made.numbers[i] = isCommon ? 0 : pick(values) & limits[i];
    for (auto &text : made.texts) {
      if (isCommon || below(4) != 0) text = isCommon ? texts[1 + below(2)] : pick(texts);
    }
    if (below(4) == 0) made.texts[1] = pick(commands);
    if (below(4) == 0) made.node.assign(1 + below(2), below(2) == 0 ? "extra" : "more");
    if (!made.node.empty() && below(2) == 0) made.texts[1].reset();
    return made;
  }

  Platform::Fault fault() {
    static const char *const prefixes[] = {
        "open", "open", "open VAR025/Main.ssib w", "close", "CreateNode", "SerializeTree", "ParseImage", "delete"};
    static const EFI_STATUS statuses[] = {EFI_ACCESS_DENIED, EFI_DEVICE_ERROR, EFI_NOT_FOUND};
    return {pick(prefixes), 1 + below(6), {pick(statuses), false}, 0};
  }

  Arguments arguments() {
    Arguments made{.handle = below(kHandles), .file = pick(kFiles), .jobs = std::vector<ModelJob>(1 + below(3))};
    for (ModelJob &each : made.jobs) each = job();
    made.number = static_cast<std::uint32_t>(below(8) == 0 ? below(1000) : below(6));
    made.mask = static_cast<std::uint32_t>(below(0x80));
    if (below(4) == 0) made.fault = fault();
    made.failWrites = below(16) == 0;
    return made;
  }

  std::mt19937 random_;
};

#ifdef __arm__
constexpr std::uint32_t kSequences = 1500;  // under an emulator, most likely
#else
constexpr std::uint32_t kSequences = 6000;
#endif

std::uint32_t setting(const char *name, std::uint32_t otherwise) {
  const char *value = std::getenv(name);
  return value == nullptr ? otherwise : static_cast<std::uint32_t>(std::strtoul(value, nullptr, 10));
}

class ModelTest : public LibraryTest {};

TEST_F(ModelTest, AgreesWithTheLibraryOnEverySequence) {
  const std::uint32_t first = setting("MODEL_SEED", 1), count = setting("MODEL_SEQUENCES", kSequences);
  std::printf("%u sequences, seeds from %u on\n", count, first);
  for (std::uint32_t seed = first; seed != first + count; ++seed) {
    const Sequence sequence = Generator(seed).sequence();
    if (run(sequence).empty()) continue;
    const Sequence shortest = shrink(sequence);
    std::string calls;
    for (const Call &call : shortest) calls += "\n  " + describe(call);
    FAIL() << "seed " << seed << ", sequence " << seed - first + 1 << ": " << run(shortest) << calls;
  }
}

}  // namespace
}  // namespace test
