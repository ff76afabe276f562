// SPDX-License-Identifier: MIT
// Runs the tool, each test in a flash of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "support/process.h"

namespace vyx::test {

using Json = nlohmann::ordered_json;

inline const std::string kTaskList = "BIOS_task_list.json";

/** All that deleting needs of a task list's entry, with display name `name`: options for `ssib add`. */
Arguments taskNamed(const std::string &name);

std::string joined(std::initializer_list<std::string_view> parts);

class ToolTest : public ::testing::Test {
 protected:
  void SetUp() override;
  /** A test leaves nothing of the platform's own behind: no temporary file beside the queues. */
  void TearDown() override;

  /** Runs `ssib`; `line` is split at blanks, `more` is taken as it is. */
  Outcome ssib(const std::string &line, const Arguments &more = {}) const;
  Process start(const std::string &line, const Arguments &more = {}, const std::string &outPath = "") const;
  /** Runs the tool under sh, with `before` executed first: redirections, limits. */
  Outcome ssibAfter(const std::string &before, const std::string &line) const;

  /** Adds entries to a queue of either form, the names being what tells them apart. */
  void fill(const std::string &queue, const Arguments &names) const;
  /** A command that must succeed without a word. */
  void done(const std::string &line, const Arguments &more = {}) const;
  Json list(const std::string &queue = "Main.ssib") const;
  /** What each entry of the queue has in a field, in order; "-" when it has none. */
  std::string column(const std::string &field, const std::string &queue = "Main.ssib") const;

  std::filesystem::path partition() const { return root_ / "VAR025"; }
  std::filesystem::path file(const std::string &queue) const { return partition() / queue; }
  std::string bytes(const std::string &queue) const;
  void write(const std::string &queue, const std::string &content) const;

  std::filesystem::path root_;
};

/** Compares how a command ended. */
void expectOutcome(const Outcome &outcome, int exit, const std::string &out, const std::string &err);

/** The command was refused with `exit` and one line on standard error that holds `message`; it printed nothing. */
void expectRefused(const Outcome &outcome, int exit, const std::string &message);

}  // namespace vyx::test
