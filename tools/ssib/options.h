// SPDX-License-Identifier: MIT
// Values that a command line gives for an entry's fields: checked whole before anything is
// opened, then put into an entry.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fields.h"
#include "VyxSSIBBackend.h"

namespace tool {

struct GivenField {
  const Field *field;
  std::string value;
};

using GivenFields = std::vector<GivenField>;

// A number of decimal digits, or of hexadecimal ones after "0x", from 0 to `largest`; false for anything else.
bool parseNumber(const std::string &text, std::uint32_t largest, std::uint32_t &number);

// "; did you mean WORD?", with the nearest of the known words; nothing when none is near.
std::string didYouMean(const std::string &word, const std::vector<std::string> &known);

// The field that the record or its option calls so. Throws Stop (wrong usage), with the nearest name.
const Field &requireField(const std::string &name);

// Throw Stop (wrong usage) when the form does not store a field, and when a number is out of range.
void requireStoredIn(Form form, const Field &field);
void checkNumber(const Field &field, const std::string &value);

// Why a text would not come back from a file as it was given; null when it would.
const char *problemOf(Form form, const Field &field, const std::string &value);

// Throws Stop (wrong usage) when a value cannot be stored, or would not come back as it was given.
void checkFields(Form form, const GivenFields &given);

// Throws Stop (wrong usage) when an entry of that form always has one of the fields.
void checkUnset(Form form, const std::vector<const Field *> &unset);

// Gives an element checked values, and the bits of the fields. Throws std::bad_alloc.
void applyFields(const GivenFields &given, SSIB_ENTRY_LIST &element);

}  // namespace tool
