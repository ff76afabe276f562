// SPDX-License-Identifier: MIT
// Building and copying the XML service's tree records. Whatever is built here can be given to the service's DeleteTree.
#pragma once

#include <cstdint>
#include <string_view>

#include "VyxSSIBBackend.h"

namespace ssib {

// The flags of every string that the library builds, and the flag of every call of SerializeTree.
inline constexpr std::uint32_t kXmlFlag = 1;

// A detached tree; released through the service with the scope. Without a service it stays allocated.
class XmlTree {
 public:
  XmlTree(XML_SERVICE_PROTOCOL *service, XML_NODE *node) : service_(service), node_(node) {}
  ~XmlTree() {
    if (node_ != nullptr && service_ != nullptr) service_->DeleteTree(service_, node_);
  }
  XmlTree(const XmlTree &) = delete;
  XmlTree &operator=(const XmlTree &) = delete;

  XML_NODE *get() const { return node_; }
  XML_NODE *release() {
    XML_NODE *node = node_;
    node_ = nullptr;
    return node;
  }

 private:
  XML_SERVICE_PROTOCOL *service_;
  XML_NODE *node_;
};

// The image that SerializeTree hands out: the text is freed first, then the record.
class XmlImage {
 public:
  XmlImage() = default;
  ~XmlImage() { reset(); }
  XmlImage(const XmlImage &) = delete;
  XmlImage &operator=(const XmlImage &) = delete;

  EFI_STATUS serialize(XML_SERVICE_PROTOCOL *service, const XML_NODE *node);
  void reset();
  const char *text() const { return image_ == nullptr ? nullptr : image_->text; }

 private:
  XML_STRING *image_ = nullptr;
};

// Releases the document tree of a handle, when it has one.
void freeRootOf(SSIB2_PRIVATE_DATA &handle);

// An element of that name, without text; null when there is no memory.
XML_NODE *newNode(XML_SERVICE_PROTOCOL *service, const char *name);

// Gives an element without text one; false when there is no memory.
bool setValue(XML_NODE *node, std::string_view text);

// Puts an attribute in front of the node's others. A null name or value is stored as "".
EFI_STATUS addAttribute(XML_NODE *node, const char *name, const char *value);

// Copies. Null gives null, and so does a record that cannot be allocated; what cannot be allocated inside of it is null
// there, without any other sign.
XML_STRING *dupeString(const XML_STRING *source);
XML_ATTRIBUTE *dupeAttributes(const XML_ATTRIBUTE *first);

// Copies a node, what is below it, and the siblings that follow it, each with `parent` as its parent.
XML_NODE *dupeNode(const XML_NODE *node, XML_NODE *parent);

// Says of a copied chain what copying it said.
void logCopies(const XML_NODE *chain);

// Whether a copy is missing although there was something to copy.
inline bool isMissing(const void *copy, const void *source) {
  return copy == nullptr && source != nullptr;
}

}  // namespace ssib
