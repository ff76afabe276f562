// SPDX-License-Identifier: MIT
// Building and copying the XML service's tree records, without recursion: a file decides how
// deep and how wide trees are.
#include "ssib_if2_backend/xml_tree.h"

#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/log.h"

namespace ssib {
namespace {

struct FreeAttribute {
  void operator()(XML_ATTRIBUTE *attribute) const {
    const XmlString name(attribute->name);
    const XmlString value(attribute->value);
    std::free(attribute);
  }
};

// Null when there is no memory for the record or its text.
XML_STRING *newString(std::string_view text) {
  XmlString string(newRecord<XML_STRING>().release());
  if (string == nullptr) return nullptr;
  string->flags = kXmlFlag;
  string->text = copyText(text);
  return string->text == nullptr ? nullptr : string.release();
}

void logCopy() {
  logTo(vyxSsibDebug, "dupeNode", L"About to dupe the XML Node");
}

// A copy of one node, without its children and siblings. A copy never uses prevSibling: while the tree is being copied,
// it remembers the node that the copy was made of.
XML_NODE *dupeAlone(const XML_NODE *source, XML_NODE *parent) {
  if (source == nullptr) return nullptr;
  XML_NODE *copy = newRecord<XML_NODE>().release();
  if (copy == nullptr) return nullptr;
  logCopy();
  copy->name = dupeString(source->name);
  copy->value = dupeString(source->value);
  copy->attributes = dupeAttributes(source->attributes);
  copy->parent = parent;
  copy->prevSibling = const_cast<XML_NODE *>(source);
  return copy;
}

bool dupeFirstChild(XML_NODE *copy) {
  copy->firstChild = dupeAlone(copy->prevSibling->firstChild, copy);
  return copy->firstChild != nullptr;
}

// Comes after everything below the copy, which is then finished.
bool dupeNextSibling(XML_NODE *copy) {
  copy->nextSibling = dupeAlone(copy->prevSibling->nextSibling, copy->parent);
  copy->prevSibling = nullptr;
  return copy->nextSibling != nullptr;
}

}  // namespace

EFI_STATUS serialize(XML_SERVICE_PROTOCOL *service, const XML_NODE *node, XmlString &image) {
  XML_STRING *document = nullptr;
  const EFI_STATUS status = service->SerializeTree(service, node, kXmlFlag, &document);
  if (!EFI_ERROR(status)) image.reset(document);
  return status;
}

void freeRootOf(SSIB2_PRIVATE_DATA &handle) {
  const XmlTree tree(handle.xmlRoot, {handle.XMLProto});
  handle.xmlRoot = nullptr;
}

XmlTree newNode(XML_SERVICE_PROTOCOL *service, const char *name) {
  XmlTree node(newRecord<XML_NODE>().release(), {service});
  if (node == nullptr) return node;
  node->name = newString(name);
  if (node->name == nullptr) node.reset();
  return node;
}

bool setValue(XML_NODE &node, std::string_view text) {
  node.value = newString(text);
  return node.value != nullptr;
}

EFI_STATUS addAttribute(XML_NODE *node, XML_ATTRIBUTE **last, const char *name, const char *value) {
  if (node == nullptr) return EFI_INVALID_PARAMETER;
  std::unique_ptr<XML_ATTRIBUTE, FreeAttribute> attribute(newRecord<XML_ATTRIBUTE>().release());
  if (attribute == nullptr) return EFI_OUT_OF_RESOURCES;
  attribute->name = newString(orEmpty(name));
  attribute->value = newString(orEmpty(value));
  if (attribute->name == nullptr || attribute->value == nullptr) return EFI_OUT_OF_RESOURCES;
  attribute->prev = *last;
  (*last == nullptr ? node->attributes : (*last)->next) = attribute.get();
  *last = attribute.release();
  return EFI_SUCCESS;
}

XML_STRING *dupeString(const XML_STRING *source) {
  if (source == nullptr) return nullptr;
  XML_STRING *copy = newRecord<XML_STRING>().release();
  if (copy == nullptr) return nullptr;
  copy->flags = source->flags;
  copy->text = copyText(source->text);
  return copy;
}

XML_ATTRIBUTE *dupeAttributes(const XML_ATTRIBUTE *first) {
  XML_ATTRIBUTE_LINK chain = nullptr;
  XML_ATTRIBUTE_LINK *end = &chain;
  for (const XML_ATTRIBUTE *source = first; source != nullptr; source = source->next) {
    *end = newRecord<XML_ATTRIBUTE>().release();
    if (*end == nullptr) break;
    (*end)->name = dupeString(source->name);
    (*end)->value = dupeString(source->value);
    end = &(*end)->next;
  }
  return chain;
}

// Goes down before it goes on; the way back up is the copies' parents.
XML_NODE *dupeNode(const XML_NODE *node, XML_NODE *parent) {
  XML_NODE *const top = dupeAlone(node, parent);
  std::size_t depth = 0;
  for (XML_NODE *copy = top; copy != nullptr;) {
    if (dupeFirstChild(copy)) {
      copy = copy->firstChild;
      ++depth;
      continue;
    }
    while (!dupeNextSibling(copy) && depth > 0) {
      copy = copy->parent;
      --depth;
    }
    copy = copy->nextSibling;
  }
  return top;
}

void logCopies(const XML_NODE *chain) {
  for (const XML_NODE *node = chain; node != nullptr;) {
    logCopy();
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      continue;
    }
    while (node->nextSibling == nullptr && node->parent != nullptr) node = node->parent;
    node = node->nextSibling;
  }
}

}  // namespace ssib
