// SPDX-License-Identifier: MIT
#include "fields.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

namespace tool {
namespace {

using Kind = Field::Kind;

struct Option {
  const char *name, *help;
};

constexpr Field number(const char *name, Field::Place place, std::uint32_t largest, std::uint32_t bit,
                       std::size_t keyBytes, Option option) {
  return {.name = name,
          .option = option.name,
          .help = option.help,
          .kind = Kind::Number,
          .number = place,
          .largest = largest,
          .bit = bit,
          .key = {keyBytes, 0}};
}

constexpr Field xmlText(const char *name, SSIB_TEXT SSIB_ENTRY::*member, std::size_t keyBytes, Option option) {
  return {.name = name, .option = option.name, .help = option.help, .text = member, .key = {keyBytes, 0}};
}

constexpr Field taskListText(const char *name, SSIB_TEXT SSIB_ENTRY::*member, std::size_t keyBytes, Option option) {
  return {.name = name,
          .option = option.name,
          .help = option.help,
          .text = member,
          .stored = {false, true},
          .key = {0, keyBytes}};
}

constexpr Field kFields[] = {
    number("Version", {offsetof(SSIB_ENTRY, Version), 4}, 0xFFFFFFFF, 0, 4,
           {"version-number", "version number of the block"}),
    number("Block_ID", {offsetof(SSIB_ENTRY, Block_ID), 2}, 0xFFFF, 0, 2, {"block-id", "identifier of the block"}),
    number("RB_Type", {offsetof(SSIB_ENTRY, RB_Type), 1}, 0xFF, SSIB_FIELD_RB_TYPE, 1, {"rb-type", "optional"}),
    number("RB_Req", {offsetof(SSIB_ENTRY, RB_Req), 1}, 0xFF, SSIB_FIELD_RB_REQ, 1, {"rb-req", "optional"}),
    number("Timeout", {offsetof(SSIB_ENTRY, Timeout), 4}, 0xFFFF, SSIB_FIELD_TIMEOUT, 4,
           {"timeout", "optional: seconds; the file keeps 16 bits, and 'add' stores 600 for 0"}),
    number("Rtn_Code", {offsetof(SSIB_ENTRY, Rtn_Code), 4}, 0xFFFFFFFF, SSIB_FIELD_RTN_CODE, 4,
           {"rtn-code", "optional: return code of the job"}),
    number("RT_Count", {offsetof(SSIB_ENTRY, RT_Count), 2}, 0xFFFF, SSIB_FIELD_RT_COUNT, 0, {"rt-count", "optional"}),
    {.name = "Job_ID",
     .option = "job-id",
     .help = "optional: job identifier",
     .text = &SSIB_ENTRY::Job_ID,
     .bit = SSIB_FIELD_JOB_ID,
     .stored = {true, true},
     .key = {SSIB_COMPARED_JOB_ID, 0}},
    xmlText("Cmd_Line", &SSIB_ENTRY::Cmd_Line, SSIB_COMPARED_LONG,
            {"cmd-line", "command line; double quotes around the whole of it are not stored"}),
    xmlText("Task_Name", &SSIB_ENTRY::Task_Name, SSIB_COMPARED_LONG, {"task-name", "name of the task"}),
    {.name = "Node", .kind = Kind::Node},
    xmlText("LU_Category", &SSIB_ENTRY::LU_Category, SSIB_COMPARED_SHORT, {"lu-category", "category of the job"}),
    taskListText("Display_Name", &SSIB_ENTRY::Display_Name, SSIB_COMPARED_LONG,
                 {"display-name", "what the job is called on displays"}),
    taskListText("Job_Type", &SSIB_ENTRY::Job_Type, SSIB_COMPARED_SHORT,
                 {"job-type", "type of the job, for example UPDATE"}),
    taskListText("FQDD", &SSIB_ENTRY::FQDD, SSIB_COMPARED_LONG, {"fqdd", "descriptor of the device"}),
    taskListText("Resource_URI", &SSIB_ENTRY::Resource_URI, SSIB_COMPARED_LONG,
                 {"resource-uri", "where the resource is"}),
    taskListText("Resource_Type", &SSIB_ENTRY::Resource_Type, SSIB_COMPARED_LONG,
                 {"resource-type", "what the resource is"}),
    taskListText("Resource_Namespace", &SSIB_ENTRY::Resource_Namespace, SSIB_COMPARED_LONG,
                 {"resource-namespace", "namespace of the resource"}),
    taskListText("Target_Version", &SSIB_ENTRY::Target_Version, 0, {"target-version", "version to arrive at"}),
};

// Where the low bytes of a number lie.
char *lowBytes(std::uint32_t &number, std::size_t width) {
  const bool isLittle = std::endian::native == std::endian::little;
  return reinterpret_cast<char *>(&number) + (isLittle ? 0 : sizeof(number) - width);
}

}  // namespace

std::span<const Field> fields() {
  return kFields;
}

const Field &fieldNamed(std::string_view name) {
  const auto *field =
      std::find_if(std::begin(kFields), std::end(kFields), [&](const Field &f) { return f.name == name; });
  assert(field != std::end(kFields));
  return *field;
}

// The record is packed: a number is reached by its bytes, never through a pointer of its own type.
std::uint32_t numberOf(const Field &field, const SSIB_ENTRY &entry) {
  const auto [offset, width] = field.number;
  std::uint32_t value = 0;
  std::memcpy(lowBytes(value, width), reinterpret_cast<const char *>(&entry) + offset, width);
  return value;
}

void setNumber(const Field &field, SSIB_ENTRY &entry, std::uint32_t value) {
  const auto [offset, width] = field.number;
  std::memcpy(reinterpret_cast<char *>(&entry) + offset, lowBytes(value, width), width);
}

void setText(const Field &field, SSIB_ENTRY &entry, const char *value) {
  char *copy = strdup(value);
  if (copy == nullptr) throw std::bad_alloc();
  std::free(entry.*field.text);
  entry.*field.text = copy;
}

bool isPresent(const Field &field, const SSIB_ENTRY_LIST &element) {
  switch (field.kind) {
    case Kind::Number:
      return field.bit == 0 || (element.fieldMask & field.bit) != 0;
    case Kind::Text:
      return element.entry.*field.text != nullptr;
    default:
      return element.entry.Node != nullptr;
  }
}

}  // namespace tool
