// SPDX-License-Identifier: MIT
// Access to the fields of an entry by their descriptions.
#include "ssib_if2_backend/entry.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

const unsigned char *at(const SSIB_ENTRY &entry, const NumberField &field) {
  return reinterpret_cast<const unsigned char *>(&entry) + field.offset;
}

}  // namespace

std::uint32_t numberOf(const SSIB_ENTRY &entry, const NumberField &field) {
  std::uint16_t half = 0;
  std::uint32_t word = 0;
  switch (field.width) {
    case sizeof(std::uint8_t):
      return *at(entry, field);
    case sizeof(half):
      std::memcpy(&half, at(entry, field), sizeof(half));
      return half;
    default:
      std::memcpy(&word, at(entry, field), sizeof(word));
      return word;
  }
}

void setNumber(SSIB_ENTRY &entry, const NumberField &field, std::uint32_t value) {
  auto *place = const_cast<unsigned char *>(at(entry, field));
  const auto half = static_cast<std::uint16_t>(value);
  switch (field.width) {
    case sizeof(std::uint8_t):
      *place = static_cast<std::uint8_t>(value);
      return;
    case sizeof(half):
      std::memcpy(place, &half, sizeof(half));
      return;
    default:
      std::memcpy(place, &value, sizeof(value));
  }
}

bool agree(const NumberField &field, Rule rule, const SSIB_ENTRY &one, const SSIB_ENTRY &other) {
  return rule == kIgnored || numberOf(one, field) == numberOf(other, field);
}

bool agreeInAll(Rule Rules::*question, const SSIB_ENTRY &one, const SSIB_ENTRY &other, std::uint32_t fieldMask) {
  const auto agreeIn = [&](const auto &field) {
    return !isValid(field.maskBit, fieldMask) || agree(field, field.rules.*question, one, other);
  };
  return std::ranges::all_of(kNumbers, agreeIn) && std::ranges::all_of(kStrings, agreeIn);
}

void releaseContents(XML_SERVICE_PROTOCOL *service, const SSIB_ENTRY &entry) {
  for (const StringField &field : kStrings) std::free(entry.*field.member);
  const XmlTree node(entry.Node, {service});
}

}  // namespace ssib
