// SPDX-License-Identifier: MIT
// Files of both forms, damaged in every way that chance finds: the strict reading against the library's open.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "node_text.h"
#include "strict_reader.h"
#include "support/random.h"

namespace tool {
namespace {

using std::string;
using Texts = std::vector<string>;

constexpr unsigned kRounds = 10000;

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

string damaged(string text, test::Random &random) {
  const auto place = [&] { return random.below(static_cast<std::uint32_t>(text.size() + 1)); };
  const std::size_t from = place(), length = random.oneIn(2) ? place() : random.below(4), to = place();
  switch (random.below(6)) {
    case 0:
      return text.substr(0, from);
    case 1:
      return text.substr(from);
    case 2:
      return text.erase(from, length);
    case 3:
      return text.insert(to, text.substr(from, length));
    case 4:
      return text.replace(to, length, text.substr(from, length));
    default:
      for (std::size_t flips = length % 3 + 1; flips > 0 && !text.empty(); --flips) {
        char &byte = text[place() % text.size()];
        byte = static_cast<char>(byte ^ (1 << random.below(8)));
      }
      return text;
  }
}

Texts described(const std::vector<StrictEntry> &entries) {
  Texts all;
  for (const StrictEntry &entry : entries) {
    string &text = all.emplace_back();
    for (const StrictValue &value : entry.values) {
      const bool isNode = value.field->kind == Field::Kind::Node;
      text += string(value.field->name) + "=" + std::to_string(value.number) +
              (isNode ? textOfNode(nodeOfText(value.text).get()) : value.text) + ";";
    }
  }
  return all;
}

string described(Form form, const SSIB_ENTRY_LIST &element) {
  string all;
  for (const Field &field : fields()) {
    if (!field.storedIn(form) || !isPresent(field, element)) continue;
    const bool isText = field.kind == Field::Kind::Text, isNumber = field.kind == Field::Kind::Number;
    all += string(field.name) + "=" + std::to_string(isNumber ? numberOf(field, element.entry) : 0);
    if (!isNumber) all += isText ? string(element.entry.*field.text) : textOfNode(element.entry.Node);
    all += ";";
  }
  return all;
}

class Strict : public testing::Test {
 protected:
  Strict() {
    setenv("VARSK_ROOT", root_.c_str(), 1);
    setenv("VARSK_SYNC", "0", 1);
    std::filesystem::create_directories(root_ / "VAR025");
    vyxSSIB2LinuxInitBackend();
  }
  ~Strict() override { std::filesystem::remove_all(root_); }

  // The entries as the library reads them; none when it refuses the file. The close writes what it has read.
  std::optional<Texts> opened(Form form, const string &bytes) {
    const std::filesystem::path name = nameIn(form), path = root_ / "VAR025" / name;
    std::filesystem::remove(path);  // a file that is cut and written anew is waited for
    std::ofstream(path, std::ios::binary) << bytes;
    SSIB2_PRIVATE_DATA handle = {};
    Protocol2Constructor(&handle);
    const EFI_STATUS status = iOpenSSIB(&handle, name.wstring().c_str());
    Texts entries;
    for (const SSIB_ENTRY_LIST *at = handle.ssibEntryListHead; at != nullptr; at = at->next) {
      entries.push_back(described(form, *at));
    }
    iCloseSSIB(&handle);
    return status == EFI_SUCCESS ? std::optional(entries) : std::nullopt;
  }

  // The entries that are in the file now.
  Texts rewritten(Form form) {
    std::ifstream file(root_ / "VAR025" / nameIn(form), std::ios::binary);
    const string bytes{std::istreambuf_iterator<char>(file), {}};
    return described(readStrictly(form, bytes).entries);
  }

  static const char *nameIn(Form form) { return form == Form::Xml ? "a.ssib" : "a.json"; }

  std::filesystem::path root_ = testing::TempDir() + "strict." + std::to_string(getpid());
};

// Whatever stands in `text` of the entries as they were is among those read.
void expectSalvaged(const Row &row, const string &text, const Texts &read) {
  for (const string &entry : row.entries) {
    if (text.find(entry) == string::npos) continue;
    const string alone = described(readStrictly(row.form, row.head + entry + row.tail).entries).at(0);
    EXPECT_NE(std::ranges::find(read, alone), read.end()) << "lost: " << entry;
  }
}

// A name or category that is missing is written as an empty text.
Texts withoutEmptyTexts(Texts entries) {
  for (string &entry : entries) {
    for (const string text : {"Task_Name=0;", "LU_Category=0;"}) {
      if (const auto at = entry.find(text); at != string::npos) entry.erase(at, text.size());
    }
  }
  return entries;
}

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
      test::Random random(seed + 1);
      const string text = seed < whole.size() ? whole.substr(0, seed) : damaged(whole, random);
      SCOPED_TRACE(string(row.label) + ", seed " + std::to_string(seed) + ":\n" + text);
      const StrictReading reading = readStrictly(row.form, text);
      const Texts read = described(reading.entries);
      const auto library = opened(row.form, text);
      EXPECT_EQ(library == read, !reading.damage) << (reading.damage ? reading.damage->text : "");
      if (reading.damage) {
        expectSalvaged(row, text, read);
      } else if (!reading.wouldDrop) {
        EXPECT_EQ(withoutEmptyTexts(rewritten(row.form)), withoutEmptyTexts(read));
      }
    }
  }
}

}  // namespace
}  // namespace tool
