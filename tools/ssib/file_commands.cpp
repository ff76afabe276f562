// SPDX-License-Identifier: MIT
// The commands that work on whole queue files.
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "commands.h"
#include "host.h"
#include "locks.h"

namespace tool {
namespace {

// How much would go, for the question; a queue that cannot be read may hold anything.
std::string contentsOf(const QueueName &name) {
  try {
    const Queue queue(name);
    return queue.elements.empty() ? "" : " with " + counted(queue.elements.size());
  } catch (const Stop &stop) {
    return ", which cannot be read";
  }
}

}  // namespace

void report(const Request &request, const std::string &text, const Record &details) {
  Record record = {{"operation", request.operation}, {"file", request.queue.shown()}};
  record.insert(record.end(), details.begin(), details.end());
  const std::string line = request.json ? recordAsJson(record) : text + "\n";
  std::signal(SIGPIPE, SIG_IGN);
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

void complain(const Request *request, bool isJson, const Stop &stop) {
  std::string text = std::string("ssib: ") + stop.what() + "\n";
  if (isJson) {
    Record record = {{"operation", request != nullptr ? request->operation : ""},
                     {"file", request != nullptr ? request->queue.shown() : ""},
                     {"status", stop.status() != EFI_SUCCESS ? statusName(stop.status()) : ""},
                     {"text", stop.what()}};
    std::erase_if(record, [](const auto &item) { return item.second == Record::value_type::second_type(""); });
    text = recordAsJson(record);
  }
  std::fputs(text.c_str(), stderr);
}

void confirm(const Request &request, const std::string &question) {
  if (request.yes) return;
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
    throw Stop(Exit::Usage, "to " + question + ", add --yes");
  }
  std::fprintf(stderr, "%s? [y/N] ", question.c_str());
  char answer[8] = {};
  const bool isAnswered = std::fgets(answer, sizeof(answer), stdin) != nullptr;
  if (!isAnswered || (answer[0] != 'y' && answer[0] != 'Y')) throw Stop(Exit::NothingThere, "nothing was changed");
}

Exit deleteQueue(const Request &request) {
  const QueueName &name = request.queue;
  if (!request.isQueueNamed) throw Stop(Exit::Usage, "--queue has to name the queue to delete");
  const ChangeLock lock({name});
  requireExists(name, "delete " + name.shown());
  const std::string contents = contentsOf(name);
  if (!contents.empty()) confirm(request, "delete " + name.shown() + contents);
  deleteFile(name);
  report(request, "deleted " + name.shown() + contents, {});
  return Exit::Done;
}

}  // namespace tool
