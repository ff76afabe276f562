// SPDX-License-Identifier: MIT
#include "output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "host.h"
#include "stop.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;
using Kind = Field::Kind;

std::string nodeText(const XML_NODE *node) {
  XML_SERVICE_PROTOCOL *xml = gSSSIB2pvt.XMLProto;
  XML_STRING *image = nullptr;
  require(xml->SerializeTree(xml, node, 1, &image), "show a Node");
  const std::unique_ptr<XML_STRING, decltype(&std::free)> record(image, &std::free);
  const std::unique_ptr<char, decltype(&std::free)> text(image->text, &std::free);
  return text ? text.get() : "";
}

bool isShown(Form form, const Field &field, const SSIB_ENTRY_LIST &element) {
  return field.storedIn(form) && isPresent(field, element);
}

std::string valueText(const Field &field, const SSIB_ENTRY &entry) {
  switch (field.kind) {
    case Kind::Number:
      return std::to_string(numberOf(field, entry));
    case Kind::Text:
      return entry.*field.text;
    default:
      return nodeText(entry.Node);
  }
}

Json valueJson(const Field &field, const SSIB_ENTRY &entry) {
  if (field.kind == Kind::Number) return numberOf(field, entry);
  return valueText(field, entry);
}

Json jsonOf(Form form, const SSIB_ENTRY_LIST &element) {
  Json object = Json::object();
  for (const Field &field : fields()) {
    if (isShown(form, field, element)) object[field.name] = valueJson(field, element.entry);
  }
  return object;
}

std::string dumped(const Json &json) {
  return json.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

// The columns of a form's table. The one without a usual width comes last.
std::vector<const Field *> columnsOf(Form form) {
  constexpr const char *kXml[] = {"Job_ID", "Task_Name", "LU_Category", "Block_ID", "Version", "Timeout", "Cmd_Line"};
  constexpr const char *kTaskList[] = {"Job_ID", "Job_Type", "Display_Name", "FQDD", "Target_Version"};
  std::vector<const Field *> columns;
  for (const char *name : form == Form::Xml ? std::span<const char *const>(kXml) : kTaskList) {
    columns.push_back(&fieldNamed(name));
  }
  return columns;
}

// A cell is never blank: columns can be told apart at blanks, as long as values have none.
std::string cellText(const std::string &value) {
  return value.empty() ? "\"\"" : escaped(value);
}

std::vector<Row> tableRows(Form form, const Elements &elements) {
  const std::vector<const Field *> columns = columnsOf(form);
  std::vector<Row> rows(1, Row{"#"});
  for (const Field *column : columns) rows.front().emplace_back(column->name);
  for (const SSIB_ENTRY_LIST *element : elements) {
    Row row = {std::to_string(rows.size())};
    for (const Field *column : columns) {
      row.push_back(isPresent(*column, *element) ? cellText(valueText(*column, element->entry)) : "-");
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

// The room that an escaped text takes in a table.
std::size_t characters(std::string_view escapedText) {
  const auto begins = [](char ch) { return (static_cast<unsigned char>(ch) & 0xC0U) != 0x80; };
  return static_cast<std::size_t>(std::count_if(escapedText.begin(), escapedText.end(), begins));
}

std::vector<std::size_t> columnWidths(const std::vector<Row> &rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row &row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], characters(row[i]));
  }
  return widths;
}

}  // namespace

std::string entryAsLines(Form form, const SSIB_ENTRY_LIST &element) {
  std::string out;
  for (const Field &field : fields()) {
    if (isShown(form, field, element)) {
      out += std::string(field.name) + ": " + escaped(valueText(field, element.entry)) + "\n";
    }
  }
  return out;
}

std::string entriesAsTable(Form form, const Elements &elements) {
  const std::vector<Row> rows = tableRows(form, elements);
  const std::vector<std::size_t> widths = columnWidths(rows);
  std::string out;
  for (const Row &row : rows) {
    for (std::size_t i = 0; i + 1 < row.size(); ++i) {
      out.append(row[i]).append(widths[i] - characters(row[i]) + 2, ' ');
    }
    out.append(row.back()).append("\n");
  }
  return out;
}

std::string entryAsJson(Form form, const SSIB_ENTRY_LIST &element) {
  return dumped(jsonOf(form, element));
}

std::string entriesAsJson(Form form, const Elements &elements) {
  Json array = Json::array();
  for (const SSIB_ENTRY_LIST *element : elements) array.push_back(jsonOf(form, *element));
  return dumped(array);
}

void print(const std::string &text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!written) throw Stop(Exit::Refused, std::string("cannot write to standard output: ") + std::strerror(errno));
}

}  // namespace tool
