/* SPDX-License-Identifier: MIT */
// The XML service's records, made as plainly as can be. Memory never runs out here.
#pragma once

#include <cstdlib>
#include <cstring>

#include "XmlService.h"

namespace bench {

inline XML_STRING *newString(const char *text) {
  auto *string = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  *string = {1, strdup(text)};
  return string;
}

inline XML_NODE *newNode(const char *name) {
  auto *node = static_cast<XML_NODE *>(std::calloc(1, sizeof(XML_NODE)));
  node->name = newString(name);
  return node;
}

// Returns the new attribute, which is the last one.
inline XML_ATTRIBUTE *append(XML_NODE *node, XML_ATTRIBUTE *last, const char *name, const char *value) {
  auto *attribute = static_cast<XML_ATTRIBUTE *>(std::calloc(1, sizeof(XML_ATTRIBUTE)));
  attribute->name = newString(name);
  attribute->value = newString(value);
  attribute->prev = last;
  (last == nullptr ? node->attributes : last->next) = attribute;
  return attribute;
}

// Returns the new child, which is the last one.
inline XML_NODE *append(XML_NODE *parent, XML_NODE *last, const char *name) {
  XML_NODE *child = newNode(name);
  child->parent = parent;
  child->prevSibling = last;
  (last == nullptr ? parent->firstChild : last->nextSibling) = child;
  return child;
}

// The block of a typical job.
inline XML_NODE *appendBlock(XML_NODE *root, XML_NODE *last) {
  XML_NODE *block = append(root, last, "SSIB_BLOCK");
  XML_ATTRIBUTE *attribute = append(block, nullptr, "Version", "1");
  attribute = append(block, attribute, "BLOCK_ID", "7");
  attribute = append(block, attribute, "TIMEOUT", "600");
  attribute = append(block, attribute, "LU_CATEGORY", "FIRMWARE");
  attribute = append(block, attribute, "TASK_NAME", "Update task");
  append(block, attribute, "JOB_ID", "JID_000123456789");
  append(block, nullptr, "CMD_LINE")->value = newString("/usr/libexec/update --quiet --image=/tmp/image.bin");
  return block;
}

}  // namespace bench
