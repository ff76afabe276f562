// SPDX-License-Identifier: MIT
// From the entry list to the document tree of an XML queue file.
#include <charconv>
#include <iterator>
#include <string_view>

#include "ssib_if2_backend/xml_form.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

// The command line as it is stored: one that begins with a double quote loses its first and its last character.
std::string_view storedCommand(std::string_view command) {
  if (!command.starts_with('"')) return command;
  command.remove_prefix(1);
  if (!command.empty()) command.remove_suffix(1);
  return command;
}

EFI_STATUS addCommand(XML_SERVICE_PROTOCOL *service, XML_NODE *block, const char *command) {
  XmlTree node = newNode(service, kCommandElement);
  if (node == nullptr || !setValue(*node, storedCommand(command))) return EFI_OUT_OF_RESOURCES;
  node->parent = block;
  block->firstChild = node.release();
  return EFI_SUCCESS;
}

EFI_STATUS addContent(XML_SERVICE_PROTOCOL *service, XML_NODE *block, const SSIB_ENTRY &entry) {
  if (entry.Cmd_Line != nullptr) return addCommand(service, block, entry.Cmd_Line);
  block->firstChild = dupeNode(entry.Node, nullptr);
  return isMissing(block->firstChild, entry.Node) ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

EFI_STATUS addBlockAttribute(XML_NODE *block, XML_ATTRIBUTE **last, const XmlAttribute &attribute,
                             const SSIB_ENTRY &entry) {
  if (attribute.text != nullptr) return addAttribute(block, last, attribute.name, entry.*attribute.text->member);
  char digits[sizeof("-2147483648")] = {};
  std::to_chars(std::begin(digits), std::end(digits), static_cast<std::int32_t>(numberOf(entry, *attribute.number)));
  return addAttribute(block, last, attribute.name, digits);
}

// Built in the order in which the service goes through them: blocks that are released in the order of their addresses
// cost the heap a fraction of what scattered ones cost.
EFI_STATUS addAttributes(XML_NODE *block, const SSIB_ENTRY_LIST &element) {
  XML_ATTRIBUTE *last = nullptr;
  for (const XmlAttribute &attribute : kBlockAttributes) {
    if (!isValid(attribute.maskBit, element.fieldMask)) continue;
    const EFI_STATUS status = addBlockAttribute(block, &last, attribute, element.entry);
    if (EFI_ERROR(status)) return status;
  }
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS createRoot(XML_SERVICE_PROTOCOL *service, XML_NODE **root) {
  const XML_STRING name = {kXmlFlag, const_cast<char *>(kRootElement)};
  return service->CreateNode(service, &name, root);
}

EFI_STATUS create_xml_tree(XML_SERVICE_PROTOCOL *service, XML_NODE *root, XML_NODE **last,
                           const SSIB_ENTRY_LIST &element) {
  if (root == nullptr) return EFI_INVALID_PARAMETER;
  XmlTree block = newNode(service, kBlockElement);
  if (block == nullptr) return EFI_OUT_OF_RESOURCES;
  EFI_STATUS status = addContent(service, block.get(), element.entry);
  if (EFI_ERROR(status)) return status;
  status = addAttributes(block.get(), element);
  if (EFI_ERROR(status)) return status;

  block->prevSibling = *last;
  (*last == nullptr ? root->firstChild : (*last)->nextSibling) = block.get();
  *last = block.release();
  return EFI_SUCCESS;
}

}  // namespace ssib
