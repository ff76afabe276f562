// SPDX-License-Identifier: MIT
// A platform that does next to nothing, so that what is measured is the library: one file in memory, and an XML service
// whose document is the number of its blocks.
#include <cstdlib>
#include <cstring>
#include <string>

#include "tree.h"
#include "VyxSSIBBackend.h"

using namespace bench;

namespace {

std::string contents;  // of the one file

void freeString(XML_STRING *string) {
  if (string == nullptr) return;
  std::free(string->text);
  std::free(string);
}

EFI_STATUS parseImage(XML_SERVICE_PROTOCOL *, const XML_STRING *image, XML_NODE **root) {
  *root = newNode("SSIB_INFO");
  XML_NODE *last = nullptr;
  for (int left = std::atoi(image->text); left > 0; --left) last = appendBlock(*root, last);
  return EFI_SUCCESS;
}

EFI_STATUS serializeTree(XML_SERVICE_PROTOCOL *, const XML_NODE *root, std::uint32_t, XML_STRING **image) {
  int blocks = 0;
  for (const XML_NODE *block = root->firstChild; block != nullptr; block = block->nextSibling) ++blocks;
  *image = newString(std::to_string(blocks).c_str());
  return EFI_SUCCESS;
}

EFI_STATUS createNode(XML_SERVICE_PROTOCOL *, const XML_STRING *name, XML_NODE **node) {
  *node = newNode(name->text);
  return EFI_SUCCESS;
}

EFI_STATUS deleteTree(XML_SERVICE_PROTOCOL *service, XML_NODE *node) {
  while (node != nullptr) {
    freeString(node->name);
    freeString(node->value);
    for (XML_ATTRIBUTE *attribute = node->attributes; attribute != nullptr;) {
      XML_ATTRIBUTE *next = attribute->next;
      freeString(attribute->name);
      freeString(attribute->value);
      std::free(attribute);
      attribute = next;
    }
    if (node->firstChild != nullptr) deleteTree(service, node->firstChild);
    XML_NODE *next = node->nextSibling;
    std::free(node);
    node = next;
  }
  return EFI_SUCCESS;
}

XML_SERVICE_PROTOCOL xmlService = {{}, parseImage, serializeTree, createNode, deleteTree};

ssize_t writeContents(void *, const char *text, std::size_t size) {
  contents.append(text, size);
  return static_cast<ssize_t>(size);
}

}  // namespace

extern "C" {

EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, std::uint32_t *count, void ***instances) {
  if (std::memcmp(guid, &gQuorEfiXMLProtocolGuid2, sizeof(*guid)) != 0) return EFI_SUCCESS;
  *instances = static_cast<void **>(std::malloc(sizeof(void *)));
  **instances = &xmlService;
  *count = 1;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fopen_1(const wchar_t *, const wchar_t *, const char *mode, FILE **stream) {
  if (*mode == 'w') {
    contents.clear();
    *stream = fopencookie(nullptr, "w", {nullptr, writeContents, nullptr, nullptr});
    return EFI_SUCCESS;
  }
  *stream = contents.empty() ? nullptr : fmemopen(contents.data(), contents.size(), "r");
  return *stream == nullptr ? EFI_NOT_FOUND : EFI_SUCCESS;
}

EFI_STATUS varsk_fclose_1(const wchar_t *, FILE *stream, const char *) {
  std::fclose(stream);
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fdelete_1(const wchar_t *, const wchar_t *) {
  contents.clear();
  return EFI_SUCCESS;
}

std::uint32_t getSize(FILE *) {
  return static_cast<std::uint32_t>(contents.size());
}

int quorprintf(int, int, const char *, ...) {
  return 0;
}

int CfgSetAttributeInt(const char *, int, int) {
  return 0;
}

}  // extern "C"
