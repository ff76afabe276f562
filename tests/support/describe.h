// SPDX-License-Identifier: MIT
// What is in memory and in files as texts that a test compares whole, and the jobs of which they tell.
#pragma once

#include <string>

#include "VyxSSIBBackend.h"

namespace test {

// A caller's entry of static texts. A letter is the job's name, as command line and display name; the usual values of
// the other texts let deleting find it in both forms. 'n' and 'o' have extra content instead of a command, 'u' is an
// "UPDATE" job, 'F' is full: no field is 0 or null but Timeout. '-' has nothing at all.
struct Job : SSIB_ENTRY {
  explicit Job(char name = '-');
};

// The file that a flush of these jobs writes, in the form of its name. What begins with "<" is the file itself.
std::string fileOf(const std::string &name, const std::string &jobs);

// All files of the platform, as in " | Main.ssib=ab": the jobs, when a flush of jobs has written it, or the whole text.
std::string textOfFiles();

// The tree of a document that is well-formed; the caller's. And back, a chain of them: nothing stands for a string that
// is missing, "~" for one without a text.
XML_NODE *treeOf(const std::string &document);
std::string textOf(const XML_NODE *node);

// What is not 0 or null in an entry, a blank in front of each: " Version=1 Cmd_Line=run Node=<n/>". The usual texts of
// a form are left out where none of them is missing.
std::string textOf(const SSIB_ENTRY &entry);

// The elements of a list, the one under the cursor marked: "[ Version=1 mask=4]>[ Cmd_Line=a priority=1]". Priority 3
// is left out. "[a]" is job 'a' as it was read from a file, "[a5]" as it was added without a mask, at priority 5.
std::string textOf(const SSIB_ENTRY_LIST *first, const SSIB_ENTRY_LIST *cursor = nullptr);

}  // namespace test
