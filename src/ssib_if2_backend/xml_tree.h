// SPDX-License-Identifier: MIT
// Building and copying the XML service's tree records. Whatever is built here can be given to the service's DeleteTree.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "VyxSSIBBackend.h"

namespace ssib {

// The flags of every string that the library builds, and the flag of every call of SerializeTree.
inline constexpr std::uint32_t kXmlFlag = 1;

// Releases through the service. Without a service a tree stays allocated.
struct FreeTree {
  XML_SERVICE_PROTOCOL *service;
  void operator()(XML_NODE *node) const {
    if (service != nullptr) service->DeleteTree(service, node);
  }
};

// A detached tree.
using XmlTree = std::unique_ptr<XML_NODE, FreeTree>;

struct FreeString {
  void operator()(XML_STRING *string) const {
    std::free(string->text);
    std::free(string);
  }
};

using XmlString = std::unique_ptr<XML_STRING, FreeString>;

// The document of a tree. `image` stays null on failure, and may be null, or without text, on success.
EFI_STATUS serialize(XML_SERVICE_PROTOCOL *service, const XML_NODE *node, XmlString &image);

// Whether a serialised image has a text.
inline bool hasText(const XmlString &image) {
  return image != nullptr && image->text != nullptr;
}

// Releases the document tree of a handle, when it has one.
void freeRootOf(SSIB2_PRIVATE_DATA &handle);

// An element of that name, without text; null when there is no memory.
XmlTree newNode(XML_SERVICE_PROTOCOL *service, const char *name);

// Gives an element without text one; false when there is no memory.
bool setValue(XML_NODE &node, std::string_view text);

// Appends an attribute. `last` is the node's last one, null when it has none, and is moved on to the new one. A null name
// or value is stored as "".
EFI_STATUS addAttribute(XML_NODE *node, XML_ATTRIBUTE **last, const char *name, const char *value);

// Copies. Null gives null, and so does a record that cannot be allocated; what cannot be allocated inside of it is null
// there, without any other sign.
XML_STRING *dupeString(const XML_STRING *source);
XML_ATTRIBUTE *dupeAttributes(const XML_ATTRIBUTE *first);

// Copies a node, what is below it, and the siblings that follow it, each with `parent` as its parent.
XML_NODE *dupeNode(const XML_NODE *node, XML_NODE *parent);

// Logs for each node of a copied chain the line that copying it logged.
void logCopies(const XML_NODE *chain);

// Whether a copy is missing although there was something to copy.
inline bool isMissing(const void *copy, const void *source) {
  return copy == nullptr && source != nullptr;
}

}  // namespace ssib
