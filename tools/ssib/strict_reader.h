// SPDX-License-Identifier: MIT
// A queue file read strictly, beside the library's own reading: where it stops making sense, what the next write would
// drop or change, and every entry whose text is whole.
//
// Without damage the library opens the file with exactly these entries, with or without remarks. What is called damaged
// the library refuses or reads otherwise. Reading takes time linear in the file and no stack for its depth.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fields.h"

namespace tool {

struct Remark {
  std::size_t entry = 0;  // from 1; 0: the file
  std::size_t byte = 1;   // of the file, from 1
  std::size_t line = 1;
  std::string text;        // holds bytes of the file as they are
  bool drops = false;      // whether it is what the next write drops or changes
  bool isLeftOut = false;  // an entry that is not whole, in a damaged file
};

// A field of an entry. A Node is XML text, with a declaration in front when its bytes are ISO-8859-1.
struct StrictValue {
  const Field *field;
  std::uint32_t number = 0;
  std::string text;
};

struct StrictEntry {
  std::size_t offset = 0;           // of its first byte in the file
  std::vector<StrictValue> values;  // those that it has, in the order of fields()

  const StrictValue *find(const Field &field) const;
};

struct StrictReading {
  std::optional<Remark> damage;
  std::vector<Remark> remarks;  // in the order of the file
  std::vector<StrictEntry> entries;

  // Whether the next write loses or changes something of the file.
  bool wouldDrop() const;

  // Offsets count from 0.

  // A remark on the file.
  void remark(std::size_t offset, std::string text, bool drops);
  // A remark on the entry that comes next.
  void remarkOnNext(std::size_t offset, std::string text, bool drops);
  // What looks like an entry and is not whole.
  void leaveOut(std::size_t offset, std::string why);
  // The first damage counts.
  void damageAt(std::size_t offset, std::string text);
};

// "entry 1, line 2, byte 3: what it is", safe for a terminal.
std::string remarkAsLine(const Remark &remark);

// The entry as an element in no list. Throws std::bad_alloc.
SSIB_ENTRY_LIST *elementOf(const StrictEntry &entry);

// Whether a task list that is written with this entry gives it back.
bool isTaskListEntry(const StrictEntry &entry);

// Throws std::bad_alloc.
StrictReading readStrictly(Form form, std::string_view bytes);

// The two forms: damage, entries and what is special about their texts. The library reads bytes up to a NUL; in a
// damaged file entries are looked for after it, too.
void readXmlStrictly(std::string_view bytes, StrictReading &reading);
void readTaskListStrictly(std::string_view bytes, StrictReading &reading);

// What the library reads of a file.
inline std::string_view upToNul(std::string_view bytes) {
  return bytes.substr(0, bytes.find('\0'));
}

// A name from the file as a message may hold it: in quotes, and cut when it is long.
std::string quoted(std::string_view name);

}  // namespace tool
