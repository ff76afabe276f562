// SPDX-License-Identifier: MIT
// The value of a field as text, and what a queue's file gives back of it.
#pragma once

#include <optional>
#include <string>

#include "fields.h"
#include "VyxSSIBBackend.h"

namespace tool {

using Value = std::optional<std::string>;

// The value of a field; none when the element does not have it or the form does not store it. Throws Stop.
Value valueOf(Form form, const Field &field, const SSIB_ENTRY_LIST &element);

// The value that the file gives back when the element is written as it is. Throws Stop.
Value storedValue(Form form, const Field &field, const SSIB_ENTRY_LIST &element);

// Whether two elements have the same fields with the same values.
bool isSame(Form form, const SSIB_ENTRY_LIST &one, const SSIB_ENTRY_LIST &other);

// Whether `read` is what the file gives back of `written`.
bool isGivenBack(Form form, const SSIB_ENTRY_LIST &written, const SSIB_ENTRY_LIST &read);

// Whether a text spells XML elements, as a Node does.
bool isNodeText(const std::string &text);

// Gives an element the extra content that a text spells. Throws std::bad_alloc.
void setNode(const std::string &text, SSIB_ENTRY_LIST &element);

// A command line without the double quotes around the whole of it, as a file stores it.
std::string withoutQuotes(const std::string &commandLine);

}  // namespace tool
