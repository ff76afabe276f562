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

constexpr char kUpdateJob[] = "UPDATE";
constexpr char kUpdateFlag[] = "Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag";

const char *findIn(std::string_view text, char wanted) {
  return static_cast<const char *>(std::memchr(text.data(), wanted, text.size()));
}

// The text from `from` on.
std::string_view rest(std::string_view text, const char *from) {
  text.remove_prefix(static_cast<std::size_t>(from - text.data()));
  return text;
}

// The character that balances the opening one with which the text begins; null when there is none. Brackets inside
// values count, too.
const char *findBalance(std::string_view text, char opening, char closing) {
  std::size_t depth = 0;
  while (const char *end = findIn(text, closing)) {
    std::string_view before(text.data(), end);
    for (; const char *open = findIn(before, opening); before = rest(before, open + 1)) ++depth;
    if (--depth == 0) return end;
    text = rest(text, end + 1);
  }
  return nullptr;
}

// Where each key of an object ends, null where it is missing. Of several occurrences of a quoted key, values that hold
// one included, the first counts.
using KeyEnds = std::array<const char *, std::size(kKeys)>;

// Notes the key with which the text begins, if it is one and the first of its kind.
void noteKey(std::string_view text, KeyEnds &ends) {
  for (std::size_t key = 0; key < ends.size(); ++key) {
    const std::string_view quoted = kKeys[key].quoted;
    if (text[1] != quoted[1] || ends[key] != nullptr || !text.starts_with(quoted)) continue;
    ends[key] = text.data() + quoted.size();
    return;
  }
}

// Most quotes are known not to begin a key by the character after them.
constexpr auto kBeginsKey = [] {
  std::array<bool, 256> table = {};
  for (const JsonKey &key : kKeys) table[static_cast<unsigned char>(key.quoted[1])] = true;
  return table;
}();

KeyEnds findKeys(std::string_view object) {
  KeyEnds ends = {};
  while (const char *quote = findIn(object, '"')) {
    object = rest(object, quote);
    if (object.size() == 1) break;
    if (kBeginsKey[static_cast<unsigned char>(object[1])]) noteKey(object, ends);
    object.remove_prefix(1);
  }
  return ends;
}

// A copy of the text between the next two double quotes that follow a key and one character more; they may lie beyond
// the object. Null when there are none, when nothing is between them, and when there is no memory.
char *copyValue(const char *keyEnd) {
  const char *opening = keyEnd + 1;  // the quote is a few characters on: a loop finds it before a call would
  while (*opening != '"' && *opening != '\0') ++opening;
  if (*opening == '\0' || opening[1] == '"') return nullptr;
  const char *closing = std::strchr(opening + 1, '"');
  return closing == nullptr ? nullptr : copyText(std::string_view(opening + 1, closing));
}

class TaskListReader {
 public:
  explicit TaskListReader(SSIB2_PRIVATE_DATA &handle) : handle_(handle), tail_(&handle.ssibEntryListHead) {}

  EFI_STATUS read(const char *text) {
    say(L"iParseFromJSON: Enter.");
    if (text == nullptr) return refuse(L"ERROR: invalid parameter 1.");
    const char *array = std::strchr(text, '[');
    if (array == nullptr) return refuse(L"ERROR: invalid parameter 2.");
    const char *arrayEnd = findBalance(array, '[', ']');
    if (arrayEnd == nullptr) return refuse(L"ERROR: invalid parameter 3.");
    const EFI_STATUS status = readObjects(array, arrayEnd);
    handle_.ssibEntryListPtr = handle_.ssibEntryListHead;
    say(L"Exit. %x", status);
    return status;
  }

 private:
  template <typename... Values>
  void say(const wchar_t *format, Values... values) const {
    logTo(handle_.debugProto, kLibraryTag, format, values...);
  }

  EFI_STATUS refuse(const wchar_t *line) const {
    say(line);
    return EFI_INVALID_PARAMETER;
  }

  // A "{" anywhere after the array is an object that is not closed inside it.
  EFI_STATUS readObjects(const char *at, const char *arrayEnd) {
    while ((at = std::strchr(at, '{')) != nullptr) {
      const auto left = static_cast<std::size_t>(std::max<std::ptrdiff_t>(arrayEnd - at, 0));
      const char *objectEnd = findBalance({at, left}, '{', '}');
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
    readValues(findKeys(object), element->entry);
    element->priority = SSIB_PRIORITY_FROM_FILE;
    say(L"INFO: before insert");
    append(element);
    say(L"INFO: after insert");
    return EFI_SUCCESS;
  }

  void readValues(const KeyEnds &ends, SSIB_ENTRY &entry) {
    for (std::size_t at = 0; at < ends.size(); ++at) {
      const JsonKey &key = kKeys[at];
      char *value = ends[at] == nullptr ? nullptr : copyValue(ends[at]);
      if (value == nullptr) continue;
      entry.*key.field.member = value;
      say(key.field.valueLine, value);
      if (key.field.member == &SSIB_ENTRY::Job_Type) flagUpdate(value);
    }
  }

  void flagUpdate(const char *jobType) const {
    if (std::strncmp(jobType, kUpdateJob, std::strlen(kUpdateJob)) != 0) return;
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
