// SPDX-License-Identifier: MIT
// The fields of an entry, each described once. What treats fields alike (copying, releasing, matching, comparing,
// logging) walks these tables; the tables of the two file formats refer to them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "VyxSSIBBackend.h"

namespace ssib {

// Which of the match rules look at a field.
enum FieldUse : unsigned {
  kMatchedInXml = 1U << 0,        // deleting from an XML queue
  kMatchedInTaskList = 1U << 1,   // deleting from a task list
  kComparedInTaskList = 1U << 2,  // comparing in a task list (in an XML queue all fields are compared)
  kComparedWhenAbsent = 1U << 3,  // comparing in an XML queue: absent on one side only is a difference
};

struct NumberField {
  std::uint8_t offset;
  std::uint8_t width;     // bytes
  std::uint32_t maskBit;  // 0: always valid
  unsigned uses;
};

#define SSIB_NUMBER(name, maskBit, uses)                                \
  NumberField {                                                         \
    offsetof(SSIB_ENTRY, name), sizeof(SSIB_ENTRY::name), maskBit, uses \
  }

inline constexpr NumberField kVersion = SSIB_NUMBER(Version, 0, kMatchedInXml);
inline constexpr NumberField kMode = SSIB_NUMBER(mode, 0, kMatchedInTaskList);
inline constexpr NumberField kBlockId = SSIB_NUMBER(Block_ID, 0, kMatchedInXml);
inline constexpr NumberField kRbType = SSIB_NUMBER(RB_Type, SSIB_FIELD_RB_TYPE, kMatchedInXml);
inline constexpr NumberField kRbReq = SSIB_NUMBER(RB_Req, SSIB_FIELD_RB_REQ, kMatchedInXml);
inline constexpr NumberField kTimeout = SSIB_NUMBER(Timeout, SSIB_FIELD_TIMEOUT, kMatchedInXml);
inline constexpr NumberField kRtnCode = SSIB_NUMBER(Rtn_Code, SSIB_FIELD_RTN_CODE, kMatchedInXml);
inline constexpr NumberField kRtCount = SSIB_NUMBER(RT_Count, SSIB_FIELD_RT_COUNT, 0);

#undef SSIB_NUMBER

// In record order.
inline constexpr NumberField kNumbers[] = {kVersion, kMode, kBlockId, kRbType, kRbReq, kTimeout, kRtnCode, kRtCount};

struct StringField {
  SSIB_TEXT SSIB_ENTRY::*member;
  std::size_t compared;   // bytes that count when two entries are matched or compared
  std::uint32_t maskBit;  // 0: always valid
  unsigned uses;
  const wchar_t *valueLine;   // logged with a copy that was added or read
  const wchar_t *copiedLine;  // logged when an entry is handed out
  const wchar_t *firstLine;   // logged with the two values of a comparison that failed
  const wchar_t *secondLine;
};

#define SSIB_STRING(name, compared, maskBit, uses)                                                               \
  StringField {                                                                                                  \
    &SSIB_ENTRY::name, compared, maskBit, uses, L"" #name ": %s", L"iGetSSIBNextEntry - Done duping the " #name, \
        L"e1->" #name " [%s].", L"e2->" #name " [%s]."                                                           \
  }

// In record order.
inline constexpr StringField kStrings[] = {
    SSIB_STRING(Job_ID, SSIB_COMPARED_JOB_ID, SSIB_FIELD_JOB_ID, kMatchedInXml | kComparedWhenAbsent),
    SSIB_STRING(Cmd_Line, SSIB_COMPARED_LONG, 0, kMatchedInXml | kComparedWhenAbsent),
    SSIB_STRING(Task_Name, SSIB_COMPARED_LONG, 0, kMatchedInXml | kComparedWhenAbsent),
    SSIB_STRING(LU_Category, SSIB_COMPARED_SHORT, 0, kMatchedInXml | kComparedWhenAbsent),
    SSIB_STRING(Display_Name, SSIB_COMPARED_LONG, 0, kMatchedInTaskList | kComparedInTaskList),
    SSIB_STRING(Job_Type, SSIB_COMPARED_SHORT, 0, kMatchedInTaskList | kComparedInTaskList),
    SSIB_STRING(FQDD, SSIB_COMPARED_LONG, 0, kMatchedInTaskList | kComparedInTaskList),
    SSIB_STRING(Resource_URI, SSIB_COMPARED_LONG, 0, kMatchedInTaskList),
    SSIB_STRING(Resource_Type, SSIB_COMPARED_LONG, 0, kMatchedInTaskList),
    SSIB_STRING(Resource_Namespace, SSIB_COMPARED_LONG, 0, kMatchedInTaskList | kComparedInTaskList),
    SSIB_STRING(Target_Version, SSIB_COMPARED_LONG, 0, 0),
};

#undef SSIB_STRING

// In the record, Node stands behind this many strings.
inline constexpr std::size_t kStringsBeforeNode = 3;

// A field is valid when its bit is in the mask, or when it has none.
constexpr bool isValid(std::uint32_t maskBit, std::uint32_t fieldMask) {
  return maskBit == 0 || (fieldMask & maskBit) != 0;
}

std::uint32_t numberOf(const SSIB_ENTRY &entry, const NumberField &field);

// Keeps the low bits that fit into the field.
void setNumber(SSIB_ENTRY &entry, const NumberField &field, std::uint32_t value);

// Whether two texts, both present, agree in the bytes of the field that count.
bool agree(const StringField &field, const char *one, const char *other);

// Releases the eleven strings and the Node of an entry that owns them; the pointers are left as they are. Without a
// service the Node stays allocated, because nothing else can release it.
void releaseContents(XML_SERVICE_PROTOCOL *service, const SSIB_ENTRY &entry);

}  // namespace ssib
