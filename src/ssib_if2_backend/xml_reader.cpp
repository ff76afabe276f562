// SPDX-License-Identifier: MIT
// From the document tree of an XML queue file to the entry list.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/xml_form.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

const char *textOf(const XML_STRING *string) {
  return string == nullptr ? nullptr : string->text;
}

bool isNamed(const XML_STRING *name, const char *expected) {
  const char *text = textOf(name);
  return text != nullptr && std::strcmp(text, expected) == 0;
}

// Like strtol, saturating at 32 bits whatever the size of long.
std::uint32_t parseNumber(const char *text) {
  if (text == nullptr) return 0;
  const long number = std::clamp<long>(std::strtol(text, nullptr, 10), INT32_MIN, INT32_MAX);
  return static_cast<std::uint32_t>(number);
}

// Puts a copy of `text` where `*place` was; false when it cannot be allocated.
bool replaceText(SSIB_TEXT *place, const char *text) {
  std::free(*place);
  *place = copyText(text);
  return text == nullptr || *place != nullptr;
}

// The attributes of one block, which mostly come in the order of the table.
class AttributeReader {
 public:
  bool read(const XML_ATTRIBUTE &source, SSIB_ENTRY_LIST &element) {
    const XmlAttribute *attribute = find(source.name);
    if (attribute == nullptr) return true;
    element.fieldMask |= attribute->maskBit;
    const char *value = textOf(source.value);
    if (attribute->text != nullptr) return replaceText(&(element.entry.*attribute->text->member), value);
    setNumber(element.entry, *attribute->number, parseNumber(value) & attribute->kept);
    return true;
  }

 private:
  // The search begins after the attribute that was found last.
  const XmlAttribute *find(const XML_STRING *name) {
    for (std::size_t left = std::size(kBlockAttributes); left > 0; --left) {
      const XmlAttribute *attribute = next_;
      next_ = attribute + 1 == std::end(kBlockAttributes) ? kBlockAttributes : attribute + 1;
      if (isNamed(name, attribute->name)) return attribute;
    }
    return nullptr;
  }

  const XmlAttribute *next_ = kBlockAttributes;
};

bool readCommand(const XML_NODE &child, SSIB_ENTRY &entry) {
  const char *command = textOf(child.value);
  return command == nullptr || replaceText(&entry.Cmd_Line, command);
}

// The children of one block, in order. Node keeps the last one that is not a command, with what follows it. The copy of
// such a child ends with the copies of those that follow: it is cut in front of the next one rather than made anew, so
// that a block of many children costs one copy of each.
class ContentReader {
 public:
  ContentReader(XML_SERVICE_PROTOCOL *service, SSIB_ENTRY &entry) : service_(service), entry_(entry) {}

  bool read(const XML_NODE &child) {
    XML_NODE *before = copy_;
    if (copy_ != nullptr) copy_ = copy_->nextSibling;
    if (isNamed(child.name, kCommandElement)) return readCommand(child, entry_);
    if (copy_ != nullptr) {
      before->nextSibling = nullptr;
      if (vyxSsibDebug != nullptr) logCopies(copy_);
    } else {  // the first one, or the chain ends early because there was no memory for more
      copy_ = dupeNode(&child, nullptr);
    }
    const XmlTree earlier(entry_.Node, {service_});
    entry_.Node = copy_;
    return copy_ != nullptr;
  }

 private:
  XML_SERVICE_PROTOCOL *service_;
  SSIB_ENTRY &entry_;
  XML_NODE *copy_ = nullptr;  // of the child read last, in the chain at Node
};

bool readBlock(XML_SERVICE_PROTOCOL *service, const XML_NODE &block, SSIB_ENTRY_LIST &element) {
  element.priority = SSIB_PRIORITY_FROM_FILE;
  AttributeReader attributes;
  for (const XML_ATTRIBUTE *attribute = block.attributes; attribute != nullptr; attribute = attribute->next) {
    if (!attributes.read(*attribute, element)) return false;
  }
  ContentReader content(service, element.entry);
  for (const XML_NODE *child = block.firstChild; child != nullptr; child = child->nextSibling) {
    if (!content.read(*child)) return false;
  }
  return true;
}

}  // namespace

EFI_STATUS readEntries(XML_SERVICE_PROTOCOL *service, const XML_NODE &root, SSIB_LINK *list) {
  *list = nullptr;
  SSIB_LINK *end = list;
  for (const XML_NODE *block = root.firstChild; block != nullptr; block = block->nextSibling) {
    *end = le_new();
    if (*end == nullptr || !readBlock(service, *block, **end)) {
      le_free_list(service, *list);
      *list = nullptr;
      return EFI_OUT_OF_RESOURCES;
    }
    end = &(*end)->next;
  }
  return EFI_SUCCESS;
}

}  // namespace ssib
