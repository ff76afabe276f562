// SPDX-License-Identifier: MIT
#include "node_text.h"

#include <cstdlib>
#include <string_view>

#include "stop.h"

namespace tool {
namespace {

// The text inside an element of its own, after the declaration that it may begin with.
std::string wrapped(const std::string &text) {
  constexpr std::string_view kEnd = "?>";
  const std::size_t end = text.starts_with("<?xml ") ? text.find(kEnd) : std::string::npos;
  const std::size_t split = end == std::string::npos ? 0 : end + kEnd.size();
  return text.substr(0, split) + "<x>" + text.substr(split) + "</x>";
}

}  // namespace

std::string textOfNode(const XML_NODE *node) {
  XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
  XML_STRING *image = nullptr;
  require(xml->SerializeTree(xml, node, 1, &image), "show a Node");
  const std::unique_ptr<XML_STRING, decltype(&std::free)> record(image, &std::free);
  const std::unique_ptr<char, decltype(&std::free)> text(image->text, &std::free);
  return text ? text.get() : "";
}

OwnedNode nodeOfText(const std::string &text) {
  XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
  std::string document = wrapped(text);
  const XML_STRING image = {1, document.data()};
  XML_NODE *root = nullptr;
  const EFI_STATUS status = xml->ParseImage(xml, &image, &root);
  const OwnedNode owner(root);
  if (status == EFI_INVALID_PARAMETER) return nullptr;
  require(status, "read a Node");
  OwnedNode first(root->firstChild);
  root->firstChild = nullptr;
  for (XML_NODE *node = first.get(); node != nullptr; node = node->nextSibling) node->parent = nullptr;
  return first;
}

}  // namespace tool
