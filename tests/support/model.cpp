// SPDX-License-Identifier: MIT
#include "support/model.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "support/literal_task_list.h"

namespace test {

namespace {

// Places of numbers and texts in the record.
constexpr std::size_t kVersion = 0, kMode = 1, kBlockId = 2, kRbType = 3, kRbReq = 4, kTimeout = 5, kRtnCode = 6,
                      kRtCount = 7;
constexpr std::size_t kJobId = 0, kCmdLine = 1, kTaskName = 2, kLuCategory = 3, kDisplayName = 4, kJobType = 5,
                      kFqdd = 6, kUri = 7, kType = 8, kSpace = 9, kVersionText = 10;

struct {
  std::size_t offset, width;
  std::uint32_t maskBit;
} constexpr kNumbers[] = {{offsetof(SSIB_ENTRY, Version), 4, 0},  {offsetof(SSIB_ENTRY, mode), 1, 0},
                          {offsetof(SSIB_ENTRY, Block_ID), 2, 0}, {offsetof(SSIB_ENTRY, RB_Type), 1, 2},
                          {offsetof(SSIB_ENTRY, RB_Req), 1, 1},   {offsetof(SSIB_ENTRY, Timeout), 4, 4},
                          {offsetof(SSIB_ENTRY, Rtn_Code), 4, 8}, {offsetof(SSIB_ENTRY, RT_Count), 2, 16}};
struct {
  SSIB_TEXT SSIB_ENTRY::*member;
  std::size_t counted;
} constexpr kTexts[] = {{&SSIB_ENTRY::Job_ID, 64},         {&SSIB_ENTRY::Cmd_Line, 256},
                        {&SSIB_ENTRY::Task_Name, 256},     {&SSIB_ENTRY::LU_Category, 16},
                        {&SSIB_ENTRY::Display_Name, 256},  {&SSIB_ENTRY::Job_Type, 16},
                        {&SSIB_ENTRY::FQDD, 256},          {&SSIB_ENTRY::Resource_URI, 256},
                        {&SSIB_ENTRY::Resource_Type, 256}, {&SSIB_ENTRY::Resource_Namespace, 256},
                        {&SSIB_ENTRY::Target_Version, 256}};

// The documents' order, which is not the record's.
using Stored = std::pair<const char *, std::size_t>;
constexpr Stored kAttributeNumbers[] = {{"Version", kVersion},  {"BLOCK_ID", kBlockId}, {"RT_COUNT", kRtCount},
                                        {"RTN_CODE", kRtnCode}, {"TIMEOUT", kTimeout},  {"RB_TYPE", kRbType},
                                        {"RB_REQ", kRbReq}};
constexpr Stored kAttributeTexts[] = {{"LU_CATEGORY", kLuCategory}, {"TASK_NAME", kTaskName}, {"JOB_ID", kJobId}};
constexpr std::size_t kTaskTexts[] = {kJobType, kDisplayName, kFqdd, kJobId, kUri, kType, kSpace, kVersionText};

bool has(std::size_t number, const ModelJob &job) {
  return kNumbers[number].maskBit == 0 || (job.fieldMask & kNumbers[number].maskBit) != 0;
}
bool hasText(std::size_t text, const ModelJob &job) {
  return text != kJobId || (job.fieldMask & SSIB_FIELD_JOB_ID) != 0;
}
bool isTaskListName(const std::string &name) {
  return name.find("json") != std::string::npos;
}

std::string escaped(const std::string &text) {
  std::string result;
  for (const char c : text) result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  return result;
}

std::string storedCommand(const std::string &command) {
  if (!command.starts_with('"')) return command;
  return command.size() == 1 ? "" : command.substr(1, command.size() - 2);
}

// A job as it is read back from the XML form, and as it stands there.
ModelJob readBackXml(const ModelJob &job) {
  ModelJob read;
  read.fieldMask = job.fieldMask & 0x3F;
  for (const auto &[name, field] : kAttributeNumbers)
    if (has(field, job)) read.numbers[field] = job.numbers[field];
  read.numbers[kTimeout] &= 0xFFFF;
  for (const auto &[name, field] : kAttributeTexts)
    if (hasText(field, job)) read.texts[field] = job.texts[field].value_or("");
  if (job.texts[kCmdLine]) read.texts[kCmdLine] = storedCommand(*job.texts[kCmdLine]);
  if (!job.texts[kCmdLine] && !job.node.empty()) read.node = {job.node.back()};
  return read;
}

std::string block(const ModelJob &job) {
  std::string text = "<SSIB_BLOCK", content;
  const auto add = [&](const char *name, const std::string &value) {
    text.append(" ").append(name).append("=\"").append(value).append("\"");
  };
  for (const auto &[name, field] : kAttributeNumbers)
    if (has(field, job)) add(name, std::to_string(static_cast<std::int32_t>(job.numbers[field])));
  for (const auto &[name, field] : kAttributeTexts)
    if (hasText(field, job)) add(name, escaped(job.texts[field].value_or("")));
  if (job.texts[kCmdLine]) content = "<CMD_LINE>" + escaped(storedCommand(*job.texts[kCmdLine])) + "</CMD_LINE>\n";
  for (const std::string &name : job.texts[kCmdLine] ? std::vector<std::string>() : job.node)
    content.append("<").append(name).append(">v</").append(name).append(">\n");
  return text + (content.empty() ? "/>\n" : ">\n" + content + "</SSIB_BLOCK>\n");
}

ModelJob readBackTask(const ModelJob &job) {
  ModelJob read;
  for (const std::size_t field : kTaskTexts)
    if (job.texts[field] != "") read.texts[field] = job.texts[field];
  return read;
}

std::string taskList(const ModelList &jobs) {
  std::vector<LiteralJob> literal(jobs.size());
  std::ranges::transform(jobs, literal.begin(), [](const ModelJob &job) {
    LiteralJob texts;
    std::ranges::transform(kTaskTexts, texts.begin(), [&](std::size_t field) { return job.texts[field]; });
    return texts;
  });
  return literallyWrite(literal, "").bytes;
}

// Nothing when XML cannot hold one of the texts.
std::optional<std::string> document(const ModelList &jobs, bool isTaskList) {
  if (isTaskList) return taskList(jobs);
  std::string body;
  for (const ModelJob &job : jobs) body += block(job);
  if (body.find('\x01') != std::string::npos) return std::nullopt;
  return body.empty() ? "<SSIB_INFO/>\n" : "<SSIB_INFO>\n" + body + "</SSIB_INFO>\n";
}

bool agreeWherePresent(std::size_t text, const ModelJob &one, const ModelJob &other) {
  const std::size_t counted = kTexts[text].counted;
  return !one.texts[text] || !other.texts[text] ||
         one.texts[text]->substr(0, counted) == other.texts[text]->substr(0, counted);
}

bool matches(const ModelJob &element, const ModelJob &key, bool isTaskList) {
  const auto textMatches = [&](std::size_t text) {
    return !hasText(text, element) || (element.texts[text] && key.texts[text] && agreeWherePresent(text, element, key));
  };
  const auto numberMatches = [&](std::size_t number) {
    return !has(number, element) || element.numbers[number] == key.numbers[number];
  };
  if (isTaskList) {
    return numberMatches(kMode) &&
           std::ranges::all_of(std::array{kDisplayName, kJobType, kFqdd, kUri, kType, kSpace}, textMatches);
  }
  return std::ranges::all_of(std::array{kVersion, kBlockId, kRbType, kRbReq, kTimeout, kRtnCode}, numberMatches) &&
         std::ranges::all_of(std::array{kJobId, kCmdLine, kTaskName, kLuCategory}, textMatches);
}

}  // namespace

ModelJob valueOf(const SSIB_ENTRY &entry) {
  ModelJob job;
  const char *bytes = reinterpret_cast<const char *>(&entry);
  for (std::size_t i = 0; i < job.numbers.size(); ++i)
    std::memcpy(&job.numbers[i], bytes + kNumbers[i].offset, kNumbers[i].width);
  for (std::size_t i = 0; i < job.texts.size(); ++i)
    if (const char *text = entry.*kTexts[i].member) job.texts[i] = text;
  for (const XML_NODE *node = entry.Node; node != nullptr; node = node->nextSibling) {
    const bool isPlain =
        node->attributes == nullptr && node->firstChild == nullptr && std::strcmp(node->value->text, "v") == 0;
    job.node.emplace_back(isPlain ? node->name->text : "damaged node");
  }
  return job;
}

ModelRecord::ModelRecord(const ModelJob &job) : strings(2 * job.node.size()), nodes(job.node.size()) {
  char *bytes = reinterpret_cast<char *>(&entry);
  for (std::size_t i = 0; i < job.numbers.size(); ++i)
    std::memcpy(bytes + kNumbers[i].offset, &job.numbers[i], kNumbers[i].width);
  for (std::size_t i = 0; i < job.texts.size(); ++i)
    entry.*kTexts[i].member = job.texts[i] ? const_cast<char *>(job.texts[i]->c_str()) : nullptr;
  for (std::size_t i = nodes.size(); i-- > 0;) {
    strings[2 * i] = {1, const_cast<char *>(job.node[i].c_str())};
    strings[2 * i + 1] = {1, const_cast<char *>("v")};
    nodes[i] = {&strings[2 * i], &strings[2 * i + 1], nullptr, nullptr, nullptr, entry.Node, nullptr};
    entry.Node = &nodes[i];
  }
}

bool Model::call(const std::string &record) {
  calls.push_back(record);
  return !record.starts_with(fault.prefix) || ++fault.seen != fault.nth;
}

void Model::put(const std::string &name, const ModelList &jobs, bool damaged) {
  const bool isTaskList = isTaskListName(name);
  const auto text = damaged ? "neither form" : document(jobs, isTaskList);
  if (!text) return;
  File &file = files[name] = {*text, {}, damaged};
  for (const ModelJob &job : jobs) file.jobs.push_back(isTaskList ? readBackTask(job) : readBackXml(job));
}

EFI_STATUS Model::probe(const std::string &name) {
  if (!call("open VAR025/" + name + " r")) return fault.status;
  if (!files.contains(name)) return EFI_NOT_FOUND;
  call("getSize");
  call("close VAR025 r");
  return EFI_SUCCESS;
}

EFI_STATUS Model::open(ModelHandle &handle, const std::string &name) {
  if (handle.openCount != 0) {
    ++handle.openCount;
    return EFI_SUCCESS;
  }
  handle.isTaskList = isTaskListName(name);
  handle.jobs.clear();
  handle.name = name;
  const EFI_STATUS status = load(handle);
  handle.cursor = handle.jobs.begin();
  const bool counts = status == EFI_SUCCESS || (handle.isTaskList && status == EFI_INVALID_PARAMETER);
  if (counts) ++handle.openCount;
  if (!counts && status != EFI_ABORTED) handle.name.reset();
  return status;
}

EFI_STATUS Model::load(ModelHandle &handle) {
  const std::string &name = *handle.name;
  const EFI_STATUS probed = probe(name);
  if (probed == EFI_ACCESS_DENIED) return probed;
  if (probed != EFI_SUCCESS) return handle.isTaskList || call("CreateNode SSIB_INFO") ? EFI_SUCCESS : fault.status;
  if (!call("open VAR025/" + name + " r")) return handle.isTaskList ? EFI_ABORTED : EFI_ACCESS_DENIED;
  const File &file = files[name];
  EFI_STATUS status = file.damaged ? EFI_INVALID_PARAMETER : EFI_SUCCESS;
  if (!handle.isTaskList && !call("ParseImage")) status = fault.status;
  for (const ModelJob &job : status == EFI_SUCCESS ? file.jobs : ModelList()) {
    const bool isUpdate = handle.isTaskList && job.texts[kJobType].value_or("").starts_with("UPDATE");
    if (isUpdate) call("set Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag 6 0");
    handle.jobs.push_back(job);
  }
  call("close VAR025 r");
  return status;
}

EFI_STATUS Model::flush(ModelHandle &handle) {
  if (!handle.name) return SSIB_STATUS_NO_DOCUMENT;
  const bool isBuilt = handle.isTaskList
                           ? !handle.jobs.empty()
                           : call("CreateNode SSIB_INFO") && call("SerializeTree") && document(handle.jobs, false);
  if (!isBuilt) return handle.isTaskList ? EFI_INVALID_PARAMETER : SSIB_STATUS_NO_DOCUMENT;
  if (!call("open VAR025/" + *handle.name + " w")) return handle.isTaskList ? EFI_ABORTED : SSIB_STATUS_NO_FILE;
  if (call("close VAR025 w") && !failWrites) put(*handle.name, handle.jobs);
  return failWrites && !handle.isTaskList ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

EFI_STATUS Model::close(ModelHandle &handle) {
  if (handle.openCount == 0 || --handle.openCount != 0) return EFI_SUCCESS;
  const EFI_STATUS status = flush(handle);
  handle.name.reset();
  handle.isTaskList = false;
  handle.jobs.clear();
  handle.cursor = handle.jobs.end();
  return status;
}

EFI_STATUS Model::read(ModelHandle &handle, bool advances, ModelJob *job) const {
  if (handle.cursor == handle.jobs.end()) return EFI_END_OF_FILE;
  *job = *handle.cursor;
  job->fieldMask = ModelJob().fieldMask;
  job->priority = ModelJob().priority;
  if (advances) ++handle.cursor;
  return EFI_SUCCESS;
}

EFI_STATUS Model::add(ModelHandle &handle, const std::vector<ModelJob> &jobs, std::uint32_t mask,
                      std::uint32_t location) {
  if (location == 0 || location == 3 || location > 5) return EFI_INVALID_PARAMETER;
  for (ModelJob job : jobs) {
    job.fieldMask = mask;
    job.priority = location;
    if (job.numbers[kTimeout] == 0) job.numbers[kTimeout] = 600;
    if (!hasText(kJobId, job)) job.texts[kJobId].reset();
    const auto place =
        std::ranges::find_if(handle.jobs, [&](const ModelJob &other) { return other.priority > location; });
    handle.jobs.insert(place, job);
  }
  return EFI_SUCCESS;
}

EFI_STATUS Model::erase(ModelHandle &handle, const ModelJob &key) const {
  const auto found =
      std::ranges::find_if(handle.jobs, [&](const ModelJob &job) { return matches(job, key, handle.isTaskList); });
  if (found == handle.jobs.end()) return EFI_INVALID_PARAMETER;
  if (handle.cursor == found) ++handle.cursor;
  handle.jobs.erase(found);
  return EFI_SUCCESS;
}

EFI_STATUS Model::remove(ModelHandle &handle, const ModelJob &key) {
  const EFI_STATUS status = erase(handle, key);
  return status == EFI_SUCCESS ? flush(handle) : status;
}

bool Model::same(const ModelHandle &handle, const ModelJob &one, const ModelJob &other) {
  const auto textAgrees = [&](std::size_t text) { return agreeWherePresent(text, one, other); };
  if (handle.isTaskList) return std::ranges::all_of(std::array{kDisplayName, kJobType, kFqdd, kSpace}, textAgrees);
  for (std::size_t text = 0; text < one.texts.size(); ++text) {
    if (text <= kLuCategory && one.texts[text].has_value() != other.texts[text].has_value()) return false;
    if (!textAgrees(text)) return false;
  }
  if (one.numbers != other.numbers || one.node.empty() != other.node.empty()) return false;
  return one.node.empty() || (call("SerializeTree") && call("SerializeTree") && one.node == other.node);
}

EFI_STATUS Model::replace(ModelHandle &handle, const ModelJob &key, const ModelJob &replacement) {
  const auto found = std::ranges::find_if(handle.jobs, [&](const ModelJob &job) { return same(handle, key, job); });
  if (found == handle.jobs.end()) return EFI_NOT_FOUND;
  const ModelJob old = std::exchange(*found, replacement);
  found->fieldMask = old.fieldMask;
  found->priority = old.priority;
  return EFI_SUCCESS;
}

EFI_STATUS Model::deleteFile(const std::string &name) {
  if (probe(name) != EFI_SUCCESS) return EFI_NOT_FOUND;
  if (call("delete VAR025/" + name)) files.erase(name);
  return EFI_SUCCESS;
}

EFI_STATUS Model::merge(const std::string &name, bool deletes) {
  if (probe(name) != EFI_SUCCESS) return EFI_NOT_FOUND;
  ModelHandle sub, main;
  EFI_STATUS status = open(sub, name);
  if (status != EFI_SUCCESS) return status;
  status = open(main, sub.isTaskList ? "BIOS_task_list.json" : "Main.ssib");
  if (status == EFI_SUCCESS) main.jobs.splice(main.jobs.end(), sub.jobs);
  close(sub);
  if (status != EFI_SUCCESS) return status;
  if (deletes && call("delete VAR025/" + name)) files.erase(name);
  close(main);
  return EFI_SUCCESS;
}

}  // namespace test
