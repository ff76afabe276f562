// SPDX-License-Identifier: MIT
// The records' byte offsets are the library's interface on 32-bit machines: what follows fails
// to compile when one moves.
#include <cstddef>
#include <cstdint>

#include "VyxSSIBBackend.h"

#if UINTPTR_MAX == UINT32_MAX

#define AT(record, field, offset) static_assert(offsetof(record, field) == (offset))

static_assert(sizeof(wchar_t) == 4);

static_assert(sizeof(EFI_GUID) == 16);
static_assert(sizeof(XML_STRING) == 8);
AT(XML_STRING, flags, 0);
AT(XML_STRING, text, 4);

static_assert(sizeof(XML_ATTRIBUTE) == 16);
AT(XML_ATTRIBUTE, name, 0);
AT(XML_ATTRIBUTE, value, 4);
AT(XML_ATTRIBUTE, next, 8);
AT(XML_ATTRIBUTE, prev, 12);

static_assert(sizeof(XML_NODE) == 28);
AT(XML_NODE, name, 0);
AT(XML_NODE, value, 4);
AT(XML_NODE, attributes, 8);
AT(XML_NODE, parent, 12);
AT(XML_NODE, firstChild, 16);
AT(XML_NODE, nextSibling, 20);
AT(XML_NODE, prevSibling, 24);

// The services' operations are used by slot: slots of 4 bytes.
AT(XML_SERVICE_PROTOCOL, ParseImage, 2 * 4);
AT(XML_SERVICE_PROTOCOL, SerializeTree, 3 * 4);
AT(XML_SERVICE_PROTOCOL, CreateNode, 4 * 4);
AT(XML_SERVICE_PROTOCOL, DeleteTree, 5 * 4);
AT(DEBUG_LOG_PROTOCOL, Print, 5 * 4);

static_assert(sizeof(SSIB_ENTRY) == 67);
AT(SSIB_ENTRY, Version, 0);
AT(SSIB_ENTRY, mode, 4);
AT(SSIB_ENTRY, Block_ID, 5);
AT(SSIB_ENTRY, RB_Type, 7);
AT(SSIB_ENTRY, RB_Req, 8);
AT(SSIB_ENTRY, Timeout, 9);
AT(SSIB_ENTRY, Rtn_Code, 13);
AT(SSIB_ENTRY, RT_Count, 17);
AT(SSIB_ENTRY, Job_ID, 19);
AT(SSIB_ENTRY, Cmd_Line, 23);
AT(SSIB_ENTRY, Task_Name, 27);
AT(SSIB_ENTRY, Node, 31);
AT(SSIB_ENTRY, LU_Category, 35);
AT(SSIB_ENTRY, Display_Name, 39);
AT(SSIB_ENTRY, Job_Type, 43);
AT(SSIB_ENTRY, FQDD, 47);
AT(SSIB_ENTRY, Resource_URI, 51);
AT(SSIB_ENTRY, Resource_Type, 55);
AT(SSIB_ENTRY, Resource_Namespace, 59);
AT(SSIB_ENTRY, Target_Version, 63);

static_assert(sizeof(SSIB_ENTRY_LIST) == 76);
AT(SSIB_ENTRY_LIST, next, 0);
AT(SSIB_ENTRY_LIST, fieldMask, 4);
AT(SSIB_ENTRY_LIST, priority, 8);
AT(SSIB_ENTRY_LIST, entry, 9);

static_assert(sizeof(SSIB2_PRIVATE_DATA) == 81);
AT(SSIB2_PRIVATE_DATA, signature, 0);
AT(SSIB2_PRIVATE_DATA, XMLProto, 4);
AT(SSIB2_PRIVATE_DATA, ssibEntryListHead, 8);
AT(SSIB2_PRIVATE_DATA, ssibEntryListPtr, 12);
AT(SSIB2_PRIVATE_DATA, ssibFileName, 16);
AT(SSIB2_PRIVATE_DATA, xmlRoot, 20);
AT(SSIB2_PRIVATE_DATA, debugProto, 24);
AT(SSIB2_PRIVATE_DATA, revision, 28);
AT(SSIB2_PRIVATE_DATA, reserved, 29);
AT(SSIB2_PRIVATE_DATA, openCount, 76);
AT(SSIB2_PRIVATE_DATA, mode, 80);

#endif
