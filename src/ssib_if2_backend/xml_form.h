// SPDX-License-Identifier: MIT
// The XML queue file: its names, each once, and the two ways between a document tree and an entry list.
#pragma once

#include "ssib_if2_backend/entry.h"

namespace ssib {

inline constexpr char kRootElement[] = "SSIB_INFO";
inline constexpr char kBlockElement[] = "SSIB_BLOCK";
inline constexpr char kCommandElement[] = "CMD_LINE";

// An attribute of a block: a text or a number, the other one is null.
struct XmlAttribute {
  const char *name;
  std::uint32_t maskBit;  // 0: always written
  const StringField *text;
  const NumberField *number;
  std::uint32_t kept;  // the bits of a number that reading keeps, before the field's width cuts it
};

constexpr XmlAttribute attribute(const char *name, const StringField &text) {
  return {name, text.maskBit, &text, nullptr, 0};
}

constexpr XmlAttribute attribute(const char *name, const NumberField &number, std::uint32_t kept = UINT32_MAX) {
  return {name, number.maskBit, nullptr, &number, kept};
}

// In the order of the document.
inline constexpr XmlAttribute kBlockAttributes[] = {
    attribute("Version", numberField(offsetof(SSIB_ENTRY, Version))),
    attribute("BLOCK_ID", numberField(offsetof(SSIB_ENTRY, Block_ID))),
    attribute("RT_COUNT", numberField(offsetof(SSIB_ENTRY, RT_Count))),
    attribute("RTN_CODE", numberField(offsetof(SSIB_ENTRY, Rtn_Code))),
    attribute("TIMEOUT", numberField(offsetof(SSIB_ENTRY, Timeout)), 0xFFFF),
    attribute("RB_TYPE", numberField(offsetof(SSIB_ENTRY, RB_Type))),
    attribute("RB_REQ", numberField(offsetof(SSIB_ENTRY, RB_Req))),
    attribute("LU_CATEGORY", stringField(&SSIB_ENTRY::LU_Category)),
    attribute("TASK_NAME", stringField(&SSIB_ENTRY::Task_Name)),
    attribute("JOB_ID", stringField(&SSIB_ENTRY::Job_ID)),
};

// Makes an empty root element.
EFI_STATUS createRoot(XML_SERVICE_PROTOCOL *service, XML_NODE **root);

// Appends the block of one list element to the root. `last` is the root's last child, null when it has none, and is
// moved on to the new block. On failure the root is as before.
EFI_STATUS create_xml_tree(XML_SERVICE_PROTOCOL *service, XML_NODE *root, XML_NODE **last,
                           const SSIB_ENTRY_LIST &element);

// Builds the list of a document, an element for each child of the root. Fails with EFI_OUT_OF_RESOURCES and leaves an
// empty list when an element, one of its strings or the first node of its Node cannot be allocated: what is missing in
// memory would be missing in the file that is written next.
EFI_STATUS readEntries(XML_SERVICE_PROTOCOL *service, const XML_NODE &root, SSIB_LINK *list);

}  // namespace ssib
