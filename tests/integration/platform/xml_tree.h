/* SPDX-License-Identifier: MIT */
// Trees for the XML service's tests: built as its clients build them, and told as text.
#ifndef VYX_TESTS_XML_TREE_H
#define VYX_TESTS_XML_TREE_H

#include <cstring>
#include <initializer_list>
#include <utility>
#include <vector>

#include "platform_test.h"

namespace vyx::tests {

inline XML_SERVICE_PROTOCOL *service() {
  static auto *const found = find<XML_SERVICE_PROTOCOL>(kXmlGuid);
  return found;
}

struct TreeDeleter {
  void operator()(XML_NODE *node) const { service()->DeleteTree(service(), node); }
};
using Tree = std::unique_ptr<XML_NODE, TreeDeleter>;

inline XML_STRING *newString(const char *text) {
  auto *string = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  *string = {1, text != nullptr ? strdup(text) : nullptr};
  return string;
}

// A chain of siblings out of single elements, without the links back.
inline Tree chain(std::vector<XML_NODE *> nodes) {
  for (std::size_t i = 1; i < nodes.size(); ++i) nodes[i - 1]->nextSibling = nodes[i];
  return Tree(nodes.front());
}

// An element; without a value it has none. Nothing points back or up, as in a detached or copied chain.
inline Tree element(const char *name, const char *value = nullptr,
                    std::vector<std::pair<const char *, const char *>> attributes = {}, Tree children = nullptr) {
  auto *node = static_cast<XML_NODE *>(std::calloc(1, sizeof(XML_NODE)));
  node->name = newString(name);
  if (value != nullptr) node->value = newString(value);
  for (auto at = attributes.rbegin(); at != attributes.rend(); ++at) {
    auto *attribute = static_cast<XML_ATTRIBUTE *>(std::calloc(1, sizeof(XML_ATTRIBUTE)));
    *attribute = {newString(at->first), newString(at->second), node->attributes, nullptr};
    node->attributes = attribute;
  }
  node->firstChild = children.release();
  return Tree(node);
}

inline EFI_STATUS parse(const std::string &document, Tree &tree) {
  XML_STRING image = {1, const_cast<char *>(document.c_str())};
  XML_NODE *root = nullptr;
  const EFI_STATUS status = service()->ParseImage(service(), &image, &root);
  tree.reset(root);
  return status;
}

inline EFI_STATUS serialize(const Tree &tree, std::string &document) {
  XML_STRING *image = nullptr;
  const EFI_STATUS status = service()->SerializeTree(service(), tree.get(), 1, &image);
  EXPECT_EQ(status == EFI_SUCCESS, image != nullptr);
  if (image == nullptr) return status;
  EXPECT_EQ(image->flags, 1U);
  document = image->text;
  std::free(image->text);
  std::free(image);
  return status;
}

// A chain as text: NAME[ATTRIBUTE=VALUE,...]{VALUE}(CHILDREN), parts that are not there left out.
inline std::string told(const XML_NODE *node) {
  std::string text;
  for (; node != nullptr; node = node->nextSibling) {
    text += node->name->text;
    for (const XML_ATTRIBUTE *at = node->attributes; at != nullptr; at = at->next) {
      text += std::string(at == node->attributes ? "[" : ",") + at->name->text + "=" + at->value->text +
              (at->next == nullptr ? "]" : "");
    }
    if (node->value != nullptr) text += std::string("{") + node->value->text + "}";
    if (node->firstChild != nullptr) text += "(" + told(node->firstChild) + ")";
    if (node->nextSibling != nullptr) text += " ";
  }
  return text;
}

}  // namespace vyx::tests

#endif
