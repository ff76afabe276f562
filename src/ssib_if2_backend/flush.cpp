// SPDX-License-Identifier: MIT
// Writing the list back to the queue's file: the XML form here, a task list through its own writer.
#include <utility>

#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"
#include "ssib_if2_backend/xml_form.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

// The whole document, in the handle's xmlRoot.
EFI_STATUS buildTree(SSIB2_PRIVATE_DATA &handle) {
  XML_NODE *root = nullptr;
  if (EFI_ERROR(createRoot(handle.XMLProto, &root))) return SSIB_STATUS_NO_DOCUMENT;
  XmlTree tree(root, {handle.XMLProto});
  XML_NODE *last = nullptr;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    if (EFI_ERROR(create_xml_tree(handle.XMLProto, root, &last, *element))) return SSIB_STATUS_NO_DOCUMENT;
  }
  handle.xmlRoot = tree.release();
  return handle.xmlRoot == nullptr ? SSIB_STATUS_NO_DOCUMENT : EFI_SUCCESS;
}

// Turns the list into text. The tree is gone when this returns.
EFI_STATUS buildImage(SSIB2_PRIVATE_DATA &handle, XmlString &image) {
  log(L"iFlushSSIBQueue  create_xml_tree with ssibEntryListHead = %d.", asNumber(handle.ssibEntryListHead));
  if (buildTree(handle) != EFI_SUCCESS) {
    log(L"iFlushSSIBQueue  create_xml_tree returned with null. Error. Returning.");
    return SSIB_STATUS_NO_DOCUMENT;
  }
  log(L"iFlushSSIBQueue  creating xml from node.");
  const EFI_STATUS status = serialize(handle.XMLProto, handle.xmlRoot, image);
  log(L"iFlushSSIBQueue  creating xml from node returned with %d.", status);
  if (EFI_ERROR(status)) {
    log(L"iFlushSSIBQueue  creating xml from node failed. Returning.");
    freeRootOf(handle);
    return SSIB_STATUS_NO_DOCUMENT;
  }
  log(L"iFlushSSIBQueue - freeing xmlRoot");
  freeRootOf(handle);
  log(L"iFlushSSIBQueue - done freeing xmlRoot");
  if (!hasText(image)) {
    log(L"iFlushSSIBQueue - image is null. (no data?)");
    return SSIB_STATUS_NO_FILE;
  }
  return EFI_SUCCESS;
}

// Writes the text as one item. A buffer in between would take the text and report the full device to nobody.
bool writeWhole(std::FILE *stream, const char *text) {
  std::setvbuf(stream, nullptr, _IONBF, 0);
  const std::size_t written = std::fwrite(text, std::strlen(text), 1, stream);
  log(L"iFlushSSIBQueue - done writing.rc=%d", static_cast<int>(written));
  return written == 1;
}

EFI_STATUS writeImage(const wchar_t *name, XmlString image) {
  PartitionFile file(kBackendSource, sVarskPartition, name, kForWriting);
  log(L"iFlushSSIBQueue - opened %ls for writing", name);
  if (file.stream() == nullptr) {
    log(L"iFlushSSIBQueue - failed to open %ls for writing", name);
    return SSIB_STATUS_NO_FILE;
  }
  log(L"iFlushSSIBQueue - writing to %ls ", name);
  const bool written = writeWhole(file.stream(), image->text);
  image.reset();
  file.close(sVarskPartition);
  return written ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

EFI_STATUS flushXml(SSIB2_PRIVATE_DATA &handle) {
  if (handle.XMLProto == nullptr) {
    log(L"SSIB2->XMLProto is null");
    return EFI_INVALID_PARAMETER;
  }
  XmlString image;
  const EFI_STATUS status = buildImage(handle, image);
  return status == EFI_SUCCESS ? writeImage(handle.ssibFileName, std::move(image)) : status;
}

EFI_STATUS flush(SSIB2_PRIVATE_DATA *handle) {
  if (handle == nullptr) {
    log(L"SSIB2 is null");
    return EFI_INVALID_PARAMETER;
  }
  log(L"iFlushSSIBQueue called");
  if (handle->ssibFileName == nullptr) {
    log(L"iFlushSSIBQueue  SSIB2->ssibFileName is null. Returning with error");
    return SSIB_STATUS_NO_DOCUMENT;
  }
  if (handle->mode == SSIB_MODE_BIOS_SMA) {
    log(L"iFlushSSIBQueue alt mode SMA/JSON");
    return iFlushToJSON(handle);
  }
  return flushXml(*handle);
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iFlushSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2) {
  return ssib::flush(SSIB2);
}

}  // extern "C"
