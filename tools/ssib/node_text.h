// SPDX-License-Identifier: MIT
// The extra content of an entry as XML text: a tag a line, with a declaration in front when its bytes are ISO-8859-1.
#pragma once

#include <memory>
#include <string>

#include "VyxSSIBBackend.h"

namespace tool {

struct DeleteNode {
  void operator()(XML_NODE *node) const { gSSSIB2pvt.XMLProto->DeleteTree(gSSSIB2pvt.XMLProto, node); }
};
using OwnedNode = std::unique_ptr<XML_NODE, DeleteNode>;

/** Throws Stop. */
std::string textOfNode(const XML_NODE *node);

/** The elements of a text, as Node holds them; null when it has none or is not well-formed. Throws Stop. */
OwnedNode nodeOfText(const std::string &text);

}  // namespace tool
