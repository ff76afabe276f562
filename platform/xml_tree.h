// SPDX-License-Identifier: MIT
// Between the parts of the XML service: the tree's records, the reader and the writer. Failures are thrown.
#pragma once

#include <cstddef>
#include <string_view>

#include "failure.h"
#include "heap.h"
#include "XmlService.h"

namespace vyx::platform {

// New records, each in the order in which a reader of the tree walks them. Texts need not be terminated.
XML_STRING *makeString(const char *text, std::size_t length);
XML_NODE *makeNode(const char *name, std::size_t length);

// Releases a chain of elements with all that is below. Records may be half built, and need no parent and prev links.
void releaseTree(XML_NODE *node);

// The document as a tree, or the tree as a document in a new text.
XML_NODE *parseDocument(const char *document);
char *writeDocument(const XML_NODE *root);

// Whether a chain of elements is well-formed in the encoding named.
bool isWellFormed(std::string_view elements, const char *encoding);

}  // namespace vyx::platform
