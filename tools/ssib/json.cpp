// SPDX-License-Identifier: MIT
#include "json.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "host.h"
#include "json_text.h"
#include "stop.h"
#include "values.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kNumberKey = "entry";

std::string dumped(const Json &json) {
  return json.dump(2, ' ', true) + "\n";
}

Json jsonOf(const Queue &queue, std::size_t place) {
  const SSIB_ENTRY_LIST &element = *queue.elements[place];
  Json object = {{kNumberKey, place + 1}};
  for (const Field &field : fields()) {
    const Value value = valueOf(queue.form(), field, element);
    if (!value) continue;
    object[field.name] = field.kind == Field::Kind::Number ? Json(numberOf(field, element.entry)) : jsonOfText(*value);
  }
  return object;
}

Json jsonOf(const Record &record) {
  Json object = Json::object();
  for (const auto &[name, value] : record) {
    object[name] = std::visit([](const auto &plain) { return Json(plain); }, value);
  }
  return object;
}

GivenField fieldOf(const std::string &name, const Json &value) {
  const Field *field = &requireField(name);
  if (field->kind == Field::Kind::Number) {
    if (value.is_number_integer()) return {field, value.dump()};
    throw Stop(Exit::Usage, name + ": " + escaped(value.dump(-1, ' ', true)) + " is not a whole number");
  }
  std::optional<std::string> text = textOfJson(value);
  if (!text) throw Stop(Exit::Usage, name + ": the value is not a text");
  return {field, std::move(*text)};
}

GivenFields fieldsOf(const Json &object) {
  if (!object.is_object()) throw Stop(Exit::Usage, "not a JSON object");
  GivenFields given;
  for (const auto &[name, value] : object.items()) {
    if (name != kNumberKey) given.push_back(fieldOf(name, value));
  }
  return given;
}

// ", at line 1, column 2", as the parser counts them from where an entry begins.
std::string placeIn(const std::string &message) {
  const std::size_t begin = message.find("line "), end = message.find(':', begin);
  return begin == std::string::npos ? "" : ", at " + message.substr(begin, end - begin);
}

// One array, or objects up to the end.
std::vector<Json> objectsIn(const std::string &text) {
  std::istringstream stream(text);
  std::vector<Json> objects;
  try {
    for (Json value; (stream >> std::ws).peek() != std::istringstream::traits_type::eof();) {
      stream >> value;
      if (value.is_array() && objects.empty() && (stream >> std::ws).eof()) return {value.begin(), value.end()};
      objects.push_back(std::move(value));
    }
  } catch (const Json::exception &error) {
    const std::string entry = objects.empty() ? "" : "entry " + std::to_string(objects.size() + 1) + ": ";
    throw Stop(Exit::Usage, entry + "not JSON" + placeIn(error.what()));
  }
  return objects;
}

}  // namespace

std::string entryAsJson(const Queue &queue, std::size_t place) {
  return dumped(jsonOf(queue, place));
}

std::string entriesAsJson(const Queue &queue, const Places &places) {
  Json array = Json::array();
  for (const std::size_t place : places) array.push_back(jsonOf(queue, place));
  return dumped(array);
}

std::string eventAsJson(const Queue &queue, std::size_t place, const char *event, const std::string &changed) {
  Json object = {{"event", event}};
  if (!changed.empty()) object["changed"] = changed;
  object.update(jsonOf(queue, place));
  return object.dump(-1, ' ', true) + "\n";
}

std::vector<GivenFields> parseEntries(const std::string &text) {
  std::vector<GivenFields> entries;
  for (const Json &object : objectsIn(text)) {
    try {
      entries.push_back(fieldsOf(object));
    } catch (const Stop &stop) {
      throw Stop(Exit::Usage, "entry " + std::to_string(entries.size() + 1) + ": " + stop.what());
    }
  }
  return entries;
}

std::string recordAsJson(const Record &record) {
  return dumped(jsonOf(record));
}

std::string recordsAsJson(const std::vector<Record> &records) {
  Json array = Json::array();
  for (const Record &record : records) array.push_back(jsonOf(record));
  return dumped(array);
}

}  // namespace tool
