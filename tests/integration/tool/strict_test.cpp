// SPDX-License-Identifier: MIT
// Files of both forms, damaged in every way that chance finds: the strict reading against the library's open.
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include "output.h"
#include "strict_reader.h"

namespace tool {
namespace {

using std::string;
using Texts = std::vector<string>;

const unsigned kRounds = std::getenv("VYXSSIB_EMULATED") == nullptr ? 10000 : 2000;

const Texts kBlocks = {
    "<SSIB_BLOCK Version=\"-1\" TIMEOUT=\"6\" LU_CATEGORY=\"\" TASK_NAME=\"U\" JOB_ID=\"J\">\n"
    "<CMD_LINE>run --now</CMD_LINE>\n</SSIB_BLOCK>",
    "<SSIB_BLOCK RT_COUNT=\"3\" LU_CATEGORY=\"a&lt;&#10;&quot;\" TASK_NAME='\"'>\n"
    "<EXTRA a=\"1&amp;\">\n<B>text</B>\n<C/>\n</EXTRA>\n<D></D>\n</SSIB_BLOCK>",
    "<SSIB_BLOCK TASK_NAME=\"\xC3\xBC\">\n<CMD_LINE> &#13;\n</CMD_LINE>\n</SSIB_BLOCK>"};
const Texts kSingleBytes = {kBlocks[0], kBlocks[1], kBlocks[2],
                            "<SSIB_BLOCK TASK_NAME=\"\xFF\" LU_CATEGORY=\"C\"><X>\xE9</X></SSIB_BLOCK>"};
const Texts kObjects = {
    "{\n  \"JobType\" : \"UPDATE\",\n  \"FQDD\" : \"dev 1\",\n  \"JOBID\" : \"\",\n  \"ResourceURI\" : \"/fw "
    "{1}[0]\"\n}",
    R"({"TargetVersion":"1","JobType":"a:b, \c","FQDD":"TargetVersion","JOBID":"JobType"})",
    "{ \"ResourceNamespace\":\"[]\"\n}", "{\"DisplayName\":\"\xFF\", \"extra\":{\"a\":[1,\"}{\"]}, \"JOBID\":\"7\"}"};

struct Row {
  const char *label;
  Form form;
  string head;
  Texts entries;
  const char *between, *tail;
};

string joined(const Row &row) {
  string text = row.head;
  for (const string &entry : row.entries) text += (&entry == row.entries.data() ? "" : row.between) + entry;
  return text + row.tail;
}

// Cut, doubled, spliced, or with bits that are flipped.
string damaged(string text, std::mt19937 random) {
  const auto place = [&] { return random() % (text.size() + 1); };
  const auto length = [&] { return random() % 2 == 0 ? place() : random() % 4; };
  if (random() % 5 == 0) {
    for (auto flips = random() % 3 + 1; flips > 0; --flips) {
      char &byte = text[random() % text.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    return text;
  }
  const std::size_t to = random() % 8 == 0 ? 0 : place(), from = place();
  const std::size_t gone = length(), copied = random() % 3 == 0 ? 0 : length();
  return text.replace(to, gone, text.substr(from, copied));
}

Texts entriesOf(Form form, const StrictReading &reading) {
  Texts entries;
  for (const StrictEntry &entry : reading.entries) {
    SSIB_ENTRY_LIST *element = elementOf(entry);
    entries.push_back(entryAsLines(form, *element));
    releaseElement(element);
  }
  return entries;
}

// A name or category that is missing is written as an empty text.
Texts withoutEmptyTexts(Texts entries) {
  for (string &entry : entries) {
    for (const string line : {"Task_Name:\n", "LU_Category:\n"}) {
      if (const auto at = entry.find(line); at != string::npos) entry.erase(at, line.size());
    }
  }
  return entries;
}

// Whatever stands in `text` of the entries as they were is among those read.
void expectSalvaged(const Row &row, const string &text, const Texts &read) {
  for (const string &entry : row.entries) {
    if (text.find(entry) == string::npos) continue;
    const string alone = entriesOf(row.form, readStrictly(row.form, row.head + entry + row.tail)).at(0);
    EXPECT_NE(std::ranges::find(read, alone), read.end()) << "lost: " << entry;
  }
}

class Strict : public testing::Test {
 protected:
  Strict() {
    setenv("VARSK_ROOT", root_.c_str(), 1);
    setenv("VARSK_SYNC", "0", 1);
    setenv("QUOR_DEBUG", "/dev/null", 1);
    std::filesystem::create_directories(root_ / "VAR025");
    startLibrary();
  }
  ~Strict() override { std::filesystem::remove_all(root_); }

  // The entries as the library reads them; none when it refuses the file. The close writes what it has read.
  std::optional<Texts> opened(Form form, const string &bytes) {
    std::filesystem::remove(pathOf(form));
    std::ofstream(pathOf(form), std::ios::binary) << bytes;
    SSIB2_PRIVATE_DATA handle = {};
    Protocol2Constructor(&handle);
    const EFI_STATUS status = iOpenSSIB(&handle, pathOf(form).filename().wstring().c_str());
    Texts entries;
    for (const SSIB_ENTRY_LIST *at = handle.ssibEntryListHead; at != nullptr; at = at->next)
      entries.push_back(entryAsLines(form, *at));
    std::filesystem::remove(pathOf(form));  // the disk is waited for when a file takes the place of another
    iCloseSSIB(&handle);
    return status == EFI_SUCCESS ? std::optional(entries) : std::nullopt;
  }

  // The entries that are in the file now.
  Texts rewritten(Form form) const {
    std::ifstream file(pathOf(form), std::ios::binary);
    return entriesOf(form, readStrictly(form, string{std::istreambuf_iterator<char>(file), {}}));
  }

  std::filesystem::path pathOf(Form form) const { return root_ / "VAR025" / (form == Form::Xml ? "a.ssib" : "a.json"); }

  const std::filesystem::path root_ = testing::TempDir() + "strict." + std::to_string(getpid());
};

TEST_F(Strict, SoundIsWhatTheLibraryReadsAndNothingWholeIsLost) {
  const string start = "<SSIB_INFO>\n", declaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n";
  const Row rows[] = {
      {"XML", Form::Xml, start, kBlocks, "\n", "\n</SSIB_INFO>\n"},
      {"single bytes", Form::Xml, declaration + start, kSingleBytes, "\n", "\n</SSIB_INFO>\n"},
      {"task list", Form::TaskList, "{\n  \"SMAJob\":\n  [\n    ", kObjects, ",\n    ", "\n  ]\n}\n"},
      {"plain task list", Form::TaskList, "{\"SMAJob\":[", {kObjects[0], kObjects[1], kObjects[2]}, ",", "]}"},
  };
  for (const Row &row : rows) {
    const string whole = joined(row);
    for (unsigned seed = 0; seed < kRounds + whole.size() && !HasFailure(); ++seed) {
      const string text = seed < whole.size() ? whole.substr(0, seed) : damaged(whole, std::mt19937(seed));
      SCOPED_TRACE(string(row.label) + ", seed " + std::to_string(seed) + ":\n" + text);
      const StrictReading reading = readStrictly(row.form, text);
      const Texts read = entriesOf(row.form, reading);
      EXPECT_EQ(opened(row.form, text) == read, !reading.damage) << (reading.damage ? reading.damage->text : "");
      if (reading.damage) {
        expectSalvaged(row, text, read);
      } else if (!reading.wouldDrop()) {
        EXPECT_EQ(withoutEmptyTexts(rewritten(row.form)), withoutEmptyTexts(read));
      }
    }
  }
}

}  // namespace
}  // namespace tool
