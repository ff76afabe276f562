// SPDX-License-Identifier: MIT
// Any entries in a task list: written as the literal writer writes them, and read back when no value upsets the format.
#include "support.h"
#include "support/literal_task_list.h"

#include <algorithm>

namespace {

bool isPlain(const std::optional<std::string> &value) {
  if (!value) return true;
  const auto isKey = [&](const test::TaskKey &row) { return *value == row.key; };
  return value->size() < 4096 && value->find_first_of("\"{}[]") == std::string::npos &&
         !std::ranges::any_of(test::kTaskKeys, isKey);
}

// An empty value comes back as none, so none counts for empty.
std::vector<test::LiteralJob> literalList(const SSIB2_PRIVATE_DATA &handle) {
  std::vector<test::LiteralJob> jobs;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    for (auto &value : jobs.emplace_back(test::literalJob(element->entry))) {
      if (value && value->empty()) value.reset();
    }
  }
  return jobs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const fuzz::Run run;
  fuzz::Bytes bytes(data, size);
  fuzz::Jobs jobs;
  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  iOpenSSIB(&handle, L"a.json");
  while (!bytes.empty()) {
    SSIB_ENTRY *entry = &jobs.make(bytes);
    iAddToSSIBQueue(&handle, 1, &entry, SSIB_FIELD_JOB_ID, SSIB_ADD_APPEND_LO);
  }
  const std::vector<test::LiteralJob> list = literalList(handle);
  const test::LiteralOutcome expected = test::literallyWrite(list, "a.json");
  fuzz::require(iCloseSSIB(&handle) == expected.status, "the status is the literal writer's");
  if (list.empty()) return 0;
  fuzz::require(test::platform().file(L"a.json") == expected.bytes, "so are the bytes");
  const test::LiteralOutcome read = test::literallyRead(expected.bytes);
  fuzz::require(iOpenSSIB(&handle, L"a.json") == read.status, "the status is the literal reader's");
  if (!EFI_ERROR(read.status)) fuzz::require(literalList(handle) == read.jobs, "so is the list");
  const auto isPlainJob = [](const test::LiteralJob &job) { return std::ranges::all_of(job, isPlain); };
  if (std::ranges::all_of(list, isPlainJob)) fuzz::require(read.jobs == list, "plain values are read back");
  return 0;
}
