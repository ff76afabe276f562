// SPDX-License-Identifier: MIT
#include "tool.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace vyx::test {
namespace {

namespace fs = std::filesystem;

// Each with all that deleting needs.
constexpr const char *kBlock =
    R"(<Y Version="1" RT_COUNT="1" LU_CATEGORY="" TASK_NAME="" JOB_ID=""><CMD_LINE>run</CMD_LINE></Y>)";
constexpr const char *kTask =
    R"({"JobType":"UPDATE","DisplayName":"x","FQDD":"dev","JOBID":"","ResourceURI":"/fw.bin","ResourceType":"image",)"
    R"("ResourceNamespace":"main","TargetVersion":"1"})";

std::string readAll(int pipe) {
  std::string text;
  char block[4096];
  for (ssize_t length = 0; (length = read(pipe, block, sizeof(block))) > 0;)
    text.append(block, static_cast<std::size_t>(length));
  close(pipe);
  return text;
}

Arguments command(Arguments before, const std::string &line, const Arguments &more) {
  for (const Arguments &part : {{VYXSSIB_RUN, SSIB_PROGRAM}, words(line), more})
    before.insert(before.end(), part.begin(), part.end());
  return before;
}

}  // namespace

Process startProgram(const Arguments &program) {
  int out[2] = {}, err[2] = {};
  EXPECT_EQ(pipe2(out, O_CLOEXEC) + pipe2(err, O_CLOEXEC), 0);
  const pid_t child = fork();
  if (child == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    std::vector<char *> arguments;
    for (const std::string &argument : program) arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  close(out[1]);
  close(err[1]);
  return {child, out[0], err[0]};
}

Outcome wait(const Process &process) {
  Outcome outcome = {0, readAll(process.out), readAll(process.err)};
  int status = 0;
  EXPECT_EQ(waitpid(process.id, &status, 0), process.id);
  outcome.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return outcome;
}

Arguments words(const std::string &line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

void expectOutcome(const Outcome &outcome, int exit, const std::string &out, const std::string &err) {
  EXPECT_EQ(outcome.exit, exit);
  EXPECT_EQ(outcome.out, out);
  EXPECT_EQ(outcome.err, err);
}

void expectRefused(const Outcome &outcome, int exit, const std::string &message) {
  EXPECT_EQ(outcome.exit, exit);
  EXPECT_EQ(outcome.out, "");
  EXPECT_TRUE(outcome.err.starts_with("ssib: ")) << outcome.err;
  EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
}

ToolTest::ToolTest()
    : root([] {
        char pattern[] = "/tmp/ssib-test-XXXXXX";
        return fs::path(mkdtemp(pattern));
      }()),
      partition(root / "VAR025") {
  setenv("VARSK_ROOT", root.c_str(), 1);
  setenv("VARSK_SYNC", "0", 1);
  for (const char *name : {"QUOR_DEBUG", "QUOR_TRACE"}) unsetenv(name);
}

ToolTest::~ToolTest() {
  EXPECT_EQ(temporaries(), 0);
  fs::remove_all(root);
}

Process ToolTest::start(const std::string &line, const Arguments &more) {
  return startProgram(command({}, line, more));
}

Outcome ToolTest::ssibAfter(const std::string &before, const std::string &line, const Arguments &more) {
  return wait(startProgram(command({"sh", "-c", before + "; exec \"$@\"", "sh"}, line, more)));
}

void ToolTest::done(const std::string &line, const Arguments &more) {
  SCOPED_TRACE(line);
  expectOutcome(ssib(line, more), 0, "", "");
}

Json ToolTest::list(const std::string &queue) {
  const Outcome outcome = ssib("list --json -q", {queue});
  EXPECT_EQ(outcome.exit, 0) << outcome.err;
  return Json::parse(outcome.out, nullptr, false);
}

std::string ToolTest::column(const std::string &field, const std::string &queue) {
  std::string values;
  for (const Json &entry : list(queue)) {
    const Json value = entry.value(field, Json("-"));
    values += (values.empty() ? "" : " ") + (value.is_string() ? value.get<std::string>() : value.dump());
  }
  return values;
}

void ToolTest::fill(const std::string &queue, const Arguments &names, const Arguments &places) const {
  const bool isTaskList = queue.find("json") != std::string::npos;
  std::string content;
  for (const std::string &name : names) {
    std::string element = isTaskList ? kTask : kBlock;
    for (const std::string &place : places)
      if (const auto at = element.find(place); at != std::string::npos) element.insert(at + place.size(), name);
    content += (isTaskList && !content.empty() ? "," : "") + element;
  }
  write(queue, isTaskList ? "[" + content + "]" : "<X>" + content + "</X>");
}

void ToolTest::write(const std::string &queue, const std::string &content) const {
  fs::create_directories(partition);
  std::ofstream(file(queue), std::ios::binary) << content;
}

std::string ToolTest::bytes(const std::string &queue) const {
  std::ifstream stream(file(queue), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::ptrdiff_t ToolTest::temporaries() const {
  if (!fs::exists(partition)) return 0;
  const auto isTemporary = [](const fs::directory_entry &item) {
    const std::string name = item.path().filename();
    return name.front() == '.' && name != ".lock";
  };
  return std::count_if(fs::directory_iterator(partition), {}, isTemporary);
}

}  // namespace vyx::test
