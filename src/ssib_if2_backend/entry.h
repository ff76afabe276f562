// SPDX-License-Identifier: MIT
// The fields of an entry, each described once. What treats fields alike (copying, releasing, matching, comparing,
// logging) walks these tables; the tables of the two file formats refer to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "VyxSSIBBackend.h"

namespace ssib {

// When two entries agree in a field.
enum Rule : std::uint8_t {
  kIgnored,       // always
  kEqual,         // the same number
  kBothPresent,   // equal texts, present on both sides
  kBothOrNone,    // equal texts, or none on either side
  kWherePresent,  // equal texts where both sides have one
};

// The rule of a field for each question about two entries.
struct Rules {
  Rule xmlDelete, xmlCompare, taskListDelete, taskListCompare;
};

struct NumberField {
  std::uint8_t offset;
  std::uint8_t width;     // bytes
  std::uint32_t maskBit;  // 0: always valid
  Rules rules;
};

#define SSIB_NUMBER(name, maskBit, ...)                              \
  NumberField {                                                      \
    offsetof(SSIB_ENTRY, name), sizeof(SSIB_ENTRY::name), maskBit, { \
      __VA_ARGS__                                                    \
    }                                                                \
  }

// In record order. The rules: XML queue, delete and compare; task list, delete and compare.
inline constexpr NumberField kNumbers[] = {
    SSIB_NUMBER(Version, 0, kEqual, kEqual, kIgnored, kIgnored),
    SSIB_NUMBER(mode, 0, kIgnored, kEqual, kEqual, kIgnored),
    SSIB_NUMBER(Block_ID, 0, kEqual, kEqual, kIgnored, kIgnored),
    SSIB_NUMBER(RB_Type, SSIB_FIELD_RB_TYPE, kEqual, kEqual, kIgnored, kIgnored),
    SSIB_NUMBER(RB_Req, SSIB_FIELD_RB_REQ, kEqual, kEqual, kIgnored, kIgnored),
    SSIB_NUMBER(Timeout, SSIB_FIELD_TIMEOUT, kEqual, kEqual, kIgnored, kIgnored),
    SSIB_NUMBER(Rtn_Code, SSIB_FIELD_RTN_CODE, kEqual, kEqual, kIgnored, kIgnored),
    SSIB_NUMBER(RT_Count, SSIB_FIELD_RT_COUNT, kIgnored, kEqual, kIgnored, kIgnored),
};

#undef SSIB_NUMBER

struct StringField {
  SSIB_TEXT SSIB_ENTRY::*member;
  std::size_t compared;   // bytes that count when two entries are matched or compared
  std::uint32_t maskBit;  // 0: always valid
  Rules rules;
  const wchar_t *valueLine;   // logged with a copy that was added or read
  const wchar_t *copiedLine;  // logged when an entry is handed out
  const wchar_t *firstLine;   // logged with the two values of a comparison that failed
  const wchar_t *secondLine;
};

#define SSIB_STRING(name, compared, maskBit, ...)                                                     \
  StringField {                                                                                       \
    &SSIB_ENTRY::name, compared, maskBit, {__VA_ARGS__}, L"" #name ": %s",                            \
        L"iGetSSIBNextEntry - Done duping the " #name, L"e1->" #name " [%s].", L"e2->" #name " [%s]." \
  }

// In record order. The rules: as above.
inline constexpr StringField kStrings[] = {
    SSIB_STRING(Job_ID, SSIB_COMPARED_JOB_ID, SSIB_FIELD_JOB_ID, kBothPresent, kBothOrNone, kIgnored, kIgnored),
    SSIB_STRING(Cmd_Line, SSIB_COMPARED_LONG, 0, kBothPresent, kBothOrNone, kIgnored, kIgnored),
    SSIB_STRING(Task_Name, SSIB_COMPARED_LONG, 0, kBothPresent, kBothOrNone, kIgnored, kIgnored),
    SSIB_STRING(LU_Category, SSIB_COMPARED_SHORT, 0, kBothPresent, kBothOrNone, kIgnored, kIgnored),
    SSIB_STRING(Display_Name, SSIB_COMPARED_LONG, 0, kIgnored, kWherePresent, kBothPresent, kWherePresent),
    SSIB_STRING(Job_Type, SSIB_COMPARED_SHORT, 0, kIgnored, kWherePresent, kBothPresent, kWherePresent),
    SSIB_STRING(FQDD, SSIB_COMPARED_LONG, 0, kIgnored, kWherePresent, kBothPresent, kWherePresent),
    SSIB_STRING(Resource_URI, SSIB_COMPARED_LONG, 0, kIgnored, kWherePresent, kBothPresent, kIgnored),
    SSIB_STRING(Resource_Type, SSIB_COMPARED_LONG, 0, kIgnored, kWherePresent, kBothPresent, kIgnored),
    SSIB_STRING(Resource_Namespace, SSIB_COMPARED_LONG, 0, kIgnored, kWherePresent, kBothPresent, kWherePresent),
    SSIB_STRING(Target_Version, SSIB_COMPARED_LONG, 0, kIgnored, kWherePresent, kIgnored, kIgnored),
};

#undef SSIB_STRING

// In the record, Node follows this many strings.
inline constexpr std::size_t kStringsBeforeNode = 3;

// The row of a field. One that is missing does not compile: the search leaves the table.
consteval const NumberField &numberField(std::size_t offset) {
  const NumberField *field = kNumbers;
  while (field->offset != offset) ++field;
  return *field;
}

consteval const StringField &stringField(SSIB_TEXT SSIB_ENTRY::*member) {
  const StringField *field = kStrings;
  while (field->member != member) ++field;
  return *field;
}

// A field is valid when its bit is in the mask, or when it has none.
constexpr bool isValid(std::uint32_t maskBit, std::uint32_t fieldMask) {
  return maskBit == 0 || (fieldMask & maskBit) != 0;
}

std::uint32_t numberOf(const SSIB_ENTRY &entry, const NumberField &field);

// Keeps the low bits that fit into the field.
void setNumber(SSIB_ENTRY &entry, const NumberField &field, std::uint32_t value);

// Whether two entries agree in a field.
bool agree(const NumberField &field, Rule rule, const SSIB_ENTRY &one, const SSIB_ENTRY &other);
inline bool agree(const StringField &field, Rule rule, const SSIB_ENTRY &one, const SSIB_ENTRY &other) {
  if (rule == kIgnored) return true;
  const char *text = one.*field.member;
  const char *otherText = other.*field.member;
  if (text != nullptr && otherText != nullptr) return std::strncmp(text, otherText, field.compared) == 0;
  return rule == kWherePresent || (rule == kBothOrNone && text == otherText);
}

// Whether they agree, by their rules for the question, in all numbers and texts that the mask makes valid.
bool agreeInAll(Rule Rules::*question, const SSIB_ENTRY &one, const SSIB_ENTRY &other, std::uint32_t fieldMask);

// Releases the eleven strings and the Node of an entry that owns them; the pointers are left as they are. Without a
// service the Node stays allocated, because nothing else can release it.
void releaseContents(XML_SERVICE_PROTOCOL *service, const SSIB_ENTRY &entry);

}  // namespace ssib
