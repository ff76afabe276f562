/* SPDX-License-Identifier: MIT */
// Between the parts of the XML service: the tree's records, the reader and the writer.
#pragma once

#include <cstddef>

#include "XmlService.h"

namespace vyx::platform {

// New records, each in the order in which a reader of the tree walks them; null without memory. Texts
// need not be terminated.
XML_STRING *makeString(const char *text, std::size_t length);
XML_NODE *makeNode(const char *name, std::size_t length);

// Releases a chain of elements with all that is below. Records may be half built, and need no parent and prev links.
void releaseTree(XML_NODE *node);

// The document as a tree, or the tree as a document in a new text. On failure the out-parameter is not touched.
EFI_STATUS parseDocument(const char *document, XML_NODE **root);
EFI_STATUS writeDocument(const XML_NODE *root, char **document);

}  // namespace vyx::platform
