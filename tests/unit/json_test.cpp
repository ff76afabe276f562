// SPDX-License-Identifier: MIT
// Task lists: the document of the examples, odd texts, and random ones, which the library and a literal version of it
// must read and write alike.
#include <random>

#include "json/writer.h"
#include "ssib_if2_backend/list.h"
#include "support/library_test.h"
#include "support/literal_task_list.h"

namespace test {
namespace {

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

class Json : public LibraryTest {
 protected:
  // Reads a text into an empty list: "STATUS; list".
  std::string parse(const std::string &text) {
    ssib::freeListOf(handle);
    const EFI_STATUS status = iParseFromJSON(&handle, text.c_str());
    EXPECT_TRUE(handle.ssibEntryListPtr == handle.ssibEntryListHead) << text;
    return std::string(status == EFI_SUCCESS ? "read" : "refused") + textOf(handle.ssibEntryListHead);
  }
};

TEST_F(Json, TheExampleIsReadAndWrittenByteForByte) {
  host().files["VAR025/a.json"] = kExample;
  outcome("open a.json");
  EXPECT_EQ(textOf(handle.ssibEntryListHead),
            "[ Job_ID=job-0001 Display_Name=System firmware Job_Type=UPDATE FQDD=dev-0001 "
            "Resource_URI=/images/fw-0001.bin Resource_Type=image Resource_Namespace=ns-main Target_Version=1.2.3]"
            "[ Display_Name=Second device FQDD=dev-0002]");
  host().files["VAR025/a.json"] = "";
  outcome("flush");
  EXPECT_EQ(host().files["VAR025/a.json"], kExample);
  EXPECT_EQ(ssib::jsonWriter(stdout, "a flush left half-way"), EFI_SUCCESS);
  outcome("flush");
  EXPECT_EQ(host().files["VAR025/a.json"], kExample);
}

TEST_F(Json, ReaderAndWriterReportToTheHandleAllElseToTheLibrary) {
  DEBUG_LOG_PROTOCOL *log = vyxSsibDebug;
  handle.debugProto = nullptr;
  const std::string library = play("file a.json u; open a.json; flush");
  handle.debugProto = log, vyxSsibDebug = nullptr;
  const std::string queue = play("open a.json; close; close; open a.json; flush");
  for (const char *line : {"|iParseFromJSON: Enter.", "|Job_Type:", "|Able to Set", "|Opening file [a.json]",
                           "|Writing entries now ...", "|Writing JobType", "|Closing [VAR025].", "|Returning"}) {
    EXPECT_EQ(library.find(line), std::string::npos) << line;
    EXPECT_NE(queue.find(line), std::string::npos) << line;
  }
  EXPECT_NE(library.find("|iFlushSSIBQueue alt mode"), std::string::npos);
  EXPECT_EQ(queue.find("|iFlushSSIBQueue alt mode"), std::string::npos);
}

TEST_F(Json, OddTextsAreScannedByTheRules) {
  const struct {
    const char *label;
    std::string text;
    const char *result;
  } rows[] = {
      {"empty", R"()", "refused"},
      {"no array", R"({"FQDD" : "a"})", "refused"},
      {"open array", R"([[])", "refused"},
      {"no object", R"([1, "FQDD" : "a"])", "read"},
      {"object across the array's end", R"([{"FQDD":"a"} {]})", "refused[ FQDD=a]"},
      {"object after the array", R"([{"FQDD":"a"}] {})", "refused[ FQDD=a]"},
      {"no commas", R"("x" [{"FQDD":"a"}{"FQDD":"b"}])", "read[ FQDD=a][ FQDD=b]"},
      {"reordered and repeated", R"([{"FQDD":"a","JobType":"t","FQDD":"b"}])", "read[ Job_Type=t FQDD=a]"},
      {"nested", R"([{"x":{"FQDD":"a"},"y":[[]],"JobType":"t"}])", "read[ Job_Type=t FQDD=a]"},
      {"spacing", "[\t{\r\n\"FQDD\"\n:\n\"a\" \"JobType\"     \"t\"}\v]", "read[ Job_Type=t FQDD=a]"},
      {"other case, empty value", R"([{"Fqdd":"a","JobType" : ""}])", "read[]"},
      {"a value that is a key", R"([{"JOBID":"FQDD"}])", "read[ Job_ID=FQDD]"},
      {"a number", R"([{"JobType":1,"FQDD":"a"}])", "read[ Job_Type=FQDD FQDD=a]"},
      {"no escapes", R"([{"FQDD":"a\"b"}])", "read[ FQDD=a\\]"},
      {"brace in a value", R"([{"JobType":"}","FQDD":"a"}])", "read[ Job_Type=}]"},
      {"bracket in a value", R"([{"JobType":"]","FQDD":"a"}])", "refused"},
      {"value after the object", R"([{"FQDD"},{"JobType":"t"}])", "read[ FQDD=JobType][ Job_Type=t]"},
      {"key without a value", R"([{"FQDD"}])", "read[]"},
      {"value without an end", R"([{"FQDD":"a}])", "read[]"},
      {"a character is skipped", R"([{"FQDD""a":"b"}])", "read[ FQDD=:]"},
      {"lines like the writer's", "[{\n\t\t\t   \"JobType\" : \"t\",\n\t\t\t\t\t\txDisplayName\" : \"d\"}]",
       "read[ Job_Type=t]"},
      {"high bytes", "[{\"FQDD\":\"\x80\xFF\"}]", "read[ FQDD=\x80\xFF]"},
  };
  for (const auto &row : rows) EXPECT_EQ(parse(row.text), row.result) << row.label;
}

TEST_F(Json, ATextThatIsNoListLeavesListAndCursorAlone) {
  const std::string before = outcome("file a.json ab; open a.json; get; parse {}");
  EXPECT_EQ(before, "80000002; 1 mode 1 a.json [a]>[b] | a.json=ab");
  EXPECT_EQ(iParseFromJSON(&handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(host().events.back(), "|ERROR: invalid parameter 1.");
  EXPECT_EQ(outcome("parse [[]"), before);
  EXPECT_EQ(outcome("parse [{\"FQDD\":\"c\"}]"), "0; 1 mode 1 a.json >[a][b][ FQDD=c] | a.json=ab");
  host().forgetEvents();
  EXPECT_EQ(parse(R"([{"JobType":"UPDAT"}{"JobType":"UPDATES"}{"FQDD":"UPDATE"}])").substr(0, 4), "read");
  EXPECT_EQ(host().calls.size(), 1U) << "a job type that begins with UPDATE sets the attribute, no other";
  EXPECT_NE(play("fail allocation 1; parse [{}]").find("|ERROR: unable to create new entry\n"), std::string::npos);
  EXPECT_EQ(ssib::jsonWriter(nullptr, "text"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ssib::jsonWriter(stdout, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(Json, HugeTextsTakeLinearTimeAndNoStack) {
  constexpr std::size_t kSize = 10U << 20U;
  handle.debugProto = nullptr;
  EXPECT_EQ(parse("[{\"FQDD\":\"" + std::string(kSize, 'a') + "\"}]").size(), kSize + 12);
  EXPECT_EQ(parse(std::string(kSize, '[')), "refused");
  EXPECT_EQ(parse("[" + std::string(kSize, '{') + "]"), "refused");
}

// The reader goes through an array in stretches of 4096 bytes: each length puts what follows elsewhere across the edge.
TEST_F(Json, LongArraysEndWhereTheyAreBalanced) {
  handle.debugProto = nullptr;
  for (std::size_t length = 4080; length < 4100; ++length) {
    const std::string start = "[" + std::string(length, ' ') + "[] [";
    EXPECT_EQ(parse(start + "]]"), "read") << length;
    EXPECT_EQ(parse(start + "]"), "refused") << length;
    EXPECT_EQ(parse(start + "]]{}"), "refused") << length;
  }
}

// ---- Beside a literal reader and writer

using Random = std::minstd_rand;

template <std::size_t size>
std::string anyOf(const char *const (&pieces)[size], Random &random) {
  return pieces[random() % size];
}

// Pieces that mean something to the reader, and some that do not.
std::string randomPiece(Random &random) {
  static const char *const pieces[] = {"\"JobType\" : \"UPDATE\",",
                                       "\"DisplayName\":\"a\"",
                                       "\"FQDD\"",
                                       "      \"JOBID\" : \"",
                                       "\"ResourceURI\" :",
                                       "\"TargetVersion\"",
                                       "\"ResourceTypes\"",
                                       "\"",
                                       "\"",
                                       "{",
                                       "}",
                                       "{\n",
                                       "}",
                                       "[",
                                       "]",
                                       ":",
                                       ",\n",
                                       " \r\n",
                                       "\t",
                                       "17",
                                       "dev-01",
                                       "\\",
                                       "\x80\xFF",
                                       ""};
  return anyOf(pieces, random);
}

std::string randomPieces(Random &random) {
  std::string text = random() % 8 == 0 ? "" : "{ [{";
  for (auto count = random() % 24; count != 0; --count) text += randomPiece(random);
  return text + (random() % 4 == 0 ? "" : "}]}");
}

// A list as the writer makes it, with some values that are keys. A few pieces go in, or take the place of others.
std::string damagedList(Random &random) {
  static const char *const values[] = {"",
                                       "",
                                       "a",
                                       "UPDATE",
                                       "slot 1",
                                       "JobType",
                                       "FQDD",
                                       "JOBID",
                                       "ResourceURI",
                                       "ResourceType",
                                       "ResourceNamespace",
                                       "TargetVersion"};
  LiteralList jobs(1 + random() % 3);
  for (LiteralJob &job : jobs)
    for (auto &value : job) value = anyOf(values, random);
  std::string text = literallyWrite(jobs);
  for (auto count = random() % 4; count != 0; --count)
    text.replace(random() % text.size(), random() % 3 == 0 ? random() % 80 : random() % 3, randomPiece(random));
  return text;
}

TEST_F(Json, RandomTextsAreReadAsTheLiteralReaderDoes) {
  Random random;
  handle.debugProto = nullptr;
  for (int round = 0; round < 60000 && !HasFailure(); ++round) {
    const std::string text = round % 4 == 0 ? randomPieces(random) : damagedList(random);
    const std::vector<char> image(text.c_str(), text.c_str() + text.size() + 1);  // so that a look past it is seen
    const EFI_STATUS status = iParseFromJSON(&handle, image.data());
    EXPECT_EQ(std::pair(status, literalList(handle.ssibEntryListHead)), literallyRead(text)) << text;
    ssib::freeListOf(handle);
  }
}

// The writer gathers 4096 bytes: each length puts what follows elsewhere across the edge.
TEST_F(Json, LongValuesAreWrittenAsTheLiteralWriterDoes) {
  for (std::size_t length = 3700; length < 4200; ++length) {
    std::string value(length, 'x');
    Job a('a'), b('b');
    b.FQDD = value.data();
    SSIB_ENTRY *jobs[] = {&a, &b, &a};
    host() = Platform();
    outcome("open a.json");
    iAddToSSIBQueue(&handle, 3, jobs, 0, SSIB_ADD_APPEND_LO);
    iFlushToJSON(&handle);
    ASSERT_TRUE(host().files["VAR025/a.json"] == literallyWrite(literalList(handle.ssibEntryListHead))) << length;
    tidy();
  }
}

}  // namespace
}  // namespace test
