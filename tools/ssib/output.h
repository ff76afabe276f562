// SPDX-License-Identifier: MIT
// What the commands print of a queue, for people and as JSON. What people read cannot drive their terminal.
#pragma once

#include <string>

#include "fields.h"
#include "queue.h"
#include "VyxSSIBBackend.h"

namespace tool {

/** "Field: value", a line for each field that the entry has. */
std::string entryAsLines(Form form, const SSIB_ENTRY_LIST &element);

/** An aligned table of the fields that tell entries apart, numbered from 1. */
std::string entriesAsTable(Form form, const Elements &elements);

std::string entryAsJson(Form form, const SSIB_ENTRY_LIST &element);
std::string entriesAsJson(Form form, const Elements &elements);

/** Writes a text to standard output and makes sure that it got there. Throws Stop. */
void print(const std::string &text);

}  // namespace tool
