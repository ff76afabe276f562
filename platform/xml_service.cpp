// SPDX-License-Identifier: MIT
// The XML service's table: arguments are checked here. Making and releasing records stands here too; reading and
// writing documents have files of their own.
#include "HostXmlService.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "xml_tree.h"

namespace vyx::platform {
namespace {

struct Free {
  void operator()(void *record) const { std::free(record); }
};

void releaseString(XML_STRING *string) {
  if (string == nullptr) return;
  std::free(string->text);
  std::free(string);
}

void releaseContents(const XML_NODE &node) {
  releaseString(node.name);
  releaseString(node.value);
  for (XML_ATTRIBUTE *attribute = node.attributes; attribute != nullptr;) {
    XML_ATTRIBUTE *next = attribute->next;
    releaseString(attribute->name);
    releaseString(attribute->value);
    std::free(attribute);
    attribute = next;
  }
}

bool hasText(const XML_STRING *string) {
  return string != nullptr && string->text != nullptr && string->text[0] != '\0';
}

EFI_STATUS parseImage(XML_SERVICE_PROTOCOL *, const XML_STRING *image, XML_NODE **root) {
  if (root == nullptr) return EFI_INVALID_PARAMETER;
  *root = nullptr;
  if (!hasText(image)) return EFI_INVALID_PARAMETER;
  return statusOf([&] { *root = parseDocument(image->text); });
}

EFI_STATUS serializeTree(XML_SERVICE_PROTOCOL *, const XML_NODE *root, uint32_t, XML_STRING **image) {
  if (image == nullptr) return EFI_INVALID_PARAMETER;
  *image = nullptr;
  if (root == nullptr) return EFI_INVALID_PARAMETER;
  return statusOf([&] {
    std::unique_ptr<XML_STRING, Free> string(newRecord<XML_STRING>());
    *string = {1, writeDocument(root)};
    *image = string.release();
  });
}

EFI_STATUS createNode(XML_SERVICE_PROTOCOL *, const XML_STRING *name, XML_NODE **node) {
  if (node == nullptr) return EFI_INVALID_PARAMETER;
  *node = nullptr;
  if (!hasText(name)) return EFI_INVALID_PARAMETER;
  return statusOf([&] { *node = makeNode(name->text, std::strlen(name->text)); });
}

EFI_STATUS deleteTree(XML_SERVICE_PROTOCOL *, XML_NODE *node) {
  if (node == nullptr) return EFI_INVALID_PARAMETER;
  releaseTree(node);
  return EFI_SUCCESS;
}

}  // namespace

XML_STRING *makeString(const char *text, std::size_t length) {
  std::unique_ptr<XML_STRING, Free> string(newRecord<XML_STRING>());
  char *copy = Heap<char>().allocate(length + 1);
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  *string = {1, copy};
  return string.release();
}

XML_NODE *makeNode(const char *name, std::size_t length) {
  std::unique_ptr<XML_NODE, Free> node(newRecord<XML_NODE>());
  *node = {makeString(name, length), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
  return node.release();
}

// A node that is being left for its children waits in a chain of its own, linked through the parent fields, which
// nobody reads any more: neither the depth of a tree nor missing links matter.
void releaseTree(XML_NODE *node) {
  XML_NODE *above = nullptr;
  while (node != nullptr) {
    releaseContents(*node);
    if (XML_NODE *child = node->firstChild; child != nullptr) {
      node->parent = above;
      above = node;
      node = child;
      continue;
    }
    XML_NODE *next = node->nextSibling;
    std::free(node);
    while (next == nullptr && above != nullptr) {
      XML_NODE *done = above;
      above = done->parent;
      next = done->nextSibling;
      std::free(done);
    }
    node = next;
  }
}

}  // namespace vyx::platform

extern "C" XML_SERVICE_PROTOCOL *vyxHostXmlService() {
  using namespace vyx::platform;
  static XML_SERVICE_PROTOCOL service = {{nullptr, nullptr}, parseImage, serializeTree, createNode, deleteTree};
  return &service;
}
