// SPDX-License-Identifier: MIT
#include "output.h"

#include <sys/ioctl.h>
#include <unistd.h>

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

bool beginsCharacter(char ch) {
  return (static_cast<unsigned char>(ch) & 0xC0U) != 0x80;
}

// The room that an escaped text takes in a table.
std::size_t characters(std::string_view escapedText) {
  return static_cast<std::size_t>(std::count_if(escapedText.begin(), escapedText.end(), beginsCharacter));
}

// At most so many characters, the last of which then says that there are more.
std::string cut(std::string line, std::size_t width) {
  if (characters(line) <= width) return line;
  std::size_t end = 0;
  for (std::size_t kept = 0; kept < width; ++end) kept += beginsCharacter(line[end]) ? 1 : 0;
  line.resize(end - 1);
  return line + "\u2026";
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

std::size_t terminalWidth() {
  winsize size{};
  const bool isTerminal = isatty(STDOUT_FILENO) == 1 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
  return isTerminal && size.ws_col > 1 ? size.ws_col : kUnlimited;
}

std::string entriesAsTable(const Queue &queue, const Places &places, std::vector<const Field *> columns,
                           std::size_t width) {
  if (columns.empty()) columns = columnsOf(queue.form());
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
  return asTable(rows, width);
}

std::string asTable(const std::vector<Row> &rows, std::size_t width) {
  const std::vector<std::size_t> widths = columnWidths(rows);
  std::string out;
  for (const Row &row : rows) {
    std::string line;
    for (std::size_t i = 0; i + 1 < row.size(); ++i) {
      line.append(row[i]).append(widths[i] - characters(row[i]) + 2, ' ');
    }
    out.append(cut(line + row.back(), width)).append("\n");
  }
  return out;
}

void print(const std::string &text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!written) throw Stop(Exit::Refused, std::string("cannot write to standard output: ") + std::strerror(errno));
}

}  // namespace tool
