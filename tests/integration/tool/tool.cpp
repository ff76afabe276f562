// SPDX-License-Identifier: MIT
#include "tool.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace vyx::test {
namespace {

Arguments words(const std::string &line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

Arguments command(const std::string &line, const Arguments &more) {
  Arguments arguments = {SSIB_PROGRAM};
  for (const std::string &word : words(line)) arguments.push_back(word);
  arguments.insert(arguments.end(), more.begin(), more.end());
  return emulated(arguments);
}

}  // namespace

Arguments taskNamed(const std::string &name) {
  return {"--display-name",  name,    "--job-type",           "UPDATE", "--fqdd", "dev", "--resource-uri", "/fw.bin",
          "--resource-type", "image", "--resource-namespace", "main"};
}

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

void ToolTest::SetUp() {
  std::string pattern = (std::filesystem::temp_directory_path() / "ssib-test-XXXXXX").string();
  ASSERT_NE(mkdtemp(pattern.data()), nullptr);
  root_ = pattern;
}

void ToolTest::TearDown() {
  if (std::filesystem::exists(partition())) {
    for (const auto &item : std::filesystem::directory_iterator(partition())) {
      const std::string name = item.path().filename();
      EXPECT_TRUE(name == ".lock" || name.front() != '.') << "left behind: " << name;
    }
  }
  std::filesystem::remove_all(root_);
}

Process ToolTest::start(const std::string &line, const Arguments &more, const std::string &outPath) const {
  const Environment environment = {{"VARSK_ROOT", root_}, {"VARSK_SYNC", "0"}, {"QUOR_DEBUG", ""}, {"QUOR_TRACE", ""}};
  return Process(command(line, more), environment, outPath);
}

Outcome ToolTest::ssib(const std::string &line, const Arguments &more) const {
  return start(line, more).wait();
}

Outcome ToolTest::ssibAfter(const std::string &before, const std::string &line) const {
  Arguments shell = {"sh", "-c", before + "; exec \"$@\"", "sh"};
  for (const std::string &word : command(line, {})) shell.push_back(word);
  return Process(shell, {{"VARSK_ROOT", root_}, {"VARSK_SYNC", "0"}, {"QUOR_DEBUG", ""}, {"QUOR_TRACE", ""}}).wait();
}

void ToolTest::fill(const std::string &queue, const Arguments &names) const {
  for (const std::string &name : names) {
    Arguments entry = queue.find("json") == std::string::npos ? Arguments{"--cmd-line", name} : taskNamed(name);
    entry.insert(entry.end(), {"--job-id", name, "-q", queue});
    done("add", entry);
  }
}

void ToolTest::done(const std::string &line, const Arguments &more) const {
  SCOPED_TRACE(line);
  expectOutcome(ssib(line, more), 0, "", "");
}

Json ToolTest::list(const std::string &queue) const {
  const Outcome outcome = ssib("list --json -q", {queue});
  EXPECT_EQ(outcome.exit, 0) << outcome.err;
  return Json::parse(outcome.out, nullptr, false);
}

std::string ToolTest::column(const std::string &field, const std::string &queue) const {
  std::string values;
  for (const Json &entry : list(queue)) {
    const Json value = entry.value(field, Json("-"));
    values += (values.empty() ? "" : " ") + (value.is_string() ? value.get<std::string>() : value.dump());
  }
  return values;
}

std::string ToolTest::bytes(const std::string &queue) const {
  std::ifstream stream(file(queue), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void ToolTest::write(const std::string &queue, const std::string &content) const {
  std::filesystem::create_directories(partition());
  std::ofstream(file(queue), std::ios::binary) << content;
}

void expectOutcome(const Outcome &outcome, int exit, const std::string &out, const std::string &err) {
  EXPECT_EQ(outcome.exit, exit) << "signal " << outcome.signal;
  EXPECT_EQ(outcome.out, out);
  EXPECT_EQ(outcome.err, err);
}

void expectRefused(const Outcome &outcome, int exit, const std::string &message) {
  EXPECT_EQ(outcome.exit, exit) << "signal " << outcome.signal;
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err.rfind("ssib: ", 0), 0U) << outcome.err;
  EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
}

}  // namespace vyx::test
