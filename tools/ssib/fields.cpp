// SPDX-License-Identifier: MIT
#include "fields.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

namespace tool {
namespace {

using Kind = Field::Kind;

struct Option {
  const char *name, *help;
};

constexpr Field number(const char *name, Field::Place place, std::uint32_t largest, std::uint32_t bit, Option option,
                       std::string_view attribute) {
  return {.name = name,
          .option = option.name,
          .help = option.help,
          .kind = Kind::Number,
          .number = place,
          .largest = largest,
          .bit = bit,
          .attribute = attribute};
}

constexpr Field xmlText(const char *name, SSIB_TEXT SSIB_ENTRY::*member, Option option, std::string_view attribute) {
  return {.name = name, .option = option.name, .help = option.help, .text = member, .attribute = attribute};
}

constexpr Field taskListText(const char *name, SSIB_TEXT SSIB_ENTRY::*member, Option option, Field::Key key) {
  return {.name = name, .option = option.name, .help = option.help, .text = member, .key = key};
}

constexpr Field kFields[] = {
    number("Version", {offsetof(SSIB_ENTRY, Version), 4}, 0xFFFFFFFF, 0,
           {"version-number", "version number of the block"}, "Version"),
    number("Block_ID", {offsetof(SSIB_ENTRY, Block_ID), 2}, 0xFFFF, 0, {"block-id", "identifier of the block"},
           "BLOCK_ID"),
    number("RB_Type", {offsetof(SSIB_ENTRY, RB_Type), 1}, 0xFF, SSIB_FIELD_RB_TYPE, {"rb-type", "optional"}, "RB_TYPE"),
    number("RB_Req", {offsetof(SSIB_ENTRY, RB_Req), 1}, 0xFF, SSIB_FIELD_RB_REQ, {"rb-req", "optional"}, "RB_REQ"),
    number("Timeout", {offsetof(SSIB_ENTRY, Timeout), 4}, 0xFFFF, SSIB_FIELD_TIMEOUT, {"timeout", "optional: seconds"},
           "TIMEOUT"),
    number("Rtn_Code", {offsetof(SSIB_ENTRY, Rtn_Code), 4}, 0xFFFFFFFF, SSIB_FIELD_RTN_CODE,
           {"rtn-code", "optional: return code of the job"}, "RTN_CODE"),
    number("RT_Count", {offsetof(SSIB_ENTRY, RT_Count), 2}, 0xFFFF, SSIB_FIELD_RT_COUNT, {"rt-count", "optional"},
           "RT_COUNT"),
    {.name = "Job_ID",
     .option = "job-id",
     .help = "optional: job identifier",
     .text = &SSIB_ENTRY::Job_ID,
     .bit = SSIB_FIELD_JOB_ID,
     .attribute = "JOB_ID",
     .key = {"JOBID", 3}},
    {.name = "Cmd_Line",
     .option = "cmd-line",
     .help = "command line; double quotes around the whole of it are not stored",
     .text = &SSIB_ENTRY::Cmd_Line,
     .isElement = true},
    xmlText("Task_Name", &SSIB_ENTRY::Task_Name, {"task-name", "name of the task"}, "TASK_NAME"),
    {.name = "Node", .kind = Kind::Node, .isElement = true},
    xmlText("LU_Category", &SSIB_ENTRY::LU_Category, {"lu-category", "category of the job"}, "LU_CATEGORY"),
    taskListText("Display_Name", &SSIB_ENTRY::Display_Name, {"display-name", "what the job is called on displays"},
                 {"DisplayName", 1}),
    taskListText("Job_Type", &SSIB_ENTRY::Job_Type, {"job-type", "type of the job, for example UPDATE"},
                 {"JobType", 0}),
    taskListText("FQDD", &SSIB_ENTRY::FQDD, {"fqdd", "descriptor of the device"}, {"FQDD", 2}),
    taskListText("Resource_URI", &SSIB_ENTRY::Resource_URI, {"resource-uri", "where the resource is"},
                 {"ResourceURI", 4}),
    taskListText("Resource_Type", &SSIB_ENTRY::Resource_Type, {"resource-type", "what the resource is"},
                 {"ResourceType", 5}),
    taskListText("Resource_Namespace", &SSIB_ENTRY::Resource_Namespace,
                 {"resource-namespace", "namespace of the resource"}, {"ResourceNamespace", 6}),
    taskListText("Target_Version", &SSIB_ENTRY::Target_Version, {"target-version", "version to arrive at"},
                 {"TargetVersion", 7}),
};

// A field too many, or a place that is not below kKeys, does not compile.
constexpr auto kByKey = [] {
  std::array<const Field *, kKeys> ordered = {};
  for (const Field &field : kFields) {
    if (field.storedIn(Form::TaskList)) ordered.at(field.key.place) = &field;
  }
  return ordered;
}();
static_assert(std::ranges::count(kByKey, nullptr) == 0);

// Where the low bytes of a number lie.
char *lowBytes(std::uint32_t &number, std::size_t width) {
  const bool isLittle = std::endian::native == std::endian::little;
  return reinterpret_cast<char *>(&number) + (isLittle ? 0 : sizeof(number) - width);
}

}  // namespace

std::span<const Field> fields() {
  return kFields;
}

std::span<const Field *const, kKeys> fieldsByKey() {
  return kByKey;
}

const Field *findField(std::string_view name) {
  const auto *field = std::find_if(std::begin(kFields), std::end(kFields), [&](const Field &f) {
    return f.name == name || (f.option != nullptr && f.option == name);
  });
  return field != std::end(kFields) ? field : nullptr;
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

void removeField(const Field &field, SSIB_ENTRY_LIST &element) {
  element.fieldMask &= ~field.bit;
  if (field.kind == Kind::Text) {
    std::free(element.entry.*field.text);
    element.entry.*field.text = nullptr;
  } else if (field.kind == Kind::Node && element.entry.Node != nullptr) {
    XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
    xml->DeleteTree(xml, element.entry.Node);
    element.entry.Node = nullptr;
  }
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

SSIB_ENTRY_LIST *newElement() {
  SSIB_ENTRY_LIST *element = le_new();
  if (element == nullptr) throw std::bad_alloc();
  return element;
}

void releaseElement(SSIB_ENTRY_LIST *element) {
  for (const Field &field : kFields) removeField(field, *element);
  std::free(element);
}

}  // namespace tool
