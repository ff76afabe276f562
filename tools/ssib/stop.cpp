// SPDX-License-Identifier: MIT
#include "stop.h"

#include <array>
#include <cstdio>

namespace ssib {
namespace {

struct NamedStatus {
  EFI_STATUS status;
  const char *name;
};

constexpr NamedStatus kStatuses[] = {
    {EFI_SUCCESS, "EFI_SUCCESS"},
    {EFI_INVALID_PARAMETER, "EFI_INVALID_PARAMETER"},
    {EFI_DEVICE_ERROR, "EFI_DEVICE_ERROR"},
    {EFI_OUT_OF_RESOURCES, "EFI_OUT_OF_RESOURCES"},
    {EFI_NOT_FOUND, "EFI_NOT_FOUND"},
    {EFI_ACCESS_DENIED, "EFI_ACCESS_DENIED"},
    {EFI_ABORTED, "EFI_ABORTED"},
    {EFI_END_OF_FILE, "EFI_END_OF_FILE"},
    {SSIB_STATUS_NO_DOCUMENT, "SSIB_STATUS_NO_DOCUMENT"},
    {SSIB_STATUS_NO_FILE, "SSIB_STATUS_NO_FILE"},
};

}  // namespace

std::string statusName(EFI_STATUS status) {
  for (const NamedStatus &named : kStatuses) {
    if (named.status == status) return named.name;
  }
  std::array<char, 16> number{};
  std::snprintf(number.data(), number.size(), "0x%08X", static_cast<unsigned>(status));
  return number.data();
}

void refuse(const std::string &action, EFI_STATUS status) {
  throw Stop(Exit::Refused, "cannot " + action + ": " + statusName(status));
}

void require(EFI_STATUS status, const std::string &action) {
  if (status != EFI_SUCCESS) refuse(action, status);
}

}  // namespace ssib
