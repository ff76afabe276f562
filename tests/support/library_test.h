// SPDX-License-Identifier: MIT
// The fixture of the unit tests, and the scripts that most of them play.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/describe.h"
#include "support/heap.h"
#include "support/platform.h"

namespace test {

using Words = std::vector<std::string>;

// Starts the library on a fresh platform, works on gSSSIB2pvt, and ends with what every test must leave behind: no
// block, no stream. What a test has opened on gSSSIB2pvt is closed for it.
class LibraryTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  Platform &host() { return platform(); }

  // Plays a script on the handle; returns all that happened, then "= STATUS" for each call, in hexadecimal, with the
  // entry that was handed out, then the state. Steps are parted by "; ":
  //
  //   file NAME JOBS      a file with these jobs comes into being (see fileOf); file NAME alone is an empty one
  //   old                 the handle gets a list, a name and a tree, as refused closes and careless callers leave them
  //   service off         the handle loses its XML service; "on" gives it back
  //   mode NUMBER, cursor, priority NUMBER   the handle's mode; its cursor on the head; the priority of the head
  //   partition NAME      of sVarskPartition
  //   size NUMBER         what getSize answers from now on
  //   fail KIND [NTH [STATUS [RESULT]]]   during the next call the nth allocation, or platform call whose record begins
  //                       with KIND ("any" for each), or all writing ("write") fails (see Fault)
  //   open NAME  close  flush  flush-json  get  peek  delete-file NAME  merge NAME DELETES  parse TEXT
  //   add JOBS LOCATION MASK  delete JOB  remove JOB  compare JOB JOB  replace JOB JOB  init   a JOB "0" is null;
  //                       "own" is the handle's file name itself
  std::string play(const std::string &script);

  // Plays each script after what comes before, on a platform of its own. With a tag, only those log lines count.
  struct Dialogue {
    const char *label, *script;
    std::string transcript;
  };
  void expectDialogues(std::initializer_list<Dialogue> dialogues, const std::string &before,
                       const std::string &tag = "");

  // Plays a script, and returns only what the last call gave and left.
  std::string outcome(const std::string &script);
  bool faultHappened = false;  // during the last call

  // Closes the handle and checks that nothing is left behind, as the end of each test does.
  void tidy();

  // "OPENCOUNT MODE NAME LIST | FILE=JOBS ...", what is 0 or null left out. "CHANGED" marks a field that no call may
  // change, "TREE" a tree that stayed.
  std::string state();

 private:
  bool arrange(const Words &step);
  EFI_STATUS call(const Words &step, SSIB_ENTRY &taken);
  void make(const Words &step);
  SSIB2_PRIVATE_DATA constant();

  std::size_t liveBefore_ = 0;
  SSIB2_PRIVATE_DATA constructed_ = {};
  Fault fault_ = {"none"};
};

}  // namespace test
