// SPDX-License-Identifier: MIT
// The fixture of the unit tests, and short ways to say what a test is about.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/heap.h"
#include "support/platform.h"

namespace test {

// A caller's entry: all its strings are string literals or outlive it. Numbers 0, strings null.
struct Job : SSIB_ENTRY {
  Job() : SSIB_ENTRY{} {}
  // Sets a text without copying it.
  Job &text(SSIB_TEXT SSIB_ENTRY::*member, const char *value) {
    this->*member = const_cast<char *>(value);
    return *this;
  }
};

// A job of an XML queue that deleting can find: command, task "task", category "cat", Timeout 600.
Job xmlJob(const char *command);
// A job of a task list that deleting can find; its display name tells it from others.
Job taskJob(const char *displayName, const char *jobType = "OTHER");

// Releases what get and peek gave to the caller.
void release(SSIB_ENTRY &entry);

// Adds one entry and expects success.
void add(SSIB2_PRIVATE_DATA &handle, Job job, std::uint32_t location = SSIB_ADD_APPEND_LO, std::uint32_t fieldMask = 0);

// The given text of each element of the list; "-" for null.
std::vector<std::string> listOf(const SSIB2_PRIVATE_DATA &handle,
                                SSIB_TEXT SSIB_ENTRY::*member = &SSIB_ENTRY::Cmd_Line);

// What Platform::faults takes, in short.
Platform::Fault fault(const char *call, std::size_t nth = 1, EFI_STATUS status = EFI_DEVICE_ERROR,
                      bool withResult = false);

// The document that a flush of jobs with these command lines writes, all else being xmlJob's.
std::string documentOf(const std::vector<std::string> &commands);

// Starts the library on a fresh platform, works on gSSSIB2pvt, and ends with what every test must leave behind: no
// block, no stream. What a test has opened on gSSSIB2pvt is closed for it.
class LibraryTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  Platform &host() { return platform(); }

  // Runs something while the nth allocation ("allocation"), the first time all writing ("write"), or else the nth
  // call of the platform whose record begins with `kind` fails. False when it did not come to an nth.
  bool fails(const std::string &kind, std::size_t nth, const std::function<void()> &operation, Answer answer = {});

  // Opens a queue on gSSSIB2pvt, expects success and forgets the events.
  void open(const wchar_t *name = L"Main.ssib");

 private:
  std::size_t liveBefore_ = 0;
};

}  // namespace test
