// SPDX-License-Identifier: MIT
// What happened and what is in memory, as texts that a test compares whole.
#pragma once

#include <string>

#include "VyxSSIBBackend.h"

namespace test {

// All that happened since the last forgetEvents, a line each: calls and what else the platform records, log lines as
// "|TEXT" ("TAG|TEXT" for a tag of its own), with "@" for every address but 0. The trace line that follows a call is
// left out.
std::string transcript();

// The tree of a document that is well-formed; the caller's.
XML_NODE *treeOf(const std::string &document);

// A tree, or a chain of them, as a document without line feeds; "" for null.
std::string textOf(const XML_NODE *node);

// What is not 0 or null in an entry, a blank in front of each: " Version=1 Cmd_Line=run Node=<n/>".
std::string textOf(const SSIB_ENTRY &entry);

// The elements of a list: "[ Version=1 Timeout=600 mask=4][ Cmd_Line=run priority=1]". Priority 3 is not told.
std::string textOf(const SSIB_ENTRY_LIST *first);

}  // namespace test
