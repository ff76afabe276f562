// SPDX-License-Identifier: MIT
#include "support/describe.h"

#include <cstdlib>

#include "HostXmlService.h"
#include "support/literal_task_list.h"
#include "support/platform.h"

namespace test {

namespace {

constexpr char kNode[] = "<n x=\"1\">t<m/></n>";
constexpr const char *kUsualTexts[] = {
    " Task_Name=task LU_Category=cat",
    " Job_Type=OTHER FQDD=fqdd Resource_URI=uri Resource_Type=type Resource_Namespace=ns",
    " FQDD=fqdd Resource_URI=uri Resource_Type=type Resource_Namespace=ns",
};

char *text(const char *literal) {
  return const_cast<char *>(literal);
}

// The records of kNode, or of "<o/>".
XML_NODE *staticNode(char name) {
  static XML_STRING n = {1, text("n")}, x = {1, text("x")}, one = {1, text("1")}, t = {1, text("t")},
                    m = {1, text("m")};
  static XML_STRING o = {1, text("o")};
  static XML_ATTRIBUTE attribute = {&x, &one, nullptr, nullptr};
  static XML_NODE child = {&m, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
  static XML_NODE full = {&n, &t, &attribute, nullptr, &child, nullptr, nullptr};
  static XML_NODE empty = {&o, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
  return name == 'o' ? &empty : &full;
}

std::string xmlFileOf(const std::string &jobs) {
  if (jobs.empty()) return "<SSIB_INFO/>\n";
  std::string file = "<SSIB_INFO>\n";
  for (const char job : jobs) {
    file += "<SSIB_BLOCK Version=\"0\" BLOCK_ID=\"0\" LU_CATEGORY=\"cat\" TASK_NAME=\"task\">\n" +
            (job == 'n' ? kNode : "<CMD_LINE>" + std::string(1, job) + "</CMD_LINE>") + "\n</SSIB_BLOCK>\n";
  }
  return file + "</SSIB_INFO>\n";
}

std::string taskListOf(const std::string &jobs) {
  LiteralList list;
  for (const char job : jobs) list.push_back(literalJob(Job(job)));
  return literallyWrite(list);
}

bool isTaskList(const std::string &name) {
  return name.find("json") != std::string::npos;
}

// The letters in front of which a file of jobs has its names.
std::string jobsIn(const std::string &name, const std::string &contents) {
  const std::string mark = isTaskList(name) ? "\"DisplayName\" : \"" : "<CMD_LINE>", nodeMark = "<n x=\"1\"";
  std::string jobs;
  for (std::size_t at = 0; at < contents.size(); ++at) {
    if (contents.compare(at, mark.size(), mark) == 0) jobs += contents[at + mark.size()];
    if (contents.compare(at, nodeMark.size(), nodeMark) == 0) jobs += 'n';
  }
  return jobs;
}

void put(std::string &text, const char *name, std::uint32_t number) {
  if (number != 0) text += std::string(" ") + name + "=" + std::to_string(number);
}

void put(std::string &text, const char *name, const char *value) {
  if (value != nullptr) text += std::string(" ") + name + "=" + value;
}

}  // namespace

Job::Job(char name) : SSIB_ENTRY() {
  static char names[256][2];
  if (name == '-') return;
  char *const ownName = names[static_cast<unsigned char>(name)];
  *ownName = name;
  const bool isExtra = name == 'n' || name == 'o';
  Timeout = 600, Task_Name = text("task"), LU_Category = text("cat");
  if (!isExtra) Cmd_Line = ownName;
  if (isExtra) Node = staticNode(name);
  Display_Name = ownName, Job_Type = text(name == 'u' ? "UPDATE" : "OTHER"), FQDD = text("fqdd");
  Resource_URI = text("uri"), Resource_Type = text("type"), Resource_Namespace = text("ns");
  if (name != 'F') return;
  Version = 1, mode = 1, Block_ID = 2, RB_Type = 3, RB_Req = 4, Timeout = 0, Rtn_Code = 5, RT_Count = 6;
  Job_ID = text("j"), Node = staticNode(name), Target_Version = text("v");
}

std::string fileOf(const std::string &name, const std::string &jobs) {
  if (jobs.starts_with('<')) return jobs;
  return isTaskList(name) ? taskListOf(jobs) : xmlFileOf(jobs);
}

std::string textOfFiles() {
  std::string text;
  for (const auto &[key, contents] : platform().files) {
    const std::string name = key.starts_with("VAR025/") ? key.substr(7) : key, jobs = jobsIn(name, contents);
    text.append(" | ").append(name).append("=").append(contents == fileOf(name, jobs) ? jobs : contents);
  }
  return text;
}

XML_NODE *treeOf(const std::string &document) {
  const XML_STRING image = {1, const_cast<char *>(document.c_str())};
  XML_NODE *root = nullptr;
  if (EFI_ERROR(vyxHostXmlService()->ParseImage(vyxHostXmlService(), &image, &root))) std::abort();
  return root;
}

std::string textOf(const XML_STRING *string) {
  if (string == nullptr) return "";
  return string->text == nullptr ? "~" : string->text;
}

std::string textOf(const XML_NODE *node) {
  std::string text;
  for (; node != nullptr; node = node->nextSibling) {
    text += "<" + textOf(node->name);
    for (const XML_ATTRIBUTE *attribute = node->attributes; attribute != nullptr; attribute = attribute->next)
      text += " " + textOf(attribute->name) + "=\"" + textOf(attribute->value) + "\"";
    const std::string inside = textOf(node->value) + textOf(node->firstChild);
    text += inside.empty() ? "/>" : ">" + inside + "</" + textOf(node->name) + ">";
  }
  return text;
}

std::string textOf(const SSIB_ENTRY &entry) {
  std::string text;
#define VYX_PUT(field) put(text, #field, entry.field)
  VYX_PUT(Version), VYX_PUT(mode), VYX_PUT(Block_ID), VYX_PUT(RB_Type), VYX_PUT(RB_Req), VYX_PUT(Timeout);
  VYX_PUT(Rtn_Code), VYX_PUT(RT_Count), VYX_PUT(Job_ID), VYX_PUT(Cmd_Line), VYX_PUT(Task_Name), VYX_PUT(LU_Category);
  VYX_PUT(Display_Name), VYX_PUT(Job_Type), VYX_PUT(FQDD), VYX_PUT(Resource_URI), VYX_PUT(Resource_Type);
  VYX_PUT(Resource_Namespace), VYX_PUT(Target_Version);
#undef VYX_PUT
  for (const std::string usual : kUsualTexts)
    if (const std::size_t at = text.find(usual); at != std::string::npos) text.erase(at, usual.size());
  if (entry.Node != nullptr) put(text, "Node", textOf(entry.Node).c_str());
  return text;
}

std::string textOf(const SSIB_ENTRY_LIST *first, const SSIB_ENTRY_LIST *cursor) {
  std::string text;
  for (const SSIB_ENTRY_LIST *element = first; element != nullptr; element = element->next) {
    const SSIB_ENTRY &entry = element->entry;
    const char *const found = entry.Cmd_Line != nullptr ? entry.Cmd_Line : entry.Display_Name;
    const std::string name = found == nullptr ? "" : found, priority = std::to_string(element->priority);
    std::string job = textOf(entry);
    put(job, "mask", element->fieldMask);
    if (element->priority != 3) job += " priority=" + priority;
    if (job == " Cmd_Line=" + name || job == " Display_Name=" + name) job = name;
    if (job == " Timeout=600 Cmd_Line=" + name + " Display_Name=" + name + " priority=" + priority)
      job = name + priority;
    text.append(element == cursor ? ">[" : "[").append(job).append("]");
  }
  return text;
}

}  // namespace test
