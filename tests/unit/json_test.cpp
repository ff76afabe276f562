// SPDX-License-Identifier: MIT
// Task lists through the exported functions: what is read, written, reported and left behind when something fails.
#include <algorithm>
#include <cstring>
#include <cwchar>
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
  // Everything that was said and asked for, one a line; of a trace, who called what.
  std::string events() {
    std::string lines;
    for (const std::string &event : host().events) {
      const std::size_t call = event.find("varsk_");
      const bool isTrace = event.starts_with("trace|");
      lines += isTrace ? event.substr(0, event.find(':') + 1) + event.substr(call, event.find('(') - call)
                       : event.substr(event.find('|') + 1);
      lines += "\n";
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
    std::ranges::transform(texts, fqdds, texts.begin(),
                           [](const auto &type, const auto &fqdd) { return type + "/" + fqdd; });
    return texts;
  }

  // Reads a text that stands in a block of its exact size into an empty list.
  EFI_STATUS parse(const std::string &text) {
    ssib::freeListOf(handle);
    return iParseFromJSON(&handle, std::vector<char>(text.c_str(), text.c_str() + text.size() + 1).data());
  }

  void TearDown() override {
    if (handle.openCount == 0) ssib::freeListOf(handle);
    LibraryTest::TearDown();
  }
};

TEST_F(Json, TheExampleIsReadAndWrittenByteForByteWithItsMessages) {
  host().setFile(kName, kExample);
  ASSERT_EQ(iOpenSSIB(&handle, kName), EFI_SUCCESS);
  const std::string opened = "open VAR025/a.json r\ntrace|ssib_if2_backend:varsk_fopen\n";
  const std::string closed = "close VAR025 r\ntrace|ssib_if2_backend:varsk_fclose\n";
  EXPECT_EQ(events(), "Enter.\niOpenJSON - fname_len= 28\n\n" + opened + "getSize\n" + closed + "file_exists: 1\n2\n" +
                          opened + "iOpenJSON - Reading file.\n" + literallyRead(kExample).events + closed +
                          "Exit. 0\n");
  SSIB_ENTRY_LIST expected = {};
  const SSIB_ENTRY_LIST &second = *handle.ssibEntryListHead->next;
  expected.priority = 3;
  expected.entry.Display_Name = second.entry.Display_Name;
  expected.entry.FQDD = second.entry.FQDD;
  EXPECT_EQ(std::memcmp(static_cast<const void *>(&second), &expected, sizeof(expected)), 0);
  EXPECT_EQ(handle.ssibEntryListPtr, handle.ssibEntryListHead);
  EXPECT_EQ(handle.mode, SSIB_MODE_BIOS_SMA);

  host().forgetEvents();
  host().setFile(kName, "");
  EXPECT_EQ(iFlushSSIBQueue(&handle), EFI_SUCCESS);
  EXPECT_EQ(host().file(kName), kExample);
  EXPECT_EQ(events(),
            "iFlushSSIBQueue called\niFlushSSIBQueue alt mode SMA/JSON\nOpening file [a.json]\nopen VAR025/a.json w\n"
            "trace|json:varsk_fopen\nWriting entries now ...\nWriting JobType [UPDATE], ResourceType [image] ...\n"
            "Writing JobType [], ResourceType [] ...\nClosing [VAR025].\nclose VAR025 w\n"
            "trace|json:varsk_fclose\nReturning EFI_SUCCESS.\n");
}

TEST_F(Json, ReaderAndWriterReportToTheHandleAllElseToTheLibrary) {
  DEBUG_LOG_PROTOCOL *log = vyxSsibDebug;
  for (const auto &[toHandle, toLibrary] : {std::pair(false, false), {false, true}, {true, false}, {true, true}}) {
    SCOPED_TRACE(::testing::Message() << "handle " << toHandle << ", library " << toLibrary);
    handle.debugProto = toHandle ? log : nullptr;
    vyxSsibDebug = toLibrary ? log : nullptr;
    openExample();
    iCloseSSIB(&handle);
    iOpenSSIB(&handle, kName);
    const std::string said = events();
    EXPECT_EQ(said.find("Opening file [a.json]") != std::string::npos, toHandle);
    EXPECT_EQ(said.find("iParseFromJSON: Enter.") != std::string::npos, toHandle);
    EXPECT_EQ(said.find("file_exists: 1") != std::string::npos, toLibrary);
    EXPECT_EQ(said.find("iFlushSSIBQueue alt mode") != std::string::npos, toLibrary);
    iCloseSSIB(&handle);
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
  const std::string open = "open VAR025/a.json r";
  const std::string close = "close VAR025 r";
  const std::string refused = "iOpenSSIB - Varsk access error. Error is -2147483633";
  const std::string failed = "ERROR: unable to open a.json";
  const std::string shortRead = "iOpenJSON - Error reading. Returning.";
  const std::string noMemory = "iOpenJSON - Failed to allocate memory.";
  using Size = std::optional<std::uint32_t>;
  using Row = std::tuple<const char *, Answer, Size, EFI_STATUS, bool, std::string, std::string>;
  const Row rows[] = {
      {"open OTHER1", {EFI_ACCESS_DENIED}, {}, EFI_ACCESS_DENIED, false, "open OTHER1/a.json r", refused},
      {"open VAR025", {EFI_DEVICE_ERROR}, {}, EFI_ABORTED, true, open, failed + "\n"},
      {"open VAR025", {EFI_DEVICE_ERROR, true}, {}, EFI_ABORTED, true, close, failed + " 0x80000007\n"},
      {"open VAR025", {1, true}, {}, EFI_ABORTED, true, close, failed + " 0x00000001\n"},
      {"short", {}, kExample.size() + 1, EFI_DEVICE_ERROR, false, close, shortRead},
      {"a gigabyte", {}, 1U << 30U, EFI_DEVICE_ERROR, false, close, shortRead},
      {"4 gigabytes", {}, UINT32_MAX, EFI_OUT_OF_RESOURCES, false, close, noMemory},
  };
  std::wcscpy(sVarskPartition, L"OTHER1");
  host().files[L"OTHER1/a.json"] = host().files[L"VAR025/a.json"] = kExample;
  for (const auto &[what, answer, size, status, keepsName, lastCall, lastLine] : rows) {
    SCOPED_TRACE(what + (": " + lastLine));
    host().faults = {{what, 1, answer}};
    host().announcedSize = size;
    EXPECT_EQ(iOpenSSIB(&handle, kName), status);
    EXPECT_EQ(handle.openCount, 0U);
    EXPECT_EQ(handle.mode, SSIB_MODE_BIOS_SMA);
    EXPECT_EQ(handle.ssibFileName != nullptr, keepsName);
    EXPECT_EQ(handle.ssibEntryListHead, nullptr);
    EXPECT_EQ(host().calls.back(), lastCall);
    EXPECT_EQ(host().logTexts().back(), lastLine);
  }
}

TEST_F(Json, TheWriterRefusesAnEmptyListAndReportsAFailedOpen) {
  const std::pair<Answer, std::string> rows[] = {
      {{EFI_ACCESS_DENIED}, "ERROR: unable to open a.json\n\n"},
      {{EFI_DEVICE_ERROR, true},
       "ERROR: unable to open a.json 0x80000007\n\nclose VAR025 w\ntrace|json:varsk_fclose\n"},
  };
  openExample();
  for (const auto &[answer, said] : rows) {
    host().forgetEvents();
    host().faults = {{"open", 1, answer}};
    EXPECT_EQ(iFlushToJSON(&handle), EFI_ABORTED);
    EXPECT_EQ(events(), "Opening file [a.json]\nopen VAR025/a.json w\ntrace|json:varsk_fopen\n" + said);
  }
  host().failWrites = true;
  EXPECT_EQ(iFlushToJSON(&handle), EFI_SUCCESS) << "write errors are not detected";
  host().forgetEvents();
  SSIB2_PRIVATE_DATA nameless = {};
  nameless.ssibEntryListHead = handle.ssibEntryListHead;
  ssib::freeListOf(handle);
  for (SSIB2_PRIVATE_DATA *refused : {&handle, &nameless, static_cast<SSIB2_PRIVATE_DATA *>(nullptr)}) {
    EXPECT_EQ(iFlushToJSON(refused), EFI_INVALID_PARAMETER);
  }
  EXPECT_EQ(ssib::jsonWriter(nullptr, "text"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ssib::jsonWriter(stdout, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(events(), "");
}

TEST_F(Json, ARefusedTextCountsAsOpenAndKeepsItsBytes) {
  const std::string text = "[{\"FQDD\" : \"a\"} {]";
  host().setFile(kName, text);
  EXPECT_EQ(iOpenSSIB(&handle, kName), EFI_INVALID_PARAMETER);
  EXPECT_EQ(handle.openCount, 1U);
  EXPECT_EQ(handle.ssibEntryListHead, nullptr);
  EXPECT_EQ(handle.ssibEntryListPtr, nullptr);
  EXPECT_EQ(std::wcscmp(handle.ssibFileName, kName), 0);
  EXPECT_EQ(host().logTexts().back(), "Exit. 80000002");
  EXPECT_EQ(iCloseSSIB(&handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(handle.mode, SSIB_MODE_DEFAULT);
  EXPECT_EQ(host().file(kName), text);
}

TEST_F(Json, TheLastJobCannotBeRemovedFromTheFile) {
  open(kName);
  Job job = taskJob("only");
  add(handle, job);
  iFlushSSIBQueue(&handle);
  const std::string before = host().file(kName);
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, &job), EFI_INVALID_PARAMETER);
  EXPECT_EQ(handle.ssibEntryListHead, nullptr);
  EXPECT_EQ(host().file(kName), before);
}

TEST_F(Json, UpdateJobsSetTheAttributeWhateverComesOfIt) {
  const std::pair<std::string, bool> rows[] = {
      {"UPDATE", true}, {"UPDATE_LATER", true}, {"UPDAT", false}, {"update", false}};
  for (const int result : {0, -1}) {
    for (const auto &[type, sets] : rows) {
      SCOPED_TRACE(type + ", result " + std::to_string(result));
      host().forgetEvents();
      host().configurationResult = result;
      const std::string object = "{\"FQDD\" : \"f\", \"JobType\" : \"" + type + "\"}";
      EXPECT_EQ(parse("[" + object + "," + object + "]"), EFI_SUCCESS);
      EXPECT_EQ(jobs(), Texts(2, type + "/f"));
      const std::string line =
          (result == 0 ? "Able to Set the attr " : "ERROR: unable to Set the attr ") + kAttribute + "\n";
      const std::string set = sets ? "set " + kAttribute + " 6 0\n" + line : "";
      EXPECT_NE(events().find("Job_Type: " + type + "\n" + set + "FQDD: f\n"), std::string::npos);
      EXPECT_EQ(host().countCalls("set"), sets ? 2U : 0U);
    }
  }
}

TEST_F(Json, ValuesAreCutAt4095BytesWhereverTheChunksEnd) {
  open(kName);
  for (std::size_t length = 3700; length < 4100; ++length) {
    const std::string value(length, 'v');
    add(handle, Job().text(&SSIB_ENTRY::Display_Name, value.c_str()));
    EXPECT_EQ(iFlushToJSON(&handle), EFI_SUCCESS);
    ASSERT_EQ(host().file(kName), literallyWrite({LiteralJob{std::nullopt, value}}, "").bytes) << length;
    ssib::freeListOf(handle);
  }
}

TEST_F(Json, AListCutAnywhereIsReadOnlyWhenItsArrayIsWhole) {
  for (std::size_t length = 0; length <= kExample.size(); ++length) {
    const bool isWhole = length > kExample.find(']');
    ASSERT_EQ(parse(kExample.substr(0, length)), isWhole ? EFI_SUCCESS : EFI_INVALID_PARAMETER) << length;
  }
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
      {"brace ahead of the array", R"({{[{"FQDD":"a"}])", EFI_SUCCESS, {"-/a"}},
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
  }
}

TEST_F(Json, ATextThatIsNoListLeavesListAndCursorAlone) {
  openExample();
  SSIB_ENTRY_LIST *second = handle.ssibEntryListHead->next;
  handle.ssibEntryListPtr = second;
  for (const char *text : {static_cast<const char *>(nullptr), "{}", "[[]"}) {
    EXPECT_EQ(iParseFromJSON(&handle, text), EFI_INVALID_PARAMETER);
    EXPECT_EQ(handle.ssibEntryListPtr, second);
  }
  const std::string enter = "iParseFromJSON: Enter.\nERROR: invalid parameter ";
  EXPECT_EQ(events(), enter + "1.\n" + enter + "2.\n" + enter + "3.\n");
  EXPECT_EQ(iParseFromJSON(nullptr, "[]"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iParseFromJSON(&handle, "[{\"FQDD\":\"third\"}]"), EFI_SUCCESS);
  EXPECT_EQ(handle.ssibEntryListPtr, handle.ssibEntryListHead);
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

// ---- Each failure once

class JsonFaults : public Json, public ::testing::WithParamInterface<const char *> {
 protected:
  EFI_STATUS run() {
    Job job = taskJob("present");
    SSIB_ENTRY *entries[] = {&job};
    const std::string operation = GetParam();
    if (operation == "add") return iAddToSSIBQueue(&handle, 1, entries, 0, SSIB_ADD_APPEND_LO);
    if (operation == "remove") return iRemoveFromSSIBQueue(&handle, &job);
    if (operation == "flush") return iFlushSSIBQueue(&handle);
    return operation == "close" ? iCloseSSIB(&handle) : iOpenSSIB(&handle, kName);
  }

  // Runs the operation while the nth allocation, open or close fails, or all writes do. False when there was no nth.
  bool fails(const std::string &what, std::size_t nth) {
    SCOPED_TRACE(what + " " + std::to_string(nth));
    openExample();
    add(handle, taskJob("present"));
    if (GetParam() == std::string("open")) iCloseSSIB(&handle);
    host().faults = {{what, nth, {}}};
    host().failWrites = what == "write";
    const std::string before = host().file(kName);
    const heap::Watch watch(what == "allocation" ? nth : 0);
    const EFI_STATUS status = run();
    const bool failed = watch.failed() || host().faults[0].seen >= nth;
    EXPECT_TRUE(status == EFI_SUCCESS || status == EFI_ABORTED || status == EFI_OUT_OF_RESOURCES) << status;
    EXPECT_TRUE(failed || status == EFI_SUCCESS) << status;
    const std::string after = host().file(kName);
    EXPECT_TRUE(after == before || (after.starts_with("{\n  \"SMAJob\"") && after.ends_with("  ]\n}\n"))) << after;
    host().faults.clear();
    host().failWrites = false;
    while (handle.openCount != 0) iCloseSSIB(&handle);
    EXPECT_EQ(host().openStreams, 0U);
    return failed;
  }
};

TEST_P(JsonFaults, LeaveTheOldFileOrTheNewAndADocumentedStatus) {
  for (const char *what : {"allocation", "open", "close"}) {
    for (std::size_t nth = 1; fails(what, nth); ++nth) ASSERT_LT(nth, 200U);
  }
  fails("write", 1);
}

INSTANTIATE_TEST_SUITE_P(Each, JsonFaults, ::testing::Values("open", "flush", "close", "add", "remove"));

TEST_F(Json, AValueWithoutMemoryIsNullAnElementWithoutMemoryEndsTheReading) {
  const std::string text = R"([{"JobType":"t","FQDD":"a"},{"FQDD":"b"}])";
  const std::tuple<std::size_t, EFI_STATUS, Texts> rows[] = {
      {1, EFI_OUT_OF_RESOURCES, {}}, {2, EFI_SUCCESS, {"-/a", "-/b"}}, {4, EFI_OUT_OF_RESOURCES, {"t/a"}}};
  for (const auto &[nth, status, expected] : rows) {
    const heap::Watch watch(nth);
    EXPECT_EQ(parse(text), status);
    EXPECT_EQ(jobs(), expected);
  }
}

// ---- Entries of a task list

TEST_F(Json, DeletingMatchesModeAndSixStrings) {
  const std::string type(16, 't');
  const std::string longer = type + "x";
  const struct {
    const char *label;
    SSIB_TEXT SSIB_ENTRY::*member;
    const char *value;
    bool matches;
  } rows[] = {
      {"name", &SSIB_ENTRY::Display_Name, "other", false},
      {"17th character of the type", &SSIB_ENTRY::Job_Type, longer.c_str(), true},
      {"16th character of the type", &SSIB_ENTRY::Job_Type, type.c_str() + 1, false},
      {"no FQDD", &SSIB_ENTRY::FQDD, nullptr, false},
      {"empty URI", &SSIB_ENTRY::Resource_URI, "", false},
      {"resource type", &SSIB_ENTRY::Resource_Type, "other", false},
      {"namespace", &SSIB_ENTRY::Resource_Namespace, "other", false},
      {"version", &SSIB_ENTRY::Target_Version, "other", true},
      {"identifier", &SSIB_ENTRY::Job_ID, "other", true},
  };
  open(kName);
  for (const auto &[label, member, value, matches] : rows) {
    add(handle, taskJob("name", type.c_str()));
    Job key = taskJob("name", type.c_str()).text(member, value);
    EXPECT_EQ(iDeleteSSIBEntry(&handle, &key), matches ? EFI_SUCCESS : EFI_INVALID_PARAMETER) << label;
    ssib::freeListOf(handle);
  }
}

TEST_F(Json, AnEntrysModeIsMatchedAndCopiedButNotStored) {
  Job job = taskJob("job");
  job.mode = SSIB_MODE_BIOS_SMA;
  open(kName);
  add(handle, job);
  handle.ssibEntryListPtr = handle.ssibEntryListHead;
  SSIB_ENTRY copy = {};
  ASSERT_EQ(iPeekSSIBNextEntry(&handle, &copy), EFI_SUCCESS);
  EXPECT_EQ(copy.mode, SSIB_MODE_BIOS_SMA);
  release(copy);
  EXPECT_EQ(iDeleteSSIBEntry(&handle, &job), EFI_SUCCESS);
  add(handle, job);
  iCloseSSIB(&handle);
  open(kName);
  ASSERT_EQ(iGetSSIBNextEntry(&handle, &copy), EFI_SUCCESS);
  EXPECT_EQ(copy.mode, SSIB_MODE_DEFAULT);
  EXPECT_STREQ(copy.Resource_Namespace, "ns");
  release(copy);
  EXPECT_EQ(iDeleteSSIBEntry(&handle, &job), EFI_INVALID_PARAMETER);
}

}  // namespace
}  // namespace test
