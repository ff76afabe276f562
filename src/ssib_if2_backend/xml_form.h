// SPDX-License-Identifier: MIT
// The XML queue file: its names, each once, and the two ways between a document tree and an entry list.
#pragma once

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/list.h"

namespace ssib {

inline constexpr char kRootElement[] = "SSIB_INFO";
inline constexpr char kBlockElement[] = "SSIB_BLOCK";
inline constexpr char kCommandElement[] = "CMD_LINE";

// An attribute of a block: the text member, or the number when that is null.
struct XmlAttribute {
  const char *name;
  std::uint32_t maskBit;  // 0: always written
  SSIB_TEXT SSIB_ENTRY::*text;
  NumberField number;
  std::uint32_t kept;  // the bits of a number that reading keeps, before the field's width cuts it
};

constexpr XmlAttribute textAttribute(const char *name, SSIB_TEXT SSIB_ENTRY::*text, std::uint32_t maskBit = 0) {
  return {name, maskBit, text, {}, 0};
}

constexpr XmlAttribute numberAttribute(const char *name, const NumberField &number, std::uint32_t kept = UINT32_MAX) {
  return {name, number.maskBit, nullptr, number, kept};
}

// In the order in which they are added to a block. Each goes in front, so the document shows them
// from the last to the first.
inline constexpr XmlAttribute kBlockAttributes[] = {
    textAttribute("JOB_ID", &SSIB_ENTRY::Job_ID, SSIB_FIELD_JOB_ID),
    textAttribute("TASK_NAME", &SSIB_ENTRY::Task_Name),
    textAttribute("LU_CATEGORY", &SSIB_ENTRY::LU_Category),
    numberAttribute("RB_REQ", kRbReq),
    numberAttribute("RB_TYPE", kRbType),
    numberAttribute("TIMEOUT", kTimeout, 0xFFFF),
    numberAttribute("RTN_CODE", kRtnCode),
    numberAttribute("RT_COUNT", kRtCount),
    numberAttribute("BLOCK_ID", kBlockId),
    numberAttribute("Version", kVersion),
};

// Makes an empty root element.
EFI_STATUS createRoot(XML_SERVICE_PROTOCOL *service, XML_NODE **root);

// Appends the block of one list element to the root. `last` is the root's last child, null when it has none, and is
// moved on to the new block. On failure the root is as before.
EFI_STATUS create_xml_tree(XML_SERVICE_PROTOCOL *service, XML_NODE *root, XML_NODE **last,
                           const SSIB_ENTRY_LIST &element);

// Builds the list of a document, an element for each child of the root; root may be null. Fails with
// EFI_OUT_OF_RESOURCES, and keeps nothing, when an element, one of its strings or the first node of its Node cannot be
// allocated: what is missing in memory would be missing in the file that is written next.
EFI_STATUS readEntries(XML_SERVICE_PROTOCOL *service, const XML_NODE *root, SSIB_ENTRY_LIST **list);

}  // namespace ssib
