// SPDX-License-Identifier: MIT
// Opening a queue of either form: the file is read whole and becomes the handle's list. What the two texts mean is the
// business of the XML reader and of the task list's reader.
#include <cwchar>

#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"
#include "ssib_if2_backend/xml_form.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

// What the two paths do alike they report under their own names.
struct OpenLines {
  const wchar_t *freeingList, *freedList, *freedName, *nameLength, *nameFailed, *bufferFailed, *reading;
};

#define SSIB_OPEN_LINES(name)                                                                      \
  {                                                                                                \
    L"" name " - ssibEntryListHead is not null. Freeing.", L"" name " - freed ssibEntryListHead.", \
        L"" name " - ssibFileName Freed.", L"" name " - fname_len= %d\n",                          \
        L"" name " - Failed to allocate %d bytes for  SSIB2->ssibFileName\n",                      \
        L"" name " - Failed to allocate memory.", L"" name " - Reading file."                      \
  }

constexpr OpenLines kXmlLines = SSIB_OPEN_LINES("iOpenSSIB");
constexpr OpenLines kTaskListLines = SSIB_OPEN_LINES("iOpenJSON");

#undef SSIB_OPEN_LINES

// What the caller, or a refused close, left in the handle.
void dropOldTree(SSIB2_PRIVATE_DATA &handle) {
  if (handle.xmlRoot == nullptr) return;
  log(L"iOpenSSIB-xmlRoot is not NULL. Freeing xmlRoot");
  freeRootOf(handle);
  log(L"iOpenSSIB-Freed xmlRoot");
}

void dropOldList(SSIB2_PRIVATE_DATA &handle, const OpenLines &lines) {
  if (handle.ssibEntryListHead == nullptr) return;
  log(lines.freeingList);
  freeListOf(handle);
  log(lines.freedList);
}

void forgetName(SSIB2_PRIVATE_DATA &handle) {
  std::free(handle.ssibFileName);
  handle.ssibFileName = nullptr;
}

// The old name lives until the new one is copied: it may be what the caller passed.
EFI_STATUS takeName(SSIB2_PRIVATE_DATA &handle, const wchar_t *name, const OpenLines &lines) {
  const HeapPtr<wchar_t> oldName(handle.ssibFileName);
  if (oldName != nullptr) log(lines.freedName);
  const std::size_t bytes = (std::wcslen(name) + 1) * sizeof(wchar_t);
  log(lines.nameLength, static_cast<std::uint32_t>(bytes));
  handle.ssibFileName = static_cast<wchar_t *>(std::malloc(bytes));
  if (handle.ssibFileName == nullptr) {
    log(lines.nameFailed, static_cast<std::uint32_t>(bytes));
    return EFI_OUT_OF_RESOURCES;
  }
  std::memcpy(handle.ssibFileName, name, bytes);
  return EFI_SUCCESS;
}

// Room for a file and a terminating zero; null when there is none.
HeapPtr<char> newBuffer(std::uint32_t size, const OpenLines &lines) {
  HeapPtr<char> buffer(size == UINT32_MAX ? nullptr : static_cast<char *>(std::calloc(std::size_t{size} + 1, 1)));
  log(buffer == nullptr ? lines.bufferFailed : lines.reading);
  return buffer;
}

bool readWhole(std::FILE *stream, char *buffer, std::uint32_t size) {
  return std::fread(buffer, size, 1, stream) == 1;
}

EFI_STATUS reportDenied() {
  log(L"iOpenSSIB - Varsk access error. Error is %d", EFI_ACCESS_DENIED);
  return EFI_ACCESS_DENIED;
}

void logTree(const SSIB2_PRIVATE_DATA &handle) {
  log(L"iOpenSSIB - Creating list with xmlRoot = %x", asNumber(handle.xmlRoot));
}

EFI_STATUS startEmptyTree(SSIB2_PRIVATE_DATA &handle) {
  XML_NODE *root = nullptr;
  const EFI_STATUS status = createRoot(handle.XMLProto, &root);
  if (EFI_ERROR(status)) {
    log(L"iOpenSSIB - Failed creating a new XML Node. Error is %d", status);
    return status;
  }
  handle.xmlRoot = root;
  if (root != nullptr) logTree(handle);
  return EFI_SUCCESS;
}

EFI_STATUS parseXml(SSIB2_PRIVATE_DATA &handle, std::FILE *stream, char *buffer, std::uint32_t size) {
  if (!readWhole(stream, buffer, size)) {
    log(L"iOpenSSIB - short read error...");
    return EFI_DEVICE_ERROR;
  }
  log(L"iOpenSSIB - Done reading file. Parsing document...");
  const XML_STRING image = {kXmlFlag, buffer};
  XML_NODE *root = nullptr;
  const EFI_STATUS status = handle.XMLProto->ParseImage(handle.XMLProto, &image, &root);
  log(L"iOpenSSIB - Done Parsing image. status=%d", status);
  if (!EFI_ERROR(status)) handle.xmlRoot = root;
  return status;
}

EFI_STATUS loadTree(SSIB2_PRIVATE_DATA &handle, std::uint32_t size) {
  PartitionFile file(kBackendSource, sVarskPartition, handle.ssibFileName, kForReading);
  log(L"iOpenSSIB - File %ls found. Opening it.", handle.ssibFileName);
  if (file.stream() == nullptr) {
    log(L"iOpenSSIB - File %ls could not be opened in r mode.", handle.ssibFileName);
    return EFI_ACCESS_DENIED;
  }
  log(L"iOpenSSIB - File opened. Allocating %d bytes memory for reading the file", size);
  HeapPtr<char> buffer = newBuffer(size, kXmlLines);
  if (buffer == nullptr) {
    file.close(sVarskPartition);
    return EFI_OUT_OF_RESOURCES;
  }
  const EFI_STATUS status = parseXml(handle, file.stream(), buffer.get(), size);
  buffer.reset();
  file.close(sVarskPartition);
  if (EFI_ERROR(status)) {
    log(L"iOpenSSIB - Error Parsing image. Returning.");
    return status;
  }
  log(L"iOpenSSIB - Done Reading and Parsing. Freed buffer and closed the file");
  logTree(handle);
  return EFI_SUCCESS;
}

// A file that the partition refuses must not be taken for a missing one.
EFI_STATUS makeTree(SSIB2_PRIVATE_DATA &handle) {
  const Probe probe = file_exists(handle.ssibFileName);
  if (probe.size != 0) return loadTree(handle, probe.size);
  return probe.status == EFI_ACCESS_DENIED ? reportDenied() : startEmptyTree(handle);
}

// The tree is released whether or not there was memory for its list.
EFI_STATUS listFromTree(SSIB2_PRIVATE_DATA &handle) {
  if (handle.xmlRoot == nullptr) return EFI_SUCCESS;
  const EFI_STATUS status = readEntries(handle.XMLProto, *handle.xmlRoot, &handle.ssibEntryListHead);
  handle.ssibEntryListPtr = handle.ssibEntryListHead;
  freeRootOf(handle);
  log(L"iOpenSSIB - Done. Freed xmlRoot");
  return status;
}

EFI_STATUS openXml(SSIB2_PRIVATE_DATA &handle, const wchar_t *name) {
  handle.mode = SSIB_MODE_DEFAULT;
  if (handle.XMLProto == nullptr) return EFI_OUT_OF_RESOURCES;
  dropOldTree(handle);
  dropOldList(handle, kXmlLines);
  EFI_STATUS status = takeName(handle, name, kXmlLines);
  if (EFI_ERROR(status)) return status;
  handle.ssibEntryListPtr = nullptr;
  status = makeTree(handle);
  if (!EFI_ERROR(status)) status = listFromTree(handle);
  if (EFI_ERROR(status)) {
    forgetName(handle);
    return status;
  }
  ++handle.openCount;
  log(L"iOpenSSIB Done.");
  return EFI_SUCCESS;
}

// A task list counts as open even when its text was refused, with `status`.
EFI_STATUS countTaskList(SSIB2_PRIVATE_DATA &handle, EFI_STATUS status) {
  ++handle.openCount;
  log(L"Exit. %x", status);
  return status;
}

EFI_STATUS parseTaskList(SSIB2_PRIVATE_DATA &handle, const char *text) {
  const EFI_STATUS status = iParseFromJSON(&handle, text);
  if (status != EFI_SUCCESS) freeListOf(handle);
  return status;
}

// The failed closes name the fixed partition, as the open does, the last one the caller's.
EFI_STATUS loadTaskList(SSIB2_PRIVATE_DATA &handle, std::uint32_t size) {
  log(L"2");
  PartitionFile file(kBackendSource, kTaskListPartition, handle.ssibFileName, kForReading);
  if (file.stream() == nullptr) {
    logNarrow(vyxSsibDebug, L"ERROR: unable to open %s\n", handle.ssibFileName);
    return EFI_ABORTED;
  }
  if (file.status() != EFI_SUCCESS) {
    logNarrow(vyxSsibDebug, L"ERROR: unable to open %s %r\n", handle.ssibFileName, file.status());
    file.close(kTaskListPartition);
    return EFI_ABORTED;
  }
  HeapPtr<char> buffer = newBuffer(size, kTaskListLines);
  if (buffer == nullptr) {
    file.close(kTaskListPartition);
    forgetName(handle);
    return EFI_OUT_OF_RESOURCES;
  }
  if (!readWhole(file.stream(), buffer.get(), size)) {
    log(L"iOpenJSON - Error reading. Returning.");
    buffer.reset();
    file.close(kTaskListPartition);
    forgetName(handle);
    return EFI_DEVICE_ERROR;
  }
  const EFI_STATUS status = parseTaskList(handle, buffer.get());
  buffer.reset();
  file.close(sVarskPartition);
  return countTaskList(handle, status);
}

EFI_STATUS openTaskList(SSIB2_PRIVATE_DATA &handle, const wchar_t *name) {
  handle.mode = SSIB_MODE_BIOS_SMA;
  log(L"Enter.");
  dropOldList(handle, kTaskListLines);
  const EFI_STATUS named = takeName(handle, name, kTaskListLines);
  if (EFI_ERROR(named)) return named;
  handle.ssibEntryListPtr = nullptr;

  const Probe probe = file_exists(handle.ssibFileName);
  log(L"file_exists: %d", static_cast<int>(probe.opened));
  if (probe.size != 0) return loadTaskList(handle, probe.size);
  if (probe.status != EFI_ACCESS_DENIED) return countTaskList(handle, EFI_SUCCESS);
  forgetName(handle);
  return reportDenied();
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iOpenSSIB(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *fileName) {
  if (SSIB2 == nullptr || fileName == nullptr) return EFI_INVALID_PARAMETER;
  if (SSIB2->openCount != 0) {
    ++SSIB2->openCount;
    return EFI_SUCCESS;
  }
  const bool isTaskList = std::wcsstr(fileName, SSIB_TASK_LIST_MARK) != nullptr;
  return isTaskList ? ssib::openTaskList(*SSIB2, fileName) : ssib::openXml(*SSIB2, fileName);
}

}  // extern "C"
