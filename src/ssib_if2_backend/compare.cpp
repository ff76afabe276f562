// SPDX-License-Identifier: MIT
// Whether two entries describe the same job. Only reads.
#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

constexpr std::uint32_t kSame = 0;
constexpr std::uint32_t kDifferent = 1;
constexpr std::uint32_t kServiceFailed = 0xFFFFFFFF;

// The mask of an entry alone, which has none: all its fields count.
constexpr std::uint32_t kAllFields = UINT32_MAX;

// A service that succeeds without a text has failed, too: two such Nodes need not be the same.
bool serializeWhole(XML_SERVICE_PROTOCOL *service, const XML_NODE *node, XmlString &image) {
  return !EFI_ERROR(serialize(service, node, image)) && hasText(image);
}

std::uint32_t compareNodes(XML_SERVICE_PROTOCOL *service, const XML_NODE *one, const XML_NODE *other) {
  XmlString first;
  XmlString second;
  if (service == nullptr || !serializeWhole(service, one, first) || !serializeWhole(service, other, second)) {
    return kServiceFailed;
  }
  return static_cast<std::uint32_t>(std::strcmp(first->text, second->text));
}

std::uint32_t compareXml(const SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY &e1, const SSIB_ENTRY &e2) {
  log(L"SSIB_MODE_DEFAULT mode.");
  if (!agreeInAll(&Rules::xmlCompare, e1, e2, kAllFields)) return kDifferent;
  if ((e1.Node == nullptr) != (e2.Node == nullptr)) return kDifferent;
  if (e1.Node != nullptr) return compareNodes(handle.XMLProto, e1.Node, e2.Node);
  log(L"Entries match.");
  return kSame;
}

std::uint32_t compareTaskList(const SSIB_ENTRY &e1, const SSIB_ENTRY &e2) {
  log(L"SSIB_MODE_BIOS_SMA mode.");
  for (const StringField &field : kStrings) {
    if (agree(field, field.rules.taskListCompare, e1, e2)) continue;
    log(field.firstLine, e1.*field.member);
    log(field.secondLine, e2.*field.member);
    return kDifferent;
  }
  log(L"Entries match.");
  return kSame;
}

std::uint32_t compare(const SSIB2_PRIVATE_DATA *handle, const SSIB_ENTRY *e1, const SSIB_ENTRY *e2) {
  log(L"Enter SSIBEntryCmp");
  if (e1 == nullptr && e2 == nullptr) {
    log(L"Both entries are NULL. Returning 0.");
    return kSame;
  }
  if (e1 == nullptr || e2 == nullptr) {
    log(L"One of the entries is NULL. Returning 1.");
    return kDifferent;
  }
  if (handle != nullptr && handle->mode == SSIB_MODE_DEFAULT) return compareXml(*handle, *e1, *e2);
  if (handle != nullptr && handle->mode == SSIB_MODE_BIOS_SMA) return compareTaskList(*e1, *e2);
  log(L"Entries don't match as their modes are different.");
  return kDifferent;
}

}  // namespace
}  // namespace ssib

extern "C" {

uint32_t SSIBEntryCmp(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *e1, const SSIB_ENTRY *e2) {
  return ssib::compare(SSIB2, e1, e2);
}

}  // extern "C"
