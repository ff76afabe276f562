// SPDX-License-Identifier: MIT
// Says what stands in flashes. For each line of standard input, the path of a root, it looks at the queues, those
// beside the root as well, and at the attributes as the library, the strict reader and the stand-in do, writes a queue
// and an attribute there, and prints {"found": {FILE: [JOB...]}, "left": [NAME...]}: the names are those of all files
// after the write.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "output.h"
#include "queue_file.h"
#include "strict_reader.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

std::string jobOf(tool::Form form, const SSIB_ENTRY_LIST &element) {
  std::string text = tool::entryAsLines(form, element);
  std::ranges::replace(text, '\n', ';');
  return text;
}

json strictJobs(tool::Form form, const tool::StrictReading &reading) {
  json jobs = json::array();
  for (const auto &entry : reading.entries) {
    SSIB_ENTRY_LIST *element = tool::elementOf(entry);
    jobs.push_back(jobOf(form, *element));
    tool::releaseElement(element);
  }
  return jobs;
}

SSIB2_PRIVATE_DATA newHandle() {
  SSIB2_PRIVATE_DATA handle = {};
  handle.XMLProto = gSSSIB2pvt.XMLProto;
  return handle;
}

// Null when the library refuses the file. A close would write it, so the handle is taken apart instead.
json libraryJobs(const tool::QueueName &name) {
  const tool::AtPlace there(name);
  SSIB2_PRIVATE_DATA handle = newHandle();
  const EFI_STATUS status = iOpenSSIB(&handle, name.wide());
  json jobs = json::array();
  for (SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr;) {
    jobs.push_back(jobOf(name.form(), *element));
    SSIB_ENTRY_LIST *next = element->next;
    tool::releaseElement(element);
    element = next;
  }
  std::free(handle.ssibFileName);
  return status == EFI_SUCCESS ? jobs : json(nullptr);
}

// Of a damaged file also its bytes count as a job: no command may lose them.
json jobsIn(const tool::QueueName &name) {
  const std::string bytes = tool::storedBytes(name).value();
  const tool::StrictReading reading = tool::readStrictly(name.form(), bytes);
  json jobs = strictJobs(name.form(), reading);
  if (reading.damage) {
    jobs.push_back("damaged: " + bytes);
  } else if (libraryJobs(name) != jobs) {
    jobs.push_back("the library reads " + name.shown() + " otherwise");
  }
  return jobs;
}

json attributesIn(const fs::path &path) {
  json jobs = json::array();
  const json values = json::parse(std::ifstream(path), nullptr, false);
  if (!values.is_object()) return json::array({"attributes that are damaged"});
  for (const auto &[name, value] : values.items()) {
    if (name != "probe") jobs.push_back(name + value.dump());
  }
  return jobs;
}

void writeBeside() {
  static int count = 0;
  SSIB2_PRIVATE_DATA handle = newHandle();
  const bool isWritten = iOpenSSIB(&handle, L"probe.ssib") == EFI_SUCCESS && iCloseSSIB(&handle) == EFI_SUCCESS &&
                         varsk_fdelete_1(sVarskPartition, L"probe.ssib") == EFI_SUCCESS &&
                         CfgSetAttributeInt("probe", 6, ++count) == 0;
  if (!isWritten) std::cerr << "checker: cannot write\n";
}

json lookAt(const fs::path &root) {
  setenv("VARSK_ROOT", root.c_str(), 1);
  json found = json::object(), left = json::array();
  const fs::path attributes = root / "attributes.json";
  if (fs::exists(attributes)) found[attributes.filename()] = attributesIn(attributes);
  for (const fs::path &directory : {root / "VAR025", root.parent_path()}) {
    std::error_code missing;
    for (const auto &file : fs::directory_iterator(directory, missing)) {
      const std::string name = file.path().filename();
      if (name.front() != '.' && file.is_regular_file()) found[name] = jobsIn(tool::QueueName::ofFile(file.path()));
    }
  }
  writeBeside();
  for (const auto &file : fs::recursive_directory_iterator(root)) left.push_back(file.path().filename());
  return {{"found", found}, {"left", left}};
}

}  // namespace

int main() {
  setenv("VARSK_SYNC", "0", 1);
  tool::startLibrary();
  for (std::string root; std::getline(std::cin, root);) {
    std::cout << lookAt(root).dump(-1, ' ', true, json::error_handler_t::replace) << std::endl;
  }
}
