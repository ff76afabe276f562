// SPDX-License-Identifier: MIT
// Access to the fields of an entry by their descriptions.
#include "ssib_if2_backend/entry.h"

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

bool agree(const StringField &field, const char *one, const char *other) {
  return std::strncmp(one, other, field.compared) == 0;
}

void releaseContents(XML_SERVICE_PROTOCOL *service, const SSIB_ENTRY &entry) {
  for (const StringField &field : kStrings) std::free(entry.*field.member);
  const XmlTree node(service, entry.Node);
}

}  // namespace ssib
