// SPDX-License-Identifier: MIT
#include "support/describe.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "platform/xml_service.h"
#include "support/platform.h"

namespace test {

namespace {

constexpr const char *kBeforeAddress[] = {"xmlRoot = ", "ListHead = ", "ListPtr = ", "ListPtr to ",
                                          "result = ",  "found = ",    "ListPtr (",  "deleted. ("};

std::string withoutAddresses(std::string text) {
  for (const char *mark : kBeforeAddress) {
    const std::size_t found = text.find(mark);
    if (found == std::string::npos) continue;
    const std::size_t begin = found + std::strlen(mark);
    const std::size_t end = std::min(text.find_first_not_of("-0123456789abcdef", begin), text.size());
    if (text.substr(begin, end - begin) != "0") text.replace(begin, end - begin, "@");
  }
  return text;
}

std::string visible(const std::string &event) {
  std::string line;
  for (const char byte : withoutAddresses(event)) line += byte == '\n' ? std::string("\\n") : std::string(1, byte);
  return line.starts_with("VYXSSIB|") ? line.substr(std::strlen("VYXSSIB")) : line;
}

// The trace line that has to follow a call, behind its source line; "" for other calls.
std::string traceOf(const std::string &call) {
  std::istringstream words(call);
  std::string kind, partition, name, mode;
  words >> kind;
  if (kind == "close") {
    words >> partition;
    return "Calling varsk_fclose() with partition:" + partition;
  }
  std::getline(std::getline(words >> std::ws, partition, '/'), name, ' ') >> mode;
  if (kind == "delete") return "Calling varsk_fdelete() with partition:" + partition + " and filename: " + name;
  if (kind != "open") return "";
  return "Calling varsk_fopen() with partition:" + partition + " fileName:" + name + " and mode:" + mode;
}

void put(std::string &text, const char *name, std::uint32_t number) {
  if (number != 0) text += std::string(" ") + name + "=" + std::to_string(number);
}

void put(std::string &text, const char *name, const char *value) {
  if (value != nullptr) text += std::string(" ") + name + "=" + value;
}

}  // namespace

std::string transcript() {
  const std::vector<std::string> &events = platform().events;
  std::string text;
  std::size_t traced = 0;
  for (std::size_t at = 0; at < events.size(); ++at) {
    text += visible(events[at]) + "\n";
    const std::string trace = traceOf(events[at]);
    if (trace.empty()) continue;
    const int line = traced < platform().traceLines.size() ? platform().traceLines[traced++] : 0;
    const std::string expected = "trace|ssib_if2_backend:" + std::to_string(line) + ":" + trace;
    const bool follows = at + 1 < events.size() && line > 0 && events[at + 1] == expected;
    follows ? static_cast<void>(++at) : static_cast<void>(text += "NOT TRACED\n");
  }
  return text;
}

XML_NODE *treeOf(const std::string &document) {
  const XML_STRING image = {1, const_cast<char *>(document.c_str())};
  XML_NODE *root = nullptr;
  if (EFI_ERROR(vyx::platform::xmlService()->ParseImage(vyx::platform::xmlService(), &image, &root))) std::abort();
  return root;
}

std::string textOf(const XML_NODE *node) {
  if (node == nullptr) return "";
  XML_STRING *image = nullptr;
  if (EFI_ERROR(vyx::platform::xmlService()->SerializeTree(vyx::platform::xmlService(), node, 1, &image))) return "<?>";
  std::string text = image->text;
  std::free(image->text);
  std::free(image);
  std::erase(text, '\n');
  return text;
}

std::string textOf(const SSIB_ENTRY &entry) {
  std::string text;
#define VYX_PUT(field) put(text, #field, entry.field)
  VYX_PUT(Version), VYX_PUT(mode), VYX_PUT(Block_ID), VYX_PUT(RB_Type), VYX_PUT(RB_Req), VYX_PUT(Timeout);
  VYX_PUT(Rtn_Code), VYX_PUT(RT_Count), VYX_PUT(Job_ID), VYX_PUT(Cmd_Line), VYX_PUT(Task_Name);
  if (entry.Node != nullptr) put(text, "Node", textOf(entry.Node).c_str());
  VYX_PUT(LU_Category), VYX_PUT(Display_Name), VYX_PUT(Job_Type), VYX_PUT(FQDD), VYX_PUT(Resource_URI);
  VYX_PUT(Resource_Type), VYX_PUT(Resource_Namespace), VYX_PUT(Target_Version);
#undef VYX_PUT
  return text;
}

std::string textOf(const SSIB_ENTRY_LIST *first) {
  std::string text;
  for (const SSIB_ENTRY_LIST *element = first; element != nullptr; element = element->next) {
    text += "[" + textOf(element->entry);
    put(text, "mask", element->fieldMask);
    if (element->priority != 3) put(text, "priority", element->priority);
    text += "]";
  }
  return text;
}

}  // namespace test
