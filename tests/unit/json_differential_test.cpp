// SPDX-License-Identifier: MIT
// Reads and writes generated and damaged task lists with the library and with the literal version, which must agree on
// statuses, values, bytes, messages and calls. A round is made from its number alone, so the one that fails is run
// again by it.
#include <cstdarg>
#include <cstdint>

#include "ssib_if2_backend/list.h"
#include "support/library_test.h"
#include "support/literal_task_list.h"

namespace test {
namespace {

class Random {
 public:
  explicit Random(std::uint32_t seed) : state_(seed * 0x9E3779B9U + 1) {}
  std::uint32_t below(std::uint32_t limit) {
    state_ ^= state_ << 13U;
    state_ ^= state_ >> 17U;
    state_ ^= state_ << 5U;
    return state_ % limit;
  }
  bool oneIn(std::uint32_t count) { return below(count) == 0; }
  template <typename Table>
  const auto &of(const Table &table) {
    return table[below(static_cast<std::uint32_t>(std::size(table)))];
  }

 private:
  std::uint32_t state_;
};

// ---- Generated lists

const char *const kSpaces[] = {"", "", " ", "\n  ", "\t", " \r\n"};
const char *const kPieces[] = {"a", "dev-01", "UPDATE", "UPDAT", "JobType", "FQDD", "TargetVersion",
                               " ", ":",      ",",      "\\",    "\x80\xFF"};
const char *const kBrackets[] = {"{", "}", "[", "]", "{}", "[]"};

std::string someValue(Random &random) {
  std::string value;
  for (std::uint32_t pieces = random.below(4); pieces != 0; --pieces) {
    value += random.oneIn(20) ? random.of(kBrackets) : random.of(kPieces);
  }
  return value;
}

std::string someMember(Random &random, const char *key) {
  const std::string front = std::string("\"") + key + "\"" + random.of(kSpaces) + ":" + random.of(kSpaces);
  if (random.oneIn(20)) return front + "17";
  if (random.oneIn(20)) return front + "{" + random.of(kSpaces) + "\"FQDD\" : [\"" + someValue(random) + "\"]}";
  return front + "\"" + someValue(random) + "\"";
}

std::string someObject(Random &random) {
  std::string object = "{";
  const bool shuffled = random.oneIn(2);
  for (const TaskKey &row : kTaskKeys) {
    if (random.oneIn(6)) continue;
    object += random.of(kSpaces) + someMember(random, shuffled ? random.of(kTaskKeys).key : row.key) + ",";
  }
  return object + random.of(kSpaces) + "}";
}

std::string someList(Random &random) {
  std::string list = random.oneIn(30) ? "\"a\" : {}, " : "{\n  \"SMAJob\":\n  ";
  list += "[";
  for (std::uint32_t objects = random.below(3); objects != 0; --objects)
    list += someObject(random) + random.of(kSpaces) + ",";
  return list + "]" + (random.oneIn(30) ? ", \"more\" : {}" : "") + random.of(kSpaces) + "}";
}

void damage(Random &random, std::string &text) {
  const std::size_t at = random.below(static_cast<std::uint32_t>(text.size()) + 1);
  const std::size_t length = random.below(12);
  switch (random.below(4)) {
    case 0:
      if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << random.below(8)));
      break;
    case 1:
      text.erase(at, random.oneIn(8) ? std::string::npos : length);
      break;
    case 2:
      text.insert(at, random.oneIn(2) ? random.of(kBrackets) : "\"");
      break;
    default:
      text.insert(at, text.substr(random.below(static_cast<std::uint32_t>(at) + 1), length * 4));
  }
}

std::vector<LiteralJob> someJobs(Random &random) {
  std::vector<LiteralJob> jobs(random.oneIn(20) ? random.below(40) : random.below(4));
  for (LiteralJob &job : jobs) {
    for (std::optional<std::string> &value : job) {
      if (!random.oneIn(4)) value = random.oneIn(200) ? std::string(4000 + random.below(200), 'x') : someValue(random);
    }
  }
  return jobs;
}

// ---- The library, with a debug log that costs little

std::string said;
std::size_t callsSaid;

// Calls are noted with the next message, so the order of both is kept.
void hear(std::uint32_t, const char *, const wchar_t *format, ...) {
  for (; callsSaid < platform().calls.size(); ++callsSaid) said += platform().calls[callsSaid] + "\n";
  va_list values;
  va_start(values, format);
  for (; *format != 0; ++format) {
    if (*format != '%') {
      said += static_cast<char>(*format);
    } else if (*++format == 's') {
      said += va_arg(values, const char *);
    } else {
      char digits[16];
      std::snprintf(digits, sizeof(digits), "%x", va_arg(values, unsigned));
      said += digits;
    }
  }
  va_end(values);
  said += '\n';
}

DEBUG_LOG_PROTOCOL listener = {{}, hear};

SSIB2_PRIVATE_DATA listenedHandle() {
  platform().forgetEvents();
  said.clear();
  callsSaid = 0;
  SSIB2_PRIVATE_DATA handle = {};
  handle.debugProto = &listener;
  return handle;
}

LiteralOutcome libraryReads(const std::string &text) {
  SSIB2_PRIVATE_DATA handle = listenedHandle();
  std::vector<char> image(text.begin(), text.end());  // of the exact size, so that a look behind it is seen
  image.push_back('\0');
  image.shrink_to_fit();
  LiteralOutcome outcome;
  outcome.status = iParseFromJSON(&handle, image.data());
  outcome.events = said;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    outcome.jobs.push_back(literalJob(element->entry));
  }
  ssib::le_free_list(nullptr, handle.ssibEntryListHead);
  return outcome;
}

LiteralOutcome libraryWrites(const std::vector<LiteralJob> &jobs) {
  SSIB2_PRIVATE_DATA handle = listenedHandle();
  std::vector<SSIB_ENTRY_LIST> elements(jobs.size());
  for (std::size_t number = jobs.size(); number-- > 0;) {
    elements[number].next = handle.ssibEntryListHead;
    handle.ssibEntryListHead = &elements[number];
    for (std::size_t row = 0; row < kTaskKeys.size(); ++row) {
      const auto &value = jobs[number][row];
      elements[number].entry.*kTaskKeys[row].member = value ? const_cast<char *>(value->c_str()) : nullptr;
    }
  }
  wchar_t name[] = L"a.json";
  handle.ssibFileName = name;
  LiteralOutcome outcome;
  outcome.status = iFlushToJSON(&handle);
  outcome.events = said;
  outcome.bytes = jobs.empty() ? "" : platform().file(name);
  return outcome;
}

class JsonDifferential : public LibraryTest {};

void expectSameReading(const std::string &text, const std::string &label) {
  const LiteralOutcome expected = literallyRead(text);
  const LiteralOutcome actual = libraryReads(text);
  ASSERT_EQ(actual.status, expected.status) << label << "\n" << text;
  ASSERT_EQ(actual.jobs, expected.jobs) << label << "\n" << text;
  ASSERT_EQ(actual.events, expected.events) << label << "\n" << text;
}

TEST_F(JsonDifferential, GeneratedAndDamagedListsReadTheSame) {
  for (std::uint32_t round = 0; round < 200000 && !HasFatalFailure(); ++round) {
    Random random(round);
    std::string text = someList(random);
    for (std::uint32_t damages = random.below(4); damages != 0; --damages) damage(random, text);
    expectSameReading(text, "round " + std::to_string(round));
  }
}

TEST_F(JsonDifferential, AListWithAnyBitFlippedOrAnyByteReplacedReadsTheSame) {
  const std::string good = literallyWrite({{"UPDATE", "name", "fqdd", "id"}, {"a", {}, "fqdd"}}, "a.json").bytes;
  for (std::size_t at = 0; at < good.size() && !HasFatalFailure(); ++at) {
    std::string text = good;
    for (int bit = 0; bit < 8; ++bit) {
      text[at] = static_cast<char>(good[at] ^ (1 << bit));
      expectSameReading(text, "flipped at " + std::to_string(at));
    }
    for (const char byte : {'\0', '"', '[', ']', '{', '}'}) {
      text[at] = byte;
      expectSameReading(text, "replaced at " + std::to_string(at));
    }
  }
}

TEST_F(JsonDifferential, GeneratedListsAreWrittenTheSame) {
  for (std::uint32_t round = 0; round < 50000 && !HasFatalFailure(); ++round) {
    Random random(round);
    const std::vector<LiteralJob> jobs = someJobs(random);
    const LiteralOutcome expected = literallyWrite(jobs, "a.json");
    const LiteralOutcome actual = libraryWrites(jobs);
    ASSERT_EQ(actual.status, expected.status) << round;
    ASSERT_EQ(actual.bytes, expected.bytes) << round;
    ASSERT_EQ(actual.events, expected.events) << round;
  }
}

}  // namespace
}  // namespace test
