// SPDX-License-Identifier: MIT
#include "support/literal_task_list.h"

namespace test {

const std::array<TaskKey, 8> kTaskKeys = {{
    {"JobType", "Job_Type", &SSIB_ENTRY::Job_Type},
    {"DisplayName", "Display_Name", &SSIB_ENTRY::Display_Name},
    {"FQDD", "FQDD", &SSIB_ENTRY::FQDD},
    {"JOBID", "Job_ID", &SSIB_ENTRY::Job_ID},
    {"ResourceURI", "Resource_URI", &SSIB_ENTRY::Resource_URI},
    {"ResourceType", "Resource_Type", &SSIB_ENTRY::Resource_Type},
    {"ResourceNamespace", "Resource_Namespace", &SSIB_ENTRY::Resource_Namespace},
    {"TargetVersion", "Target_Version", &SSIB_ENTRY::Target_Version},
}};

namespace {

constexpr std::size_t kNone = std::string::npos;
const std::string kAttribute = "Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag";
const std::string kAttributeSet = "set " + kAttribute + " 6 0\n|Able to Set the attr " + kAttribute + "\n";

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

LiteralJob readJob(const std::string &text, std::size_t open, std::size_t close, std::string &events) {
  LiteralJob job;
  for (std::size_t row = 0; row < kTaskKeys.size(); ++row) {
    job[row] = valueOf(text, open, close, kTaskKeys[row].key);
    if (job[row]) events.append("|").append(kTaskKeys[row].label).append(": ").append(*job[row]).append("\n");
    if (row == 0 && job[0] && job[0]->starts_with("UPDATE")) events += kAttributeSet;
  }
  return job;
}

EFI_STATUS readJobs(const std::string &text, std::size_t position, std::size_t arrayEnd, LiteralOutcome &outcome) {
  for (;;) {
    const std::size_t open = text.find('{', position);
    if (open == kNone) return EFI_SUCCESS;
    const std::size_t close = balanced(text, open, '{', '}');
    if (close == kNone || close > arrayEnd) {
      outcome.events += "|ERROR: unable to locate end of block\n";
      return EFI_INVALID_PARAMETER;
    }
    outcome.events += "|INFO: found json entry\n";
    outcome.jobs.push_back(readJob(text, open, close, outcome.events));
    outcome.events += "|INFO: before insert\n|INFO: after insert\n";
    position = close + 1;
  }
}

}  // namespace

LiteralJob literalJob(const SSIB_ENTRY &entry) {
  LiteralJob job;
  for (std::size_t row = 0; row < job.size(); ++row) {
    if (const char *value = entry.*kTaskKeys[row].member) job[row] = value;
  }
  return job;
}

std::vector<LiteralJob> literalJobs(const SSIB_ENTRY_LIST *first) {
  std::vector<LiteralJob> jobs;
  for (; first != nullptr; first = first->next) jobs.push_back(literalJob(first->entry));
  return jobs;
}

LiteralOutcome literallyRead(const std::string &text) {
  const std::string list = text.substr(0, text.find('\0'));
  LiteralOutcome outcome{EFI_INVALID_PARAMETER, {}, "", "|iParseFromJSON: Enter.\n"};
  const std::size_t array = list.find('[');
  const std::size_t arrayEnd = balanced(list, array, '[', ']');
  if (arrayEnd == kNone) {
    outcome.events += array == kNone ? "|ERROR: invalid parameter 2.\n" : "|ERROR: invalid parameter 3.\n";
    return outcome;
  }
  outcome.status = readJobs(list, array, arrayEnd, outcome);
  outcome.events += outcome.status == EFI_SUCCESS ? "|Exit. 0\n" : "|Exit. 80000002\n";
  return outcome;
}

LiteralOutcome literallyWrite(const std::vector<LiteralJob> &jobs, const std::string &fileName) {
  if (jobs.empty()) return {EFI_INVALID_PARAMETER, {}, "", ""};
  LiteralOutcome outcome;
  outcome.events =
      "|Opening file [" + fileName + "]\nopen VAR025/" + fileName + " w (json)\n|Writing entries now ...\n";
  outcome.bytes = "{\n  \"SMAJob\":\n  [\n";
  for (std::size_t number = 0; number < jobs.size(); ++number) {
    const LiteralJob &job = jobs[number];
    outcome.events +=
        "|Writing JobType [" + job[0].value_or("") + "], ResourceType [" + job[5].value_or("") + "] ...\n";
    outcome.bytes += "    {\n";
    for (std::size_t row = 0; row < kTaskKeys.size(); ++row) {
      outcome.bytes += std::string("      \"") + kTaskKeys[row].key + "\" : \"" + job[row].value_or("").substr(0, 4095);
      outcome.bytes += row == 7 ? "\"\n" : "\",\n";
    }
    outcome.bytes += number + 1 < jobs.size() ? "    },\n" : "    }\n";
  }
  outcome.bytes += "  ]\n}\n";
  outcome.events += "|Closing [VAR025].\nclose VAR025 w (json)\n|Returning EFI_SUCCESS.\n";
  return outcome;
}

}  // namespace test
