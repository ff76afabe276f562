// SPDX-License-Identifier: MIT
#include "output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>

#include "host.h"
#include "stop.h"
#include "values.h"

namespace tool {
namespace {

// The columns of a form's table. The one without a usual width comes last.
std::vector<const Field *> columnsOf(Form form) {
  constexpr const char *kXml[] = {"Job_ID", "Task_Name", "LU_Category", "Block_ID", "Version", "Timeout", "Cmd_Line"};
  constexpr const char *kTaskList[] = {"Job_ID", "Job_Type", "Display_Name", "FQDD", "Target_Version"};
  std::vector<const Field *> columns;
  for (const char *name : form == Form::Xml ? std::span<const char *const>(kXml) : kTaskList) {
    columns.push_back(findField(name));
  }
  return columns;
}

// A cell is never blank: columns can be told apart at blanks, as long as values have none.
std::string cellText(const std::string &value) {
  return value.empty() ? "\"\"" : escaped(value);
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
    const Value value = valueOf(form, field, element);
    if (value) out += std::string(field.name) + (value->empty() ? ":" : ": ") + escaped(*value) + "\n";
  }
  return out;
}

std::string entriesAsTable(const Queue &queue, const Places &places) {
  const std::vector<const Field *> columns = columnsOf(queue.form());
  std::vector<Row> rows(1, Row{"#"});
  for (const Field *column : columns) rows.front().emplace_back(column->name);
  for (const std::size_t place : places) {
    Row row = {std::to_string(place + 1)};
    for (const Field *column : columns) {
      const Value value = valueOf(queue.form(), *column, *queue.elements[place]);
      row.push_back(value ? cellText(*value) : "-");
    }
    rows.push_back(std::move(row));
  }
  return asTable(rows);
}

std::string asTable(const std::vector<Row> &rows) {
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

void print(const std::string &text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!written) throw Stop(Exit::Refused, std::string("cannot write to standard output: ") + std::strerror(errno));
}

}  // namespace tool
