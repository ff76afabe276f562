// SPDX-License-Identifier: MIT
// What both forms have in common: a NUL, jobs that firmware cannot tell apart or remove, and where remarks stand.
#include "strict_reader.h"

#include <algorithm>
#include <unordered_map>

#include "host.h"
#include "values.h"

namespace tool {
namespace {

// What the library compares when it looks for an entry to delete, and how many bytes of a text. Every text must be
// there, but for those that an entry may leave out.
struct Identity {
  const char *field;
  std::size_t compared = 0;
  bool optional = false;
};
constexpr Identity kXmlIdentity[] = {{"Version"},
                                     {"Block_ID"},
                                     {"RB_Type"},
                                     {"RB_Req"},
                                     {"Timeout"},
                                     {"Rtn_Code"},
                                     {"Job_ID", SSIB_COMPARED_JOB_ID, true},
                                     {"Cmd_Line", SSIB_COMPARED_LONG},
                                     {"Task_Name", SSIB_COMPARED_LONG},
                                     {"LU_Category", SSIB_COMPARED_SHORT}};
constexpr Identity kTaskListIdentity[] = {
    {"Display_Name", SSIB_COMPARED_LONG},  {"Job_Type", SSIB_COMPARED_SHORT},
    {"FQDD", SSIB_COMPARED_LONG},          {"Resource_URI", SSIB_COMPARED_LONG},
    {"Resource_Type", SSIB_COMPARED_LONG}, {"Resource_Namespace", SSIB_COMPARED_LONG}};

std::span<const Identity> identityOf(Form form) {
  return form == Form::Xml ? std::span<const Identity>(kXmlIdentity) : kTaskListIdentity;
}

// The compared values in one text, those of texts cut to `isCut ? compared : all` of their bytes.
std::string keyOf(Form form, const StrictEntry &entry, bool isCut) {
  std::string key;
  for (const Identity &part : identityOf(form)) {
    if (const StrictValue *value = entry.find(*findField(part.field))) {
      const bool isText = value->field->kind == Field::Kind::Text;
      key += isText ? '"' + value->text.substr(0, isCut ? part.compared : std::string::npos)
                    : std::to_string(value->number);
    }
    key += '\0';
  }
  return key;
}

std::string missingTexts(Form form, const StrictEntry &entry) {
  std::string missing;
  for (const Identity &part : identityOf(form)) {
    const Field &field = *findField(part.field);
    if (part.optional || field.kind != Field::Kind::Text || entry.find(field) != nullptr) continue;
    missing += (missing.empty() ? "" : ", ") + std::string(field.name);
  }
  return missing;
}

void remarkOnJobs(Form form, StrictReading &reading) {
  std::unordered_map<std::string, std::size_t> firsts;
  for (std::size_t i = 0; i < reading.entries.size(); ++i) {
    const StrictEntry &entry = reading.entries[i];
    const auto say = [&](std::string text) {
      reading.remarks.push_back({.entry = i + 1, .byte = entry.offset + 1, .text = std::move(text)});
    };
    if (const std::string missing = missingTexts(form, entry); !missing.empty()) {
      say("firmware can never remove this job: it has no " + missing);
    }
    const auto [first, isNew] = firsts.try_emplace(keyOf(form, entry, true), i);
    if (isNew) continue;
    const bool isSame = keyOf(form, entry, false) == keyOf(form, reading.entries[first->second], false);
    say((isSame ? "the same job as entry " : "differs only after the bytes that firmware compares from entry ") +
        std::to_string(first->second + 1));
  }
}

void remarkOnNul(std::string_view bytes, StrictReading &reading) {
  const std::size_t end = upToNul(bytes).size();
  if (end == bytes.size()) return;
  reading.remark(end,
                 "a NUL; the library does not read the rest, of " + std::to_string(bytes.size() - end) +
                     " bytes, and the next write drops it",
                 true);
}

// Remarks come in nearly the file's order: one walk of the file gives them their lines.
void numberLines(std::string_view bytes, StrictReading &reading) {
  std::ranges::stable_sort(reading.remarks, {}, &Remark::byte);
  std::vector<Remark *> places;
  for (Remark &remark : reading.remarks) places.push_back(&remark);
  if (reading.damage) places.push_back(&*reading.damage);
  std::ranges::stable_sort(places, {}, &Remark::byte);
  std::size_t line = 1;
  const char *from = bytes.data();
  for (Remark *place : places) {
    const char *to = bytes.data() + std::min(place->byte - 1, bytes.size());
    line += static_cast<std::size_t>(std::count(from, to, '\n'));
    place->line = line;
    from = to;
  }
}

}  // namespace

const StrictValue *StrictEntry::find(const Field &field) const {
  const auto value = std::ranges::find(values, &field, &StrictValue::field);
  return value == values.end() ? nullptr : &*value;
}

bool StrictReading::wouldDrop() const {
  return damage || std::ranges::any_of(remarks, &Remark::drops);
}

void StrictReading::remark(std::size_t offset, std::string text, bool drops) {
  remarks.push_back({.byte = offset + 1, .text = std::move(text), .drops = drops});
}

void StrictReading::remarkOnNext(std::size_t offset, std::string text, bool drops) {
  remark(offset, std::move(text), drops);
  remarks.back().entry = entries.size() + 1;
}

void StrictReading::leaveOut(std::size_t offset, std::string why) {
  remark(offset, "left out: " + std::move(why), true);
  remarks.back().isLeftOut = true;
}

void StrictReading::damageAt(std::size_t offset, std::string text) {
  if (!damage) damage = {.byte = offset + 1, .text = std::move(text)};
}

std::string remarkAsLine(const Remark &remark) {
  return (remark.entry == 0 ? "" : "entry " + std::to_string(remark.entry) + ", ") + "line " +
         std::to_string(remark.line) + ", byte " + std::to_string(remark.byte) + ": " + escaped(remark.text);
}

SSIB_ENTRY_LIST *elementOf(const StrictEntry &entry) {
  SSIB_ENTRY_LIST *element = newElement();
  for (const StrictValue &value : entry.values) {
    element->fieldMask |= value.field->bit;
    if (value.field->kind == Field::Kind::Number) {
      setNumber(*value.field, element->entry, value.number);
    } else if (value.field->kind == Field::Kind::Node) {
      setNode(value.text, *element);
    } else {
      setText(*value.field, element->entry, value.text.c_str());
    }
  }
  return element;
}

StrictReading readStrictly(Form form, std::string_view bytes) {
  StrictReading reading;
  if (bytes.empty()) return reading;  // an empty queue, in either form
  form == Form::Xml ? readXmlStrictly(bytes, reading) : readTaskListStrictly(bytes, reading);
  for (StrictEntry &entry : reading.entries) std::ranges::sort(entry.values, {}, &StrictValue::field);
  remarkOnNul(bytes, reading);
  remarkOnJobs(form, reading);
  numberLines(bytes, reading);
  return reading;
}

std::string quoted(std::string_view name) {
  constexpr std::size_t kShown = 40;
  return '"' + std::string(name.substr(0, kShown)) + (name.size() > kShown ? "...\"" : "\"");
}

}  // namespace tool
