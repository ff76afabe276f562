// SPDX-License-Identifier: MIT
#include "support/literal_task_list.h"

namespace test {

namespace {

// The keys of the document, in its order.
const struct {
  const char *name;
  SSIB_TEXT SSIB_ENTRY::*member;
} kKeys[] = {
    {"JobType", &SSIB_ENTRY::Job_Type},
    {"DisplayName", &SSIB_ENTRY::Display_Name},
    {"FQDD", &SSIB_ENTRY::FQDD},
    {"JOBID", &SSIB_ENTRY::Job_ID},
    {"ResourceURI", &SSIB_ENTRY::Resource_URI},
    {"ResourceType", &SSIB_ENTRY::Resource_Type},
    {"ResourceNamespace", &SSIB_ENTRY::Resource_Namespace},
    {"TargetVersion", &SSIB_ENTRY::Target_Version},
};

constexpr std::size_t kNone = std::string::npos;

// Where the bracket at `open` is balanced.
std::size_t balanced(const std::string &text, std::size_t open, char up, char down) {
  int depth = 0;
  for (std::size_t at = open; at < text.size(); ++at) {
    if (text[at] == up) ++depth;
    if (text[at] == down && --depth == 0) return at;
  }
  return kNone;
}

std::optional<std::string> valueOf(const std::string &text, std::size_t open, std::size_t close,
                                   const std::string &key) {
  const std::string needle = '"' + key + '"';
  const std::size_t found = text.substr(open, close - open).find(needle);
  if (found == kNone) return {};
  const std::size_t opening = text.find('"', open + found + needle.size() + 1);
  if (opening == kNone || text.compare(opening + 1, 1, "\"") == 0) return {};
  const std::size_t closing = text.find('"', opening + 1);
  if (closing == kNone) return {};
  return text.substr(opening + 1, closing - opening - 1);
}

}  // namespace

LiteralJob literalJob(const SSIB_ENTRY &entry) {
  LiteralJob job;
  for (std::size_t row = 0; row < job.size(); ++row)
    if (const char *value = entry.*kKeys[row].member) job[row] = value;
  return job;
}

LiteralList literalList(const SSIB_ENTRY_LIST *first) {
  LiteralList jobs;
  for (; first != nullptr; first = first->next) jobs.push_back(literalJob(first->entry));
  return jobs;
}

std::pair<EFI_STATUS, LiteralList> literallyRead(std::string text) {
  text = text.substr(0, text.find('\0'));
  LiteralList jobs;
  const std::size_t array = text.find('['), arrayEnd = balanced(text, array, '[', ']');
  if (arrayEnd == kNone) return {EFI_INVALID_PARAMETER, jobs};
  for (std::size_t open = array, close; (open = text.find('{', open)) != kNone; open = close + 1) {
    close = balanced(text, open, '{', '}');
    if (close == kNone || close > arrayEnd) return {EFI_INVALID_PARAMETER, jobs};
    LiteralJob &job = jobs.emplace_back();
    for (std::size_t row = 0; row < job.size(); ++row) job[row] = valueOf(text, open, close, kKeys[row].name);
  }
  return {EFI_SUCCESS, jobs};
}

std::string literallyWrite(const LiteralList &jobs) {
  std::string text;
  for (const LiteralJob &job : jobs) {
    text += text.empty() ? "{\n  \"SMAJob\":\n  [\n    {\n" : "    },\n    {\n";
    for (std::size_t row = 0; row < job.size(); ++row) {
      text += std::string("      \"") + kKeys[row].name + "\" : \"" + job[row].value_or("").substr(0, 4095) +
              (row + 1 == job.size() ? "\"\n" : "\",\n");
    }
  }
  return text + "    }\n  ]\n}\n";
}

}  // namespace test
