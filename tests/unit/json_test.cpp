// SPDX-License-Identifier: MIT
// Task lists through the exported functions: what is read, written, reported and left behind when something fails.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <functional>
#include <set>
#include <tuple>

#include "json/writer.h"
#include "ssib_if2_backend/list.h"
#include "support/library_test.h"
#include "support/literal_task_list.h"

namespace test {
namespace {

using Texts = std::vector<std::string>;

constexpr wchar_t kName[] = L"a.json";
const std::string kExample = R"({
  "SMAJob":
  [
    {
      "JobType" : "UPDATE",
      "DisplayName" : "System firmware",
      "FQDD" : "dev-0001",
      "JOBID" : "job-0001",
      "ResourceURI" : "/images/fw-0001.bin",
      "ResourceType" : "image",
      "ResourceNamespace" : "ns-main",
      "TargetVersion" : "1.2.3"
    },
    {
      "JobType" : "",
      "DisplayName" : "Second device",
      "FQDD" : "dev-0002",
      "JOBID" : "",
      "ResourceURI" : "",
      "ResourceType" : "",
      "ResourceNamespace" : "",
      "TargetVersion" : ""
    }
  ]
}
)";
const std::string kAttribute = "Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag";

class Json : public LibraryTest {
 protected:
  // Everything that was said and asked for, one a line; of a trace, who made it.
  std::string events() {
    std::string lines;
    for (const std::string &event : host().events) {
      const bool isTrace = event.starts_with("trace|");
      lines += (isTrace ? event.substr(0, event.find(':')) : event.substr(event.find('|') + 1)) + "\n";
    }
    return lines;
  }

  void openExample() {
    host().setFile(kName, kExample);
    open(kName);
  }

  // "type/fqdd" of each element.
  Texts jobs() {
    Texts texts = listOf(handle, &SSIB_ENTRY::Job_Type);
    const Texts fqdds = listOf(handle, &SSIB_ENTRY::FQDD);
    for (std::size_t i = 0; i < texts.size(); ++i) texts[i] += "/" + fqdds[i];
    return texts;
  }

  // Reads a text into an empty list.
  EFI_STATUS parse(const std::string &text) {
    ssib::freeListOf(handle);
    return iParseFromJSON(&handle, text.c_str());
  }

  void TearDown() override {
    if (handle.openCount == 0) ssib::freeListOf(handle);
    LibraryTest::TearDown();
  }
};

TEST_F(Json, TheExampleIsReadAndWrittenByteForByteWithItsMessages) {
  host().setFile(kName, kExample);
  ASSERT_EQ(iOpenSSIB(&handle, kName), EFI_SUCCESS);
  const std::string opened = "open VAR025/a.json r\ntrace|ssib_if2_backend\n";
  const std::string closed = "close VAR025 r\ntrace|ssib_if2_backend\n";
  EXPECT_EQ(events(), "Enter.\niOpenJSON - fname_len= 28\n\n" + opened + "getSize\n" + closed + "file_exists: 1\n2\n" +
                          opened + "iOpenJSON - Reading file.\n" + literallyRead(kExample).events + closed +
                          "Exit. 0\n");
  SSIB_ENTRY_LIST expected = {};
  const SSIB_ENTRY_LIST &second = *handle.ssibEntryListHead->next;
  expected.priority = 3;
  expected.entry.Display_Name = second.entry.Display_Name;
  expected.entry.FQDD = second.entry.FQDD;
  EXPECT_EQ(std::memcmp(static_cast<const void *>(&second), &expected, sizeof(expected)), 0);

  host().forgetEvents();
  host().setFile(kName, "");
  EXPECT_EQ(iFlushSSIBQueue(&handle), EFI_SUCCESS);
  EXPECT_EQ(host().file(kName), kExample);
  EXPECT_EQ(events(),
            "iFlushSSIBQueue called\niFlushSSIBQueue alt mode SMA/JSON\nOpening file [a.json]\nopen VAR025/a.json w\n"
            "trace|json\nWriting entries now ...\nWriting JobType [UPDATE], ResourceType [image] ...\n"
            "Writing JobType [], ResourceType [] ...\nClosing [VAR025].\nclose VAR025 w\n"
            "trace|json\nReturning EFI_SUCCESS.\n");
}

TEST_F(Json, ReaderAndWriterReportToTheHandleAllElseToTheLibrary) {
  DEBUG_LOG_PROTOCOL *log = vyxSsibDebug;
  for (const bool toHandle : {false, true}) {
    handle.debugProto = toHandle ? log : nullptr;
    vyxSsibDebug = toHandle ? nullptr : log;
    host().setFile(kName, kExample);
    iOpenSSIB(&handle, kName);
    iCloseSSIB(&handle);
    for (const auto &[line, isHandles] : {std::pair("Opening file [a.json]", true),
                                          {"iParseFromJSON: Enter.", true},
                                          {"file_exists: 1", false},
                                          {"iFlushSSIBQueue alt mode", false}})
      EXPECT_EQ(events().find(line) != std::string::npos, isHandles == toHandle) << line;
    host().forgetEvents();
  }
  vyxSsibDebug = log;
}

TEST_F(Json, ReadingAndWritingUseTheFixedPartitionProbeAndOrdinaryCloseTheVariable) {
  std::wcscpy(sVarskPartition, L"OTHER1");
  host().files[L"OTHER1/a.json"] = host().files[L"VAR025/a.json"] = kExample;
  ASSERT_EQ(iOpenSSIB(&handle, kName), EFI_SUCCESS);
  ASSERT_EQ(iFlushSSIBQueue(&handle), EFI_SUCCESS);
  const Texts expected = {
      "open OTHER1/a.json r",       "getSize",        "close OTHER1 r",       "open VAR025/a.json r",
      "set " + kAttribute + " 6 0", "close OTHER1 r", "open VAR025/a.json w", "close VAR025 w"};
  EXPECT_EQ(host().calls, expected);
}

TEST_F(Json, OpensFailuresHaveTheirStatusTheirLineAndTheFixedPartition) {
  const std::string open = "open VAR025/a.json r", close = "close VAR025 r", failed = "ERROR: unable to open a.json";
  const std::string refused = "iOpenSSIB - Varsk access error. Error is -2147483633";
  const std::string shortRead = "iOpenJSON - Error reading. Returning.";
  const std::string noMemory = "iOpenJSON - Failed to allocate memory.";
  using Size = std::optional<std::uint32_t>;
  const std::tuple<std::string, Answer, Size, EFI_STATUS, bool, std::string, std::string> rows[] = {
      {"open OTHER1", {EFI_ACCESS_DENIED}, {}, EFI_ACCESS_DENIED, false, "open OTHER1/a.json r", refused},
      {"open VAR025", {EFI_DEVICE_ERROR}, {}, EFI_ABORTED, true, open, failed + "\n"},
      {"open VAR025", {EFI_DEVICE_ERROR, true}, {}, EFI_ABORTED, true, close, failed + " 0x80000007\n"},
      {"open VAR025", {1, true}, {}, EFI_ABORTED, true, close, failed + " 0x00000001\n"},
      {"short", {}, kExample.size() + 1, EFI_DEVICE_ERROR, false, close, shortRead},
      {"4 gigabytes", {}, UINT32_MAX, EFI_OUT_OF_RESOURCES, false, close, noMemory},
  };
  std::wcscpy(sVarskPartition, L"OTHER1");
  host().files[L"OTHER1/a.json"] = host().files[L"VAR025/a.json"] = kExample;
  for (const auto &[what, answer, size, status, keepsName, lastCall, lastLine] : rows) {
    SCOPED_TRACE(::testing::Message() << what << ": " << lastLine);
    host().faults = {{what, 1, answer}};
    host().announcedSize = size;
    EXPECT_EQ(iOpenSSIB(&handle, kName), status);
    EXPECT_EQ(handle.openCount, 0U);
    EXPECT_EQ(handle.mode, SSIB_MODE_BIOS_SMA);
    EXPECT_EQ(+handle.ssibFileName != nullptr, keepsName);
    EXPECT_EQ(+handle.ssibEntryListHead, nullptr);
    EXPECT_EQ(host().calls.back(), lastCall);
    EXPECT_EQ(host().logTexts().back(), lastLine);
  }
}

TEST_F(Json, TheWriterRefusesAnEmptyListAndReportsAFailedOpen) {
  openExample();
  for (const auto &[answer, said] : std::initializer_list<std::pair<Answer, std::string>>{
           {{EFI_ACCESS_DENIED}, "\n\n"}, {{EFI_DEVICE_ERROR, true}, " 0x80000007\n\nclose VAR025 w\ntrace|json\n"}}) {
    host().faults = {{"open", 1, answer}};
    EXPECT_EQ(iFlushToJSON(&handle), EFI_ABORTED);
    EXPECT_EQ(events(),
              "Opening file [a.json]\nopen VAR025/a.json w\ntrace|json\n"
              "ERROR: unable to open a.json" +
                  said);
    host().forgetEvents();
  }
  SSIB2_PRIVATE_DATA nameless = {};
  nameless.ssibEntryListHead = handle.ssibEntryListHead;
  EXPECT_EQ(iFlushToJSON(&nameless), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iFlushToJSON(nullptr), EFI_INVALID_PARAMETER);
  ssib::freeListOf(handle);
  EXPECT_EQ(iFlushToJSON(&handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ssib::jsonWriter(nullptr, "text"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ssib::jsonWriter(stdout, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(events(), "");
}

TEST_F(Json, UpdateJobsSetTheAttributeWhateverComesOfIt) {
  const std::string set = "Job_Type: UPDATES\nset " + kAttribute + " 6 0\n";
  for (const auto &[result, said] : {std::pair(0, "Able to Set the attr "), {-1, "ERROR: unable to Set the attr "}}) {
    host().faults = {{"set", 1, {static_cast<EFI_STATUS>(result)}}};
    EXPECT_EQ(parse(R"([{"FQDD":"f","JobType":"UPDATES"},{"FQDD":"g","JobType":"update"}])"), EFI_SUCCESS);
    EXPECT_EQ(jobs(), (Texts{"UPDATES/f", "update/g"}));
    EXPECT_NE(events().find(set + said), std::string::npos) << events();
  }
  EXPECT_EQ(host().countCalls("set"), 2U);
}

TEST_F(Json, OddTextsAreScannedByTheRules) {
  const std::tuple<const char *, std::string, EFI_STATUS, Texts> rows[] = {
      {"empty", R"()", EFI_INVALID_PARAMETER, {}},
      {"no array", R"({"FQDD" : "a"})", EFI_INVALID_PARAMETER, {}},
      {"open array", R"([[])", EFI_INVALID_PARAMETER, {}},
      {"empty array", R"([ ])", EFI_SUCCESS, {}},
      {"no object", R"([1, "FQDD" : "a"])", EFI_SUCCESS, {}},
      {"object across the array's end", R"([{"FQDD":"a"} {]})", EFI_INVALID_PARAMETER, {"-/a"}},
      {"object behind the array", R"([{"FQDD":"a"}] {})", EFI_INVALID_PARAMETER, {"-/a"}},
      {"no commas", R"("x" [{"FQDD":"a"}{"FQDD":"b"}])", EFI_SUCCESS, {"-/a", "-/b"}},
      {"reordered", R"([{"FQDD":"a","JobType":"t"}])", EFI_SUCCESS, {"t/a"}},
      {"repeated", R"([{"FQDD":"a","FQDD":"b"}])", EFI_SUCCESS, {"-/a"}},
      {"missing", R"([{"Fqdd":"a"}])", EFI_SUCCESS, {"-/-"}},
      {"nested", R"([{"x":{"FQDD":"a"},"y":[[]],"JobType":"t"}])", EFI_SUCCESS, {"t/a"}},
      {"spacing", "[\t{\r\n\"FQDD\"\n:\n\"a\" \"JobType\"     \"t\"}\v]", EFI_SUCCESS, {"t/a"}},
      {"empty values", R"([{"FQDD":"","JobType" : ""}])", EFI_SUCCESS, {"-/-"}},
      {"a value that is a key", R"([{"JOBID":"FQDD","JobType":"t"}])", EFI_SUCCESS, {"t/JobType"}},
      {"a number", R"([{"JobType":1,"FQDD":"a"}])", EFI_SUCCESS, {"FQDD/a"}},
      {"no escapes", R"([{"FQDD":"a\"b"}])", EFI_SUCCESS, {"-/a\\"}},
      {"brace in a value", R"([{"JobType":"}","FQDD":"a"}])", EFI_SUCCESS, {"}/-"}},
      {"bracket in a value", R"([{"JobType":"]","FQDD":"a"}])", EFI_INVALID_PARAMETER, {}},
      {"value behind the object", R"([{"FQDD"},{"JobType":"t"}])", EFI_SUCCESS, {"-/JobType", "t/-"}},
      {"key without a value", R"([{"FQDD"}])", EFI_SUCCESS, {"-/-"}},
      {"value without an end", R"([{"FQDD":"a}])", EFI_SUCCESS, {"-/-"}},
      {"a character is skipped", R"([{"FQDD""a":"b"}])", EFI_SUCCESS, {"-/:"}},
      {"high bytes", "[{\"FQDD\":\"\x80\xFF\"}]", EFI_SUCCESS, {"-/\x80\xFF"}},
  };
  for (const auto &[label, text, status, expected] : rows) {
    EXPECT_EQ(parse(text), status) << label;
    EXPECT_EQ(jobs(), expected) << label;
    EXPECT_EQ(+handle.ssibEntryListPtr, +handle.ssibEntryListHead) << label;
  }
}

TEST_F(Json, ATextThatIsNoListLeavesListAndCursorAlone) {
  openExample();
  SSIB_ENTRY_LIST *second = handle.ssibEntryListHead->next;
  handle.ssibEntryListPtr = second;
  for (const char *text : {static_cast<const char *>(nullptr), "{}", "[[]"}) {
    EXPECT_EQ(iParseFromJSON(&handle, text), EFI_INVALID_PARAMETER);
    EXPECT_EQ(+handle.ssibEntryListPtr, second);
  }
  const std::string enter = "iParseFromJSON: Enter.\nERROR: invalid parameter ";
  EXPECT_EQ(events(), enter + "1.\n" + enter + "2.\n" + enter + "3.\n");
  EXPECT_EQ(iParseFromJSON(nullptr, "[]"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iParseFromJSON(&handle, "[{\"FQDD\":\"third\"}]"), EFI_SUCCESS);
  EXPECT_EQ(+handle.ssibEntryListPtr, +handle.ssibEntryListHead);
  EXPECT_EQ(jobs(), (Texts{"UPDATE/dev-0001", "-/dev-0002", "-/third"}));
}

TEST_F(Json, HugeTextsTakeLinearTimeAndNoStack) {
  constexpr std::size_t kSize = 10U << 20U;
  handle.debugProto = nullptr;
  EXPECT_EQ(parse("[{\"FQDD\":\"" + std::string(kSize, 'a') + "\"}]"), EFI_SUCCESS);
  EXPECT_EQ(std::strlen(handle.ssibEntryListHead->entry.FQDD), kSize);
  EXPECT_EQ(parse(std::string(kSize, '[')), EFI_INVALID_PARAMETER);
  EXPECT_EQ(parse("[" + std::string(kSize, '{') + "]"), EFI_INVALID_PARAMETER);
}

// Names of jobs, with "?" behind one that lacks a value.
std::string inShort(const std::vector<LiteralJob> &jobs) {
  std::string text;
  for (const LiteralJob &job : jobs)
    text += job[1].value_or("-") + (std::ranges::count(job, std::optional<std::string>()) == 2 ? "" : "?");
  return text;
}

class JsonFaults : public Json {
 protected:
  struct Operation {
    const char *label;
    std::function<EFI_STATUS()> run;
    std::set<std::string> outcomes;
  };

  // The status's low byte, the list and the file.
  std::string outcome(EFI_STATUS status) {
    const std::string text = host().file(kName);
    const std::vector<LiteralJob> written = literallyRead(text).jobs;
    return std::to_string(status & 0xFF) + ", " + inShort(literalJobs(handle.ssibEntryListHead)) + ", " +
           (text == literallyWrite(written, "").bytes ? inShort(written) : "broken");
  }

  // Adds what comes of the operation when the nth of a kind fails; false when it does not come to that.
  bool seen(const Operation &operation, const std::string &kind, std::size_t nth, std::set<std::string> &outcomes) {
    host() = Platform();
    host().setFile(kName, kFile);
    if (operation.label != std::string("open")) {
      open(kName);
      add(handle, taskJob("c"));
    }
    const bool happened = fails(kind, nth, [&] { outcomes.insert(outcome(operation.run())); });
    while (handle.openCount != 0) iCloseSSIB(&handle);
    EXPECT_EQ(host().openStreams, 0U) << kind << " " << nth;
    return happened;
  }

  const std::string kFile =
      literallyWrite({{"UPDATE", "a", "fqdd", {}, "uri", "type", "ns"}, {"OTHER", "b", "f", {}, "u", "t", "n"}}, "")
          .bytes;
};

TEST_F(JsonFaults, EachAloneHasAKnownOutcome) {
  Job job = taskJob("a", "UPDATE");
  SSIB_ENTRY *entries[] = {&job};
  const Operation operations[] = {
      {"open",
       [&] { return iOpenSSIB(&handle, kName); },
       {"0, , ab", "0, -?b, ab", "0, a-?, ab", "0, a?b, ab", "0, ab, ab", "0, ab?, ab", "21, , ab", "9, , ab"}},
      {"parse",
       [&] { return iParseFromJSON(&handle, kFile.c_str()); },
       {"0, abc-?b, ab", "0, abca-?, ab", "0, abca?b, ab", "0, abcab, ab", "0, abcab?, ab", "9, abc, ab",
        "9, abca, ab"}},
      {"add",
       [&] { return iAddToSSIBQueue(&handle, 1, entries, 0, SSIB_ADD_APPEND_LO); },
       {"0, abc-?, ab", "0, abca, ab", "0, abca?, ab", "9, abc, ab"}},
      {"remove", [&] { return iRemoveFromSSIBQueue(&handle, &job); }, {"0, bc, ab", "0, bc, bc", "21, bc, ab"}},
      {"flush", [&] { return iFlushSSIBQueue(&handle); }, {"0, abc, ab", "0, abc, abc", "21, abc, ab"}},
      {"close", [&] { return iCloseSSIB(&handle); }, {"0, , ab", "0, , abc", "21, , ab"}},
  };
  for (const Operation &operation : operations) {
    std::set<std::string> outcomes;
    for (const char *kind : {"allocation", "", "write"})
      for (std::size_t nth = 1; seen(operation, kind, nth, outcomes);) ++nth;
    EXPECT_EQ(outcomes, operation.outcomes) << operation.label;
  }
}

}  // namespace
}  // namespace test
