// SPDX-License-Identifier: MIT
#include "values.h"

#include <algorithm>
#include <memory>
#include <new>

#include "host.h"
#include "stop.h"

namespace tool {
namespace {

using Kind = Field::Kind;

std::string nodeText(const XML_NODE *node) {
  XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
  XML_STRING *image = nullptr;
  require(xml->SerializeTree(xml, node, 1, &image), "show a Node");
  const Block<XML_STRING> record(image);
  const Block<char> text(image->text);
  return text ? text.get() : "";
}

struct DeleteTree {
  void operator()(XML_NODE *root) const { gSSSIB2pvt.XMLProto->DeleteTree(gSSSIB2pvt.XMLProto, root); }
};
using OwnedNode = std::unique_ptr<XML_NODE, DeleteTree>;

// An element that holds what a Node's text spells; null when it spells no XML. The text may begin with a declaration of
// its encoding, which counts only in front of the whole document.
OwnedNode parsedNode(const std::string &text) {
  const std::size_t declaration = text.starts_with("<?xml") ? text.find("?>") : std::string::npos;
  const std::size_t begin = declaration == std::string::npos ? 0 : declaration + 2;
  std::string document = text.substr(0, begin) + "<X>" + text.substr(begin) + "</X>";
  XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
  const XML_STRING image = {1, document.data()};
  XML_NODE *root = nullptr;
  const EFI_STATUS status = xml->ParseImage(xml, &image, &root);
  if (status == EFI_OUT_OF_RESOURCES) throw std::bad_alloc();
  return status == EFI_SUCCESS ? OwnedNode(root) : nullptr;
}

Value storedInXml(const Field &field, const SSIB_ENTRY_LIST &element) {
  const bool hasCommand = element.entry.Cmd_Line != nullptr;
  const char *text = element.entry.*field.text;
  if (field.text == &SSIB_ENTRY::Cmd_Line) return hasCommand ? Value(withoutQuotes(text)) : std::nullopt;
  if (field.bit != 0 && (element.fieldMask & field.bit) == 0) return std::nullopt;
  return text != nullptr ? text : "";
}

Value storedInTaskList(const Field &field, const SSIB_ENTRY_LIST &element) {
  const char *text = element.entry.*field.text;
  if (text == nullptr || *text == '\0') return std::nullopt;
  return std::string(text).substr(0, SSIB_TASK_LIST_TEXT_MAX);
}

}  // namespace

std::string withoutQuotes(const std::string &commandLine) {
  if (commandLine.empty() || commandLine.front() != '"') return commandLine;
  return commandLine.size() == 1 ? "" : commandLine.substr(1, commandLine.size() - 2);
}

bool isNodeText(const std::string &text) {
  const OwnedNode root = parsedNode(text);
  return root != nullptr && root->firstChild != nullptr;
}

void setNode(const std::string &text, SSIB_ENTRY_LIST &element) {
  const OwnedNode root = parsedNode(text);
  if (root == nullptr) throw std::bad_alloc();
  removeField(*findField("Node"), element);
  element.entry.Node = root->firstChild;
  root->firstChild = nullptr;
  for (XML_NODE *node = element.entry.Node; node != nullptr; node = node->nextSibling) node->parent = nullptr;
}

Value valueOf(Form form, const Field &field, const SSIB_ENTRY_LIST &element) {
  if (!field.storedIn(form) || !isPresent(field, element)) return std::nullopt;
  switch (field.kind) {
    case Kind::Number:
      return std::to_string(numberOf(field, element.entry));
    case Kind::Text:
      return std::string(element.entry.*field.text);
    default:
      return nodeText(element.entry.Node);
  }
}

Value storedValue(Form form, const Field &field, const SSIB_ENTRY_LIST &element) {
  if (!field.storedIn(form)) return std::nullopt;
  if (field.kind == Kind::Node && element.entry.Cmd_Line != nullptr) return std::nullopt;
  if (field.kind != Kind::Text) return valueOf(form, field, element);
  return form == Form::Xml ? storedInXml(field, element) : storedInTaskList(field, element);
}

bool isSame(Form form, const SSIB_ENTRY_LIST &one, const SSIB_ENTRY_LIST &other) {
  return std::ranges::all_of(
      fields(), [&](const Field &field) { return valueOf(form, field, one) == valueOf(form, field, other); });
}

bool isGivenBack(Form form, const SSIB_ENTRY_LIST &written, const SSIB_ENTRY_LIST &read) {
  return std::ranges::all_of(
      fields(), [&](const Field &field) { return storedValue(form, field, written) == valueOf(form, field, read); });
}

}  // namespace tool
