// SPDX-License-Identifier: MIT
// Reading a JSON task list: a scanner of the writer's own form that balances brackets and looks values up by key.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "json/keys.h"
#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/log.h"

namespace ssib {
namespace {

constexpr std::string_view kUpdateJob = "UPDATE";
constexpr char kUpdateFlag[] = "Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag";

const char *findFirst(std::string_view text, char wanted) {
  return static_cast<const char *>(std::memchr(text.data(), wanted, text.size()));
}

// The text from `from` on.
std::string_view rest(std::string_view text, const char *from) {
  text.remove_prefix(static_cast<std::size_t>(from - text.data()));
  return text;
}

// Looks for the character that balances the opening one with which a text begins. Brackets inside values count, too.
class Balance {
 public:
  Balance(char opening, char closing) : opening_(opening), closing_(closing) {}

  // Goes on with the next stretch of the text; null when it does not balance there.
  const char *findIn(std::string_view text) {
    while (const char *end = findFirst(text, closing_)) {
      count({text.data(), end});
      if (--depth_ == 0) return end;
      text = rest(text, end + 1);
    }
    count(text);
    return nullptr;
  }

 private:
  void count(std::string_view text) {
    for (; const char *open = findFirst(text, opening_); text = rest(text, open + 1)) ++depth_;
  }

  char opening_, closing_;
  std::size_t depth_ = 0;
};

// A stretch is read from memory once, however often it is looked through.
const char *findArrayEnd(const char *array) {
  constexpr std::size_t kStretch = 4096;
  Balance balance('[', ']');
  while (true) {
    const std::string_view text(array, strnlen(array, kStretch));
    if (const char *end = balance.findIn(text)) return end;
    if (text.size() < kStretch) return nullptr;
    array += kStretch;
  }
}

// The value of each key of an object: without data where the key is missing, of no size where it has no value. Of
// several occurrences of a quoted key, values that hold one included, the first counts.
using Values = std::array<std::string_view, std::size(kKeys)>;

// What lies between the next two double quotes that follow a key and one character more; they may lie beyond the
// object.
std::string_view valueAfter(const char *keyEnd) {
  const char *opening = keyEnd + 1;  // the quote is a few characters on: a loop finds it before a call would
  while (*opening != '"' && *opening != '\0') ++opening;
  const char *closing = *opening == '\0' ? nullptr : std::strchr(opening + 1, '"');
  return closing == nullptr ? std::string_view(keyEnd, keyEnd) : std::string_view(opening + 1, closing);
}

// Most quotes are known not to begin a key by the character after them.
constexpr auto kBeginsKey = [] {
  std::array<bool, 256> table = {};
  for (const JsonKey &key : kKeys) table[static_cast<unsigned char>(key.quoted[1])] = true;
  return table;
}();

// Notes the key that begins at a quote with a character after it, if it is one and the first of its kind.
void noteKey(std::string_view quote, Values &values) {
  if (!kBeginsKey[static_cast<unsigned char>(quote[1])]) return;
  for (std::size_t key = 0; key < values.size(); ++key) {
    const std::string_view quoted = kKeys[key].quoted;
    if (quote.size() < quoted.size() || quote[quoted.size() - 1] != '"') continue;  // spares most comparisons
    if (values[key].data() != nullptr || !quote.starts_with(quoted)) continue;
    values[key] = valueAfter(quote.data() + quoted.size());
    return;
  }
}

// Like starts_with, without a call: the two ends are compared, which meet or overlap.
bool startsLine(std::string_view text, std::string_view start) {
  constexpr std::size_t kEnd = 16;
  static_assert(std::ranges::all_of(
      kKeys, [](const JsonKey &key) { return key.lineStart.size() >= kEnd && key.lineStart.size() <= 2 * kEnd; }));
  const std::size_t second = start.size() - kEnd;
  return text.size() >= start.size() && std::memcmp(text.data(), start.data(), kEnd) == 0 &&
         std::memcmp(text.data() + second, start.data() + second, kEnd) == 0;
}

// Reads the lines with which an object begins as the writer makes it, and returns the rest, from the last value's
// closing quote on. Of the quotes before that, only those of the keys and of values that are themselves a key's name
// can begin a quoted key: no key goes on with what stands between a value and the next line, nor, whatever that is,
// with the line's blanks.
std::string_view readWrittenLines(std::string_view object, Values &values) {
  std::size_t separator = std::strlen("{\n");
  for (std::size_t key = 0; key < values.size() && object.size() > separator; ++key) {
    const std::string_view line = object.substr(separator);
    const std::string_view start = kKeys[key].lineStart;
    if (!startsLine(line, start)) break;
    const std::string_view value = line.substr(start.size());
    const char *end = findFirst(value, '"');
    if (end == nullptr) break;
    if (values[key].data() == nullptr) values[key] = {value.data(), end};
    noteKey(rest(object, value.data() - 1), values);
    object = rest(object, end);
    separator = std::strlen("\",\n");
  }
  return object;
}

Values findValues(std::string_view object) {
  Values values = {};
  object = readWrittenLines(object, values);
  while (const char *quote = findFirst(object, '"')) {
    object = rest(object, quote);
    if (object.size() == 1) break;
    noteKey(object, values);
    object.remove_prefix(1);
  }
  return values;
}

class TaskListReader {
 public:
  explicit TaskListReader(SSIB2_PRIVATE_DATA &handle) : handle_(handle), tail_(&handle.ssibEntryListHead) {}

  EFI_STATUS read(const char *text) {
    say(L"iParseFromJSON: Enter.");
    if (text == nullptr) return refuse(L"ERROR: invalid parameter 1.");
    const char *array = std::strchr(text, '[');
    if (array == nullptr) return refuse(L"ERROR: invalid parameter 2.");
    const char *arrayEnd = findArrayEnd(array);
    if (arrayEnd == nullptr) return refuse(L"ERROR: invalid parameter 3.");
    const EFI_STATUS status = readObjects(array, arrayEnd);
    handle_.ssibEntryListPtr = handle_.ssibEntryListHead;
    say(L"Exit. %x", status);
    return status;
  }

 private:
  template <typename... Values>
  void say(const wchar_t *format, Values... values) const {
    if (handle_.debugProto != nullptr) logTo(handle_.debugProto, kLibraryTag, format, values...);
  }

  EFI_STATUS refuse(const wchar_t *line) const {
    say(line);
    return EFI_INVALID_PARAMETER;
  }

  // A "{" anywhere after the array is an object that is not closed inside it.
  EFI_STATUS readObjects(const char *at, const char *arrayEnd) {
    while ((at = std::strchr(at, '{')) != nullptr) {
      const auto left = static_cast<std::size_t>(std::max<std::ptrdiff_t>(arrayEnd - at, 0));
      const char *objectEnd = Balance('{', '}').findIn({at, left});
      if (objectEnd == nullptr) return refuse(L"ERROR: unable to locate end of block");
      const EFI_STATUS status = readObject({at, static_cast<std::size_t>(objectEnd - at)});
      if (EFI_ERROR(status)) return status;
      at = objectEnd + 1;
    }
    return EFI_SUCCESS;
  }

  EFI_STATUS readObject(std::string_view object) {
    say(L"INFO: found json entry");
    SSIB_ENTRY_LIST *element = le_new();
    if (element == nullptr) {
      say(L"ERROR: unable to create new entry");
      return EFI_OUT_OF_RESOURCES;
    }
    readValues(findValues(object), element->entry);
    element->priority = SSIB_PRIORITY_FROM_FILE;
    say(L"INFO: before insert");
    append(element);
    say(L"INFO: after insert");
    return EFI_SUCCESS;
  }

  void readValues(const Values &values, SSIB_ENTRY &entry) {
    for (std::size_t at = 0; at < values.size(); ++at) {
      const JsonKey &key = kKeys[at];
      char *value = values[at].empty() ? nullptr : copyText(values[at]);
      if (value == nullptr) continue;
      entry.*key.field.member = value;
      say(key.field.valueLine, value);
      if (key.field.member == &SSIB_ENTRY::Job_Type && values[at].starts_with(kUpdateJob)) flagUpdate();
    }
  }

  void flagUpdate() const {
    const bool isSet = CfgSetAttributeInt(kUpdateFlag, 6, 0) == 0;
    say(isSet ? L"Able to Set the attr %s" : L"ERROR: unable to Set the attr %s", kUpdateFlag);
  }

  // The walk begins at the last element, so that a long list is not walked for each job.
  void append(SSIB_ENTRY_LIST *element) {
    le_insert_tail(tail_, element);
    tail_ = &element->next;
  }

  SSIB2_PRIVATE_DATA &handle_;
  SSIB_LINK *tail_;
};

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iParseFromJSON(SSIB2_PRIVATE_DATA *SSIB2, const char *text) {
  if (SSIB2 == nullptr) return EFI_INVALID_PARAMETER;
  return ssib::TaskListReader(*SSIB2).read(text);
}

}  // extern "C"
