// SPDX-License-Identifier: MIT
// The stand-in with one fault, which BROKEN names: these functions are found before its own, and call them.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "HostPlatform.h"
#include "HostXmlService.h"

namespace {

bool is(const char *fault) {
  const char *broken = std::getenv("BROKEN");
  return broken != nullptr && std::strcmp(broken, fault) == 0;
}

template <typename Function>
Function *next(Function *, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#define NEXT(function) next(function, #function)

// The file itself is written.
EFI_STATUS openInPlace(const wchar_t *partition, const wchar_t *fileName, FILE **stream) {
  char *path = nullptr;
  vyxHostPartitionPath(partition, &path);
  const std::unique_ptr<char, decltype(&std::free)> held(path, std::free);
  const std::wstring name = fileName;
  *stream = std::fopen((std::string(path) + '/' + std::string(name.begin(), name.end())).c_str(), "w");
  return *stream == nullptr ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

EFI_STATUS parse(XML_SERVICE_PROTOCOL *, const XML_STRING *image, XML_NODE **root) {
  XML_SERVICE_PROTOCOL *service = vyxHostXmlService();
  const EFI_STATUS status = service->ParseImage(service, image, root);
  if (status == EFI_SUCCESS && is("prevSibling")) {
    for (XML_NODE *child = (*root)->firstChild; child != nullptr; child = child->nextSibling)
      child->prevSibling = nullptr;
  }
  return status;
}

EFI_STATUS serialize(XML_SERVICE_PROTOCOL *, const XML_NODE *root, std::uint32_t flag, XML_STRING **image) {
  XML_SERVICE_PROTOCOL *service = vyxHostXmlService();
  const EFI_STATUS status = service->SerializeTree(service, root, flag, image);
  if (status == EFI_SUCCESS && is("ascii"))
    for (char *ch = (*image)->text; *ch != '\0'; ++ch) *ch = static_cast<char>(*ch & 0x7F);
  return status;
}

EFI_STATUS create(XML_SERVICE_PROTOCOL *, const XML_STRING *name, XML_NODE **node) {
  XML_SERVICE_PROTOCOL *service = vyxHostXmlService();
  const EFI_STATUS status = service->CreateNode(service, name, node);
  if (status == EFI_SUCCESS && is("borrowed name")) {
    std::free((*node)->name->text);
    (*node)->name->text = name->text;
  }
  return status;
}

EFI_STATUS release(XML_SERVICE_PROTOCOL *, XML_NODE *node) {
  if (is("siblings kept")) node->nextSibling = nullptr;
  XML_SERVICE_PROTOCOL *service = vyxHostXmlService();
  return service->DeleteTree(service, node);
}

XML_SERVICE_PROTOCOL brokenService = {{nullptr, nullptr}, parse, serialize, create, release};

}  // namespace

extern "C" {

EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream) {
  FILE *const before = *stream;
  EFI_STATUS status = NEXT(varsk_fopen_1)(partition, fileName, mode, stream);
  if (status == EFI_SUCCESS && *mode == 'w' && is("in place")) {
    NEXT(varsk_fclose_1)(partition, *stream, "r");
    return openInPlace(partition, fileName, stream);
  }
  if (status == EFI_ACCESS_DENIED && is("missing") && *fileName == L'p') return EFI_NOT_FOUND;
  if (EFI_ERROR(status) && is("stream kept")) *stream = before;
  return status;
}

EFI_STATUS varsk_fclose_1(const wchar_t *partition, FILE *stream, const char *mode) {
  if (*mode == 'w' && is("in place")) return std::fclose(stream) == 0 ? EFI_SUCCESS : EFI_DEVICE_ERROR;
  if (is("ferror")) clearerr(stream);
  return NEXT(varsk_fclose_1)(partition, stream, mode);
}

std::uint32_t getSize(FILE *stream) {
  if (is("position")) std::fseek(stream, 0, SEEK_END);
  return NEXT(getSize)(stream);
}

EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, std::uint32_t *count, void ***instances) {
  const EFI_STATUS status = NEXT(getProtocolInstanceByGuid)(guid, count, instances);
  if (*count == 1 && **instances == vyxHostXmlService()) **instances = &brokenService;
  return status;
}

}  // extern "C"
