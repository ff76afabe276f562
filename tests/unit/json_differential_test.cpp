// SPDX-License-Identifier: MIT
// Reads and writes generated and damaged task lists with the library and with the literal version, which must agree on
// statuses, values, bytes, messages and calls. A round is made from its number alone, so the one that fails is run
// again by it.
#include <cstdarg>

#include "ssib_if2_backend/list.h"
#include "support/library_test.h"
#include "support/literal_task_list.h"
#include "support/random.h"

namespace test {
namespace {

// ---- Generated lists

const char *const kSpaces[] = {"", "", " ", "\n  ", "\t", " \r\n"};
const char *const kPieces[] = {"a", "dev-01", "UPDATE", "UPDAT", "JobType", "FQDD", "TargetVersion",
                               " ", ":",      ",",      "\\",    "\x80\xFF"};
const char *const kBrackets[] = {"{", "}", "[", "]", "{}", "[]"};

std::string someValue(Random &random) {
  std::string value;
  for (std::uint32_t pieces = random.below(4); pieces != 0; --pieces)
    value += random.oneIn(20) ? random.of(kBrackets) : random.of(kPieces);
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
  std::string list = random.oneIn(30) ? "\"a\" : {}, [" : "{\n  \"SMAJob\":\n  [";
  for (std::uint32_t objects = random.below(3); objects != 0; --objects)
    list += someObject(random) + random.of(kSpaces) + ",";
  return list + "]" + (random.oneIn(30) ? ", \"more\" : {}" : "") + random.of(kSpaces) + "}";
}

void damage(Random &random, std::string &text) {
  const std::size_t at = random.below(static_cast<std::uint32_t>(text.size()) + 1);
  const std::size_t length = random.below(12);
  switch (random.below(4)) {
    case 0:
      if (at < text.size()) text[at] = static_cast<char>(random.oneIn(8) ? 0 : text[at] ^ (1 << random.below(8)));
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
    for (std::optional<std::string> &value : job)
      if (!random.oneIn(4)) value = random.oneIn(200) ? std::string(4000 + random.below(200), 'x') : someValue(random);
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

class JsonDifferential : public LibraryTest {
 protected:
  SSIB2_PRIVATE_DATA listenedHandle() {
    static DEBUG_LOG_PROTOCOL listener = {{}, hear};
    host().forgetEvents();
    said.clear();
    callsSaid = 0;
    SSIB2_PRIVATE_DATA queue = {};
    queue.debugProto = &listener;
    return queue;
  }

  LiteralOutcome libraryReads(const std::string &text) {
    SSIB2_PRIVATE_DATA queue = listenedHandle();
    const char *const bytes = text.c_str();
    std::vector<char> image(bytes, bytes + text.size() + 1);  // of the exact size, so that a look behind it is seen
    const EFI_STATUS status = iParseFromJSON(&queue, image.data());
    LiteralOutcome outcome = {status, literalJobs(queue.ssibEntryListHead), "", said};
    ssib::freeListOf(queue);
    return outcome;
  }

  LiteralOutcome libraryWrites(const std::vector<LiteralJob> &jobs) {
    SSIB2_PRIVATE_DATA queue = listenedHandle();
    std::vector<SSIB_ENTRY_LIST> elements(jobs.size());
    for (std::size_t number = jobs.size(); number-- > 0;) {
      elements[number].next = queue.ssibEntryListHead;
      queue.ssibEntryListHead = &elements[number];
      for (std::size_t row = 0; row < kTaskKeys.size(); ++row) {
        const auto &value = jobs[number][row];
        elements[number].entry.*kTaskKeys[row].member = value ? const_cast<char *>(value->c_str()) : nullptr;
      }
    }
    wchar_t name[] = L"a.json";
    queue.ssibFileName = name;
    const EFI_STATUS status = iFlushToJSON(&queue);
    return {status, {}, jobs.empty() ? "" : host().file(name), said};
  }
};

void expectSame(const LiteralOutcome &actual, const LiteralOutcome &expected, const std::string &label) {
  ASSERT_EQ(actual.status, expected.status) << label;
  ASSERT_EQ(actual.jobs, expected.jobs) << label;
  ASSERT_EQ(actual.bytes, expected.bytes) << label;
  ASSERT_EQ(actual.events, expected.events) << label;
}

TEST_F(JsonDifferential, GeneratedAndDamagedListsReadTheSame) {
  for (std::uint32_t round = 0; round < 200000 && !HasFatalFailure(); ++round) {
    Random random(round);
    std::string text = someList(random);
    for (std::uint32_t damages = random.below(4); damages != 0; --damages) damage(random, text);
    expectSame(libraryReads(text), literallyRead(text), text);
  }
}

TEST_F(JsonDifferential, GeneratedListsAreWrittenTheSame) {
  for (std::uint32_t round = 0; round < 50000 && !HasFatalFailure(); ++round) {
    Random random(round);
    const std::vector<LiteralJob> jobs = someJobs(random);
    expectSame(libraryWrites(jobs), literallyWrite(jobs, "a.json"), "round " + std::to_string(round));
  }
}

}  // namespace
}  // namespace test
