// SPDX-License-Identifier: MIT
// What the library's calls do, said a second time in plain C++: jobs are values, queues lists of them, files texts. A
// test makes each call on both and compares. Knows nothing of the library's sources; the document's layout is the
// stand-in's.
#pragma once

#include <array>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/platform.h"

namespace test {

// A job by value; numbers and texts stand in record order.
struct ModelJob {
  std::array<std::uint32_t, 8> numbers{};
  std::array<std::optional<std::string>, 11> texts;
  std::vector<std::string> node;  // names of the chain's elements, each of which has the text "v" and nothing else
  std::uint32_t fieldMask = 0;
  std::uint32_t priority = 3;
  bool operator==(const ModelJob &) const = default;
};
using ModelList = std::list<ModelJob>;

ModelJob valueOf(const SSIB_ENTRY &entry);

// A caller's record of a job, which must outlive it.
struct ModelRecord {
  explicit ModelRecord(const ModelJob &job);
  ModelRecord(const ModelRecord &) = delete;
  SSIB_ENTRY entry{};
  std::vector<XML_STRING> strings;
  std::vector<XML_NODE> nodes;
};

struct ModelHandle {
  std::uint32_t openCount = 0;
  bool isTaskList = false;
  std::optional<std::string> name;
  ModelList jobs;
  ModelList::iterator cursor = jobs.end();  // the end when the walk is over
};

class Model {
 public:
  struct File {
    std::string text;
    ModelList jobs;  // as an open reads them
    bool damaged = false;
  };
  std::map<std::string, File> files;
  std::vector<std::string> calls;  // what the platform must have been asked for, DeleteTree left out
  Fault fault = {"none"};
  bool failWrites = false;

  void put(const std::string &name, const ModelList &jobs, bool damaged = false);
  EFI_STATUS open(ModelHandle &handle, const std::string &name);
  EFI_STATUS flush(ModelHandle &handle);
  EFI_STATUS close(ModelHandle &handle);
  EFI_STATUS read(ModelHandle &handle, bool advances, ModelJob *job) const;
  EFI_STATUS add(ModelHandle &handle, const std::vector<ModelJob> &jobs, std::uint32_t mask, std::uint32_t location);
  EFI_STATUS erase(ModelHandle &handle, const ModelJob &key) const;
  EFI_STATUS remove(ModelHandle &handle, const ModelJob &key);
  EFI_STATUS replace(ModelHandle &handle, const ModelJob &key, const ModelJob &replacement);
  EFI_STATUS deleteFile(const std::string &name);
  EFI_STATUS merge(const std::string &name, bool deletes);

 private:
  bool call(const std::string &record);  // false when the platform refuses
  EFI_STATUS probe(const std::string &name);
  EFI_STATUS load(ModelHandle &handle);
  bool same(const ModelHandle &handle, const ModelJob &one, const ModelJob &other);
};

}  // namespace test
