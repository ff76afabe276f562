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

/** A number of decimal digits, or of hexadecimal ones after "0x", from 0 to `largest`; false for anything else. */
bool parseNumber(const std::string &text, std::uint32_t largest, std::uint32_t &number);

/**
 * Throws Stop (wrong usage) when the form does not store a field, when a number is out of range, and when a text would
 * not come back from the file as it was given.
 */
void checkFields(Form form, const GivenFields &given);

/** Puts checked values into an entry that owns its texts. */
void applyFields(const GivenFields &given, SSIB_ENTRY &entry);

/** The field mask's bits of the fields given. */
std::uint32_t bitsOf(const GivenFields &given);

}  // namespace tool
