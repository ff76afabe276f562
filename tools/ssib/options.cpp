// SPDX-License-Identifier: MIT
#include "options.h"

#include <algorithm>
#include <charconv>

#include "host.h"
#include "stop.h"

namespace tool {
namespace {

// Finding a key, the task list's reader takes the first quoted text that equals it, be it a value.
constexpr const char *kTaskListKeys[] = {"JobType",      "DisplayName",       "FQDD",         "JOBID", "ResourceURI",
                                         "ResourceType", "ResourceNamespace", "TargetVersion"};

bool isTaskListKey(const std::string &value) {
  return std::find(std::begin(kTaskListKeys), std::end(kTaskListKeys), value) != std::end(kTaskListKeys);
}

// The first and the last character of a command line that begins with a double quote are not stored, and what is stored
// goes through the same when the file is written next: it must not begin with a quote again.
bool losesMoreThanQuotes(const std::string &commandLine) {
  if (commandLine.empty() || commandLine.front() != '"') return false;
  if (commandLine.size() < 2 || commandLine.back() != '"') return true;
  return commandLine.size() > 2 && commandLine[1] == '"';
}

// Below the blank, and not among those allowed.
bool hasControl(std::string_view text, std::string_view allowed) {
  return std::any_of(text.begin(), text.end(), [&](char ch) {
    return static_cast<unsigned char>(ch) < 0x20 && allowed.find(ch) == std::string_view::npos;
  });
}

// Why a text would not come back from a file; null when it would.
const char *problemInXml(const Field &field, const std::string &value) {
  if (hasControl(value, "\t\n\r")) return "a control character, which XML cannot hold";
  if (field.text == &SSIB_ENTRY::Cmd_Line && losesMoreThanQuotes(value)) {
    return "a double quote in front that would not be stored; put double quotes around the whole, or none in front";
  }
  return nullptr;
}

const char *problemInTaskList(const std::string &value) {
  if (value.empty()) return "no characters, which a task list reads back as no value";
  if (value.size() > SSIB_TASK_LIST_TEXT_MAX) return "more than 4095 bytes, of which the rest would not be stored";
  if (hasControl(value, "")) return "a control character, which a task list cannot hold";
  if (value.find_first_of("\"\\{}[]") != std::string::npos) {
    return "one of the characters \" \\ { } [ ], which a task list cannot hold";
  }
  if (isTaskListKey(value)) return "the name of a key, which a task list reads back as the key itself";
  return nullptr;
}

[[noreturn]] void refuseOption(const Field &field, const std::string &what) {
  throw Stop(Exit::Usage, std::string("--") + field.option + ": " + what);
}

void checkNumber(const Field &field, const std::string &value) {
  std::uint32_t number = 0;
  if (!parseNumber(value, field.largest, number)) {
    refuseOption(field, escaped(value) + " is not a number from 0 to " + std::to_string(field.largest));
  }
}

void checkText(Form form, const Field &field, const std::string &value) {
  const char *problem = form == Form::Xml ? problemInXml(field, value) : problemInTaskList(value);
  if (problem != nullptr) refuseOption(field, std::string("the value has ") + problem);
}

}  // namespace

bool parseNumber(const std::string &text, std::uint32_t largest, std::uint32_t &number) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  const char *begin = text.data() + (isHex ? 2 : 0);
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, number, isHex ? 16 : 10);
  return error == std::errc() && stop == end && number <= largest;
}

void checkFields(Form form, const GivenFields &given) {
  for (const GivenField &item : given) {
    if (!item.field->storedIn(form)) {
      refuseOption(*item.field, form == Form::Xml ? "an XML queue file does not store this field"
                                                  : "a task list does not store this field");
    }
    if (item.field->kind == Field::Kind::Number) {
      checkNumber(*item.field, item.value);
    } else {
      checkText(form, *item.field, item.value);
    }
  }
}

void applyFields(const GivenFields &given, SSIB_ENTRY &entry) {
  for (const GivenField &item : given) {
    if (item.field->kind == Field::Kind::Text) {
      setText(*item.field, entry, item.value.c_str());
      continue;
    }
    std::uint32_t number = 0;
    parseNumber(item.value, item.field->largest, number);
    setNumber(*item.field, entry, number);
  }
}

std::uint32_t bitsOf(const GivenFields &given) {
  std::uint32_t bits = 0;
  for (const GivenField &item : given) bits |= item.field->bit;
  return bits;
}

}  // namespace tool
