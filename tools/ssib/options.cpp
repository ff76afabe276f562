// SPDX-License-Identifier: MIT
#include "options.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <utility>

#include "host.h"
#include "stop.h"
#include "values.h"

namespace tool {
namespace {

// Finding a key, the task list's reader takes the first quoted text that equals it, be it a value.
bool isTaskListKey(const std::string &value) {
  return std::ranges::any_of(fieldsByKey(), [&](const Field *field) { return field->key.name == value; });
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

[[noreturn]] void refuseField(const Field &field, const std::string &what) {
  throw Stop(Exit::Usage, (field.option != nullptr ? std::string("--") + field.option : field.name) + ": " + what);
}

// How many letters have to be put in, taken out or changed to make one word the other.
std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string didYouMean(const std::string &word, const std::vector<std::string> &known) {
  std::size_t least = word.size() < 4 ? 2 : 3;
  std::string nearest;
  for (const std::string &candidate : known) {
    const std::size_t now = distance(word, candidate);
    if (now < least) {
      least = now;
      nearest = candidate;
    }
  }
  return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

const Field &requireField(const std::string &name) {
  const Field *field = findField(name);
  if (field != nullptr) return *field;
  std::vector<std::string> known;
  for (const Field &each : fields()) {
    known.emplace_back(each.name);
    if (each.option != nullptr) known.emplace_back(each.option);
  }
  throw Stop(Exit::Usage, escaped(name) + " is not a field" + didYouMean(name, known));
}

void requireStoredIn(Form form, const Field &field) {
  if (field.storedIn(form)) return;
  refuseField(field, form == Form::Xml ? "an XML queue file does not store this field"
                                       : "a task list does not store this field");
}

void checkNumber(const Field &field, const std::string &value) {
  std::uint32_t number = 0;
  if (!parseNumber(value, field.largest, number)) {
    refuseField(field, escaped(value) + " is not a number from 0 to " + std::to_string(field.largest));
  }
}

const char *problemOf(Form form, const Field &field, const std::string &value) {
  if (field.kind != Field::Kind::Text) return nullptr;
  return form == Form::Xml ? problemInXml(field, value) : problemInTaskList(value);
}

bool parseNumber(const std::string &text, std::uint32_t largest, std::uint32_t &number) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  const char *begin = text.data() + (isHex ? 2 : 0);
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, number, isHex ? 16 : 10);
  return error == std::errc() && stop == end && number <= largest;
}

void checkFields(Form form, const GivenFields &given) {
  for (const GivenField &item : given) {
    requireStoredIn(form, *item.field);
    if (item.field->kind == Field::Kind::Number) checkNumber(*item.field, item.value);
    if (item.field->kind == Field::Kind::Node && !isNodeText(item.value)) {
      refuseField(*item.field, "the value is not a text of XML elements");
    }
    const char *problem = problemOf(form, *item.field, item.value);
    if (problem != nullptr) refuseField(*item.field, std::string("the value has ") + problem);
  }
}

void checkUnset(Form form, const std::vector<const Field *> &unset) {
  for (const Field *field : unset) {
    requireStoredIn(form, *field);
    const bool isAbsentWhenNull = form == Form::TaskList || field->text == &SSIB_ENTRY::Cmd_Line;
    if (field->bit != 0 || field->kind == Field::Kind::Node || isAbsentWhenNull) continue;
    refuseField(*field, "an entry of an XML queue always has this field; give it another value");
  }
}

void applyFields(const GivenFields &given, SSIB_ENTRY_LIST &element) {
  for (const GivenField &item : given) {
    const bool isCommand = item.field->text == &SSIB_ENTRY::Cmd_Line;
    if (item.field->kind == Field::Kind::Node) {
      setNode(item.value, element);
    } else if (item.field->kind == Field::Kind::Text) {
      setText(*item.field, element.entry, (isCommand ? withoutQuotes(item.value) : item.value).c_str());
    } else {
      std::uint32_t number = 0;
      parseNumber(item.value, item.field->largest, number);
      setNumber(*item.field, element.entry, number);
    }
    element.fieldMask |= item.field->bit;
  }
}

}  // namespace tool
