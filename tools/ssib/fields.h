// SPDX-License-Identifier: MIT
// The fields of an entry: one table that options, checks, matching, tables and JSON walk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "VyxSSIBBackend.h"

namespace tool {

// The two forms of a queue file; the values are the library's modes.
enum class Form : std::uint8_t { Xml = SSIB_MODE_DEFAULT, TaskList = SSIB_MODE_BIOS_SMA };

struct Field {
  enum class Kind { Number, Text, Node };

  // Where a number lies in the packed record, in bytes.
  struct Place {
    std::size_t offset, width;
  };

  // In a task list, and where it stands among the keys there; the first is 0.
  struct Key {
    std::string_view name;
    std::size_t place;
  };

  const char *name;              // of the record's member; the key in JSON
  const char *option = nullptr;  // on the command line, without the dashes; null when it cannot be given
  const char *help = nullptr;
  Kind kind = Kind::Text;
  Place number = {0, 0};                  // of Kind::Number
  std::uint32_t largest = 0;              // number that a queue file gives back
  SSIB_TEXT SSIB_ENTRY::*text = nullptr;  // of Kind::Text
  std::uint32_t bit = 0;                  // of the field mask; 0 when the field is always valid
  std::string_view attribute = {};        // of an XML queue's block
  Key key = {};                           // of a task list's job
  bool isElement = false;                 // an XML queue has it as an element of the block

  constexpr bool storedIn(Form form) const {
    return form == Form::TaskList ? !key.name.empty() : isElement || !attribute.empty();
  }
};

// All fields but `mode`, which no form stores, in record order.
std::span<const Field> fields();

// The fields of a task list's job, in the order of its keys.
inline constexpr std::size_t kKeys = 8;
std::span<const Field *const, kKeys> fieldsByKey();

// The field that the record or, without its dashes, the option calls so; null when there is none.
const Field *findField(std::string_view name);

std::uint32_t numberOf(const Field &field, const SSIB_ENTRY &entry);
void setNumber(const Field &field, SSIB_ENTRY &entry, std::uint32_t value);

// Releases what the text field of an entry holds and gives it a copy of `value`. Throws std::bad_alloc.
void setText(const Field &field, SSIB_ENTRY &entry, const char *value);

// Takes the field out of an element: a number's bit, a text, a node.
void removeField(const Field &field, SSIB_ENTRY_LIST &element);

// Whether an element has the field: a number's bit is set, a text or node is not null.
bool isPresent(const Field &field, const SSIB_ENTRY_LIST &element);

// A new element without fields, on the library's heap. Throws std::bad_alloc.
SSIB_ENTRY_LIST *newElement();

// Releases an element that is in no list, with all that it owns.
void releaseElement(SSIB_ENTRY_LIST *element);

}  // namespace tool
