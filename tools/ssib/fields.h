// SPDX-License-Identifier: MIT
// The fields of an entry: one table that options, checks, matching, tables and JSON walk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "VyxSSIBBackend.h"

namespace tool {

/** The two forms of a queue file; the values are the library's modes and index a field's `stored` and `key`. */
enum class Form : std::uint8_t { Xml = SSIB_MODE_DEFAULT, TaskList = SSIB_MODE_BIOS_SMA };

struct Field {
  enum class Kind { Number, Text, Node };

  /** Where a number lies in the packed record, in bytes. */
  struct Place {
    std::size_t offset, width;
  };

  const char *name;              // of the record's member; the key in JSON
  const char *option = nullptr;  // on the command line, without the dashes; null when it cannot be given
  const char *help = nullptr;
  Kind kind = Kind::Text;
  Place number = {0, 0};                  // of Kind::Number
  std::uint32_t largest = 0;              // number that a queue file gives back
  SSIB_TEXT SSIB_ENTRY::*text = nullptr;  // of Kind::Text
  std::uint32_t bit = 0;                  // of the field mask; 0 when the field is always valid
  bool stored[2] = {true, false};         // which forms keep it
  std::size_t key[2] = {0, 0};  // bytes that count when the library looks for an entry to delete; 0: it does not count

  bool storedIn(Form form) const { return stored[static_cast<std::size_t>(form)]; }
  std::size_t keyIn(Form form) const { return key[static_cast<std::size_t>(form)]; }
};

/** All fields but `mode`, which no form stores, in record order. */
std::span<const Field> fields();

/** The field of that name, which must be one. */
const Field &fieldNamed(std::string_view name);

std::uint32_t numberOf(const Field &field, const SSIB_ENTRY &entry);
void setNumber(const Field &field, SSIB_ENTRY &entry, std::uint32_t value);

/** Releases what the text field of an entry holds and gives it a copy of `value`. Throws std::bad_alloc. */
void setText(const Field &field, SSIB_ENTRY &entry, const char *value);

/** Whether an element has the field: a number's bit is set, a text or node is not null. */
bool isPresent(const Field &field, const SSIB_ENTRY_LIST &element);

}  // namespace tool
