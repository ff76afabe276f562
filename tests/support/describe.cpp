// SPDX-License-Identifier: MIT
#include "support/describe.h"

#include <cstdlib>

#include "platform/xml_service.h"
#include "support/platform.h"

namespace test {

namespace {

std::string withoutAddresses(std::string text) {
  for (const std::string mark :
       {"xmlRoot = ", "ListHead = ", "ListPtr = ", "ListPtr to ", "result = ", "found = ", "ListPtr (", "deleted. ("}) {
    const std::size_t found = text.find(mark);
    if (found == std::string::npos) continue;
    const std::size_t begin = found + mark.size(), end = text.find_first_not_of("-0123456789abcdef", begin);
    if (text[begin] != '0') text.replace(begin, end - begin, "@");
  }
  return text;
}

void put(std::string &text, const char *name, std::uint32_t number) {
  if (number != 0) text += std::string(" ") + name + "=" + std::to_string(number);
}

void put(std::string &text, const char *name, const char *value) {
  if (value != nullptr) text += std::string(" ") + name + "=" + value;
}

}  // namespace

std::string transcript() {
  std::string text;
  for (const std::string &event : platform().events) {
    if (event.starts_with("trace|ssib_if2_backend:")) continue;
    const std::string line = withoutAddresses(event);
    for (const char byte : line.substr(line.starts_with("VYXSSIB|") ? 7 : 0)) {
      text += byte == '\n' ? std::string("\\n") : std::string(1, byte);
    }
    text += '\n';
  }
  return text + (platform().owedTrace.empty() ? "" : "NOT TRACED\n");
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
