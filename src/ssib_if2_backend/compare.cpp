// SPDX-License-Identifier: MIT
// Whether two entries describe the same job. Only reads.
#include <algorithm>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

using namespace ssib;

namespace {

constexpr std::uint32_t kSame = 0;
constexpr std::uint32_t kDifferent = 1;
constexpr std::uint32_t kServiceFailed = 0xFFFFFFFF;

// Absent on one side only is no difference.
bool differWherePresent(const StringField &field, const SSIB_ENTRY &e1, const SSIB_ENTRY &e2) {
  const char *one = e1.*field.member;
  const char *other = e2.*field.member;
  return one != nullptr && other != nullptr && !agree(field, one, other);
}

std::uint32_t compareNodes(XML_SERVICE_PROTOCOL *service, const XML_NODE *one, const XML_NODE *other) {
  if (service == nullptr) return kServiceFailed;
  XmlImage first;
  if (EFI_ERROR(first.serialize(service, one)) || first.text() == nullptr) return kServiceFailed;
  XmlImage second;
  if (EFI_ERROR(second.serialize(service, other)) || second.text() == nullptr) return kServiceFailed;
  return static_cast<std::uint32_t>(std::strcmp(first.text(), second.text()));
}

std::uint32_t compareXml(const SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY &e1, const SSIB_ENTRY &e2) {
  log(L"SSIB_MODE_DEFAULT mode.");
  const auto numberDiffers = [&](const NumberField &field) { return numberOf(e1, field) != numberOf(e2, field); };
  const auto isOneSided = [&](const StringField &field) {
    return (field.uses & kComparedWhenAbsent) != 0 && (e1.*field.member == nullptr) != (e2.*field.member == nullptr);
  };
  const auto textDiffers = [&](const StringField &field) { return differWherePresent(field, e1, e2); };
  if (std::ranges::any_of(kNumbers, numberDiffers)) return kDifferent;
  if (std::ranges::any_of(kStrings, isOneSided)) return kDifferent;
  if ((e1.Node == nullptr) != (e2.Node == nullptr)) return kDifferent;
  if (std::ranges::any_of(kStrings, textDiffers)) return kDifferent;
  if (e1.Node != nullptr) return compareNodes(handle.XMLProto, e1.Node, e2.Node);
  log(L"Entries match.");
  return kSame;
}

std::uint32_t compareTaskList(const SSIB_ENTRY &e1, const SSIB_ENTRY &e2) {
  log(L"SSIB_MODE_BIOS_SMA mode.");
  for (const StringField &field : kStrings) {
    if ((field.uses & kComparedInTaskList) == 0 || !differWherePresent(field, e1, e2)) continue;
    log(field.firstLine, e1.*field.member);
    log(field.secondLine, e2.*field.member);
    return kDifferent;
  }
  log(L"Entries match.");
  return kSame;
}

}  // namespace

extern "C" uint32_t SSIBEntryCmp(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *e1, const SSIB_ENTRY *e2) {
  log(L"Enter SSIBEntryCmp");
  if (e1 == nullptr && e2 == nullptr) {
    log(L"Both entries are NULL. Returning 0.");
    return kSame;
  }
  if (e1 == nullptr || e2 == nullptr) {
    log(L"One of the entries is NULL. Returning 1.");
    return kDifferent;
  }
  if (SSIB2 != nullptr && SSIB2->mode == SSIB_MODE_DEFAULT) return compareXml(*SSIB2, *e1, *e2);
  if (SSIB2 != nullptr && SSIB2->mode == SSIB_MODE_BIOS_SMA) return compareTaskList(*e1, *e2);
  log(L"Entries don't match as their modes are different.");
  return kDifferent;
}
