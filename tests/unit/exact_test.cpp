// SPDX-License-Identifier: MIT
// What only a failure in the right place shows: holes in copies, the order in which an open gives things back, which
// call site closed a file, services that succeed with nothing in their hands.
#include <cwchar>
#include <functional>
#include <optional>
#include <set>

#include "json/writer.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/xml_form.h"
#include "ssib_if2_backend/xml_tree.h"
#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

bool announcesNoArray = false;

struct Close {
  bool hasName;        // the handle still has its file name
  std::size_t blocks;  // on the heap
};
std::vector<Close> closes;

}  // namespace
}  // namespace test

// The linker's --wrap: the library's calls come here, those of the platform in memory go on to it.
extern "C" {

EFI_STATUS __real_varsk_fclose_1(const wchar_t *partition, FILE *stream, const char *mode);
EFI_STATUS __wrap_varsk_fclose_1(const wchar_t *partition, FILE *stream, const char *mode) {
  test::closes.push_back({gSSSIB2pvt.ssibFileName != nullptr, test::heap::live()});
  return __real_varsk_fclose_1(partition, stream, mode);
}

EFI_STATUS __real_getProtocolInstanceByGuid(const EFI_GUID *guid, std::uint32_t *count, void ***instances);
EFI_STATUS __wrap_getProtocolInstanceByGuid(const EFI_GUID *guid, std::uint32_t *count, void ***instances) {
  if (!test::announcesNoArray) return __real_getProtocolInstanceByGuid(guid, count, instances);
  *count = 1;
  return EFI_SUCCESS;
}

}  // extern "C"

namespace test {
namespace {

class Exact : public LibraryTest {};

TEST_F(Exact, AnInstanceWithoutAnArrayIsNoInstance) {
  void *instance = &handle;
  announcesNoArray = true;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FindAProtocol(&gQuorDebugGUID, &instance), EFI_NOT_FOUND);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "NO protocol loaded for GUID!\n");
  EXPECT_EQ(instance, &handle);
  announcesNoArray = false;
}

// ---- Copies of nodes

std::string shapeOf(const XML_STRING *string) {
  if (string == nullptr) return "";
  return string->text == nullptr ? "~" : static_cast<const char *>(string->text);
}

// "name attribute=value text[child]"; nothing stands for a string that is missing, "~" for one without a text.
std::string shapeOf(const XML_NODE *node) {
  if (node == nullptr) return "none";
  std::string shape = shapeOf(node->name) + " ";
  for (const XML_ATTRIBUTE *attribute = node->attributes; attribute != nullptr; attribute = attribute->next)
    shape += shapeOf(attribute->name) + "=" + shapeOf(attribute->value) + " ";
  shape += shapeOf(node->value);
  return node->firstChild == nullptr ? shape : shape + "[" + shapeOf(node->firstChild) + "]";
}

constexpr char kDocument[] = "<n x='1'>t<m/></n>";
const std::string kWhole = "n x=1 t[m ]";
// The copy of kDocument whose nth allocation failed.
const std::string kHoles[] = {
    "none",        " x=1 t[m ]", "~ x=1 t[m ]", "n x=1 [m ]", "n x=1 ~[m ]", "n t[m ]",     "n =1 t[m ]",
    "n ~=1 t[m ]", "n x= t[m ]", "n x=~ t[m ]", "n x=1 t",    "n x=1 t[ ]",  "n x=1 t[~ ]",
};

TEST_F(Exact, ACopyLacksOnlyWhatCouldNotBeAllocated) {
  const ssib::XmlTree node(treeOf(kDocument), {handle.XMLProto});
  Job job;
  job.Timeout = 600;
  job.Node = node.get();
  SSIB_ENTRY *entries[] = {&job};
  SSIB_ENTRY taken = {};
  const struct {
    const char *label;
    std::function<EFI_STATUS()> run;
    bool changesList;  // the copy is the first element's, not the caller's
    std::size_t allocationsBefore;
    EFI_STATUS withoutNode;
  } rows[] = {
      {"peek", [&] { return iPeekSSIBNextEntry(&handle, &taken); }, false, 0, EFI_SUCCESS},
      {"get", [&] { return iGetSSIBNextEntry(&handle, &taken); }, false, 0, EFI_SUCCESS},
      {"add", [&] { return iAddToSSIBQueue(&handle, 1, entries, 0, SSIB_ADD_PREPEND_HI); }, true, 1, EFI_SUCCESS},
      {"replace", [&] { return iReplaceSSIBEntry(&handle, &job, &job); }, true, 0, EFI_OUT_OF_RESOURCES},
  };
  for (const auto &row : rows) {
    for (std::size_t nth = 1; nth <= std::size(kHoles); ++nth) {
      SCOPED_TRACE(std::string(row.label) + ", allocation " + std::to_string(nth));
      host() = Platform();
      open(L"a.json");
      add(handle, job);
      handle.ssibEntryListPtr = handle.ssibEntryListHead;
      {
        const heap::Watch watch(row.allocationsBefore + nth);
        EXPECT_EQ(row.run(), nth == 1 ? row.withoutNode : EFI_SUCCESS);
      }
      EXPECT_EQ(shapeOf(row.changesList ? handle.ssibEntryListHead->entry.Node : taken.Node), kHoles[nth - 1]);
      release(taken);
      iCloseSSIB(&handle);
    }
  }
}

// What comes of an operation when its first allocation fails, its second, ..., and none.
std::vector<std::string> outcomesOf(const std::function<std::string()> &operation) {
  std::vector<std::string> outcomes;
  for (std::size_t nth = 1;; ++nth) {
    const heap::Watch watch(nth);
    outcomes.push_back(operation());
    if (!watch.failed()) return outcomes;
  }
}

TEST_F(Exact, AnOpenKeepsTheLastUnknownChildWhateverTheEarlierOnesLack) {
  const ssib::XmlTree root(treeOf("<r><b><n/><o/><CMD_LINE/><p/></b></r>"), {handle.XMLProto});
  const auto outcome = [&]() -> std::string {
    SSIB_LINK list = nullptr;
    const EFI_STATUS status = ssib::readEntries(handle.XMLProto, *root, &list);
    if (status != EFI_SUCCESS) return list == nullptr ? "nothing" : "something";
    std::string shape = shapeOf(list->entry.Node);
    ssib::le_free_list(handle.XMLProto, list);
    return shape;
  };
  std::vector<std::string> expected(14, "p ");
  expected[0] = expected[1] = "nothing";  // the element, the first node of its Node
  expected[11] = " ";                     // the last one's name
  expected[12] = "~ ";
  EXPECT_EQ(outcomesOf(outcome), expected);
}

TEST_F(Exact, AFlushWritesWhatACopyHasUnlessANameIsMissing) {
  const ssib::XmlTree node(treeOf(kDocument), {handle.XMLProto});
  Job job;
  job.Timeout = 600;
  job.Node = node.get();
  open();
  add(handle, job);
  const auto outcome = [&]() -> std::string {
    if (iFlushSSIBQueue(&handle) != EFI_SUCCESS) return "refused";
    const std::string document = host().file(L"Main.ssib");
    const std::size_t begin = document.find("<n"), end = document.find("\n</SSIB_BLOCK>");
    return document.substr(begin, end - begin);
  };
  const std::set<std::string> expected = {"refused",      "<n x=\"1\">t<m/></n>", "<n x=\"1\">\n<m/>\n</n>",
                                          "<n>t<m/></n>", "<n x=\"\">t<m/></n>",  "<n x=\"1\">t</n>"};
  const std::vector<std::string> outcomes = outcomesOf(outcome);
  EXPECT_EQ(std::set<std::string>(outcomes.begin(), outcomes.end()), expected);
}

// ---- Nodes that are not serialised

EFI_STATUS serializeToNothing(XML_SERVICE_PROTOCOL *, const XML_NODE *, std::uint32_t, XML_STRING **) {
  return EFI_SUCCESS;
}

EFI_STATUS serializeWithoutText(XML_SERVICE_PROTOCOL *, const XML_NODE *, std::uint32_t, XML_STRING **image) {
  *image = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  return EFI_SUCCESS;
}

TEST_F(Exact, NodesWithoutASerialisedTextAreNotTheSame) {
  const ssib::XmlTree one(treeOf("<one/>"), {handle.XMLProto}), other(treeOf("<other/>"), {handle.XMLProto});
  Job job, key;
  job.Timeout = key.Timeout = 600;
  job.Node = one.get();
  key.Node = other.get();
  open();
  add(handle, job);
  XML_SERVICE_PROTOCOL *const whole = handle.XMLProto;
  for (const auto serialize : {serializeToNothing, serializeWithoutText}) {
    XML_SERVICE_PROTOCOL service = *whole;
    service.SerializeTree = serialize;
    handle.XMLProto = &service;
    EXPECT_EQ(SSIBEntryCmp(&handle, &job, &key), 0xFFFFFFFF);
    EXPECT_EQ(iReplaceSSIBEntry(&handle, &key, &key), EFI_NOT_FOUND);
    handle.XMLProto = whole;
    EXPECT_EQ(textOf(handle.ssibEntryListHead->entry.Node), "<one/>");
  }
}

// ---- Closes

// Source file and line of the last such call.
std::string siteOf(const std::string &call) {
  std::string site;
  for (const std::string &event : platform().events) {
    const std::size_t end = event.find(":Calling " + call);
    if (end != std::string::npos) site = event.substr(0, end);
  }
  return site;
}

TEST_F(Exact, EachFailureClosesAtItsOwnLineAndBeforeTheNameGoes) {
  const wchar_t xml[] = L"a.ssib", taskList[] = L"a.json";
  const std::string contents = "[{}]";
  const struct {
    const char *label;
    const wchar_t *name;
    Platform::Fault fault;
    std::optional<std::uint32_t> announcedSize;
    EFI_STATUS status;
    const char *partition;
    bool writes = false;
  } rows[] = {
      {"XML, no memory", xml, fault("none"), UINT32_MAX, EFI_OUT_OF_RESOURCES, "OTHER1"},
      {"XML, short", xml, fault("none"), contents.size() + 1, EFI_DEVICE_ERROR, "OTHER1"},
      {"task list, status", taskList, fault("open VAR025", 1, EFI_DEVICE_ERROR, true), {}, EFI_ABORTED, "VAR025"},
      {"task list, no memory", taskList, fault("none"), UINT32_MAX, EFI_OUT_OF_RESOURCES, "VAR025"},
      {"task list, short", taskList, fault("none"), contents.size() + 1, EFI_DEVICE_ERROR, "VAR025"},
      {"writer, status", taskList, fault("open VAR025", 1, EFI_ABORTED, true), {}, EFI_ABORTED, "VAR025", true},
  };
  std::wcscpy(sVarskPartition, L"OTHER1");
  for (const std::wstring partition : {L"OTHER1/", L"VAR025/"}) {
    for (const wchar_t *name : {xml, taskList}) host().files[partition + name] = contents;
  }
  std::set<std::string> sites;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    if (row.writes) open(row.name);
    host().faults = {row.fault};
    host().announcedSize = row.announcedSize;
    const std::size_t blocks = heap::live();
    EXPECT_EQ(row.writes ? iFlushSSIBQueue(&handle) : iOpenSSIB(&handle, row.name), row.status);
    EXPECT_EQ(host().calls.back(), std::string("close ") + row.partition + (row.writes ? " w" : " r"));
    EXPECT_TRUE(closes.back().hasName);
    EXPECT_EQ(closes.back().blocks, blocks + (row.writes ? 0 : 1)) << "the name alone: the buffer is gone";
    EXPECT_NE(siteOf("varsk_fclose"), siteOf("varsk_fopen"));
    EXPECT_TRUE(sites.insert(siteOf("varsk_fclose")).second) << "another row's line";
    host().faults.clear();
    host().announcedSize.reset();
    iCloseSSIB(&handle);
    std::free(handle.ssibFileName);
    handle.ssibFileName = nullptr;
  }
}

TEST_F(Exact, AFlushBeginsWithAnEmptyBuffer) {
  open(L"a.json");
  add(handle, taskJob("a"));
  EXPECT_EQ(iFlushToJSON(&handle), EFI_SUCCESS);
  const std::string whole = host().file(L"a.json");
  EXPECT_EQ(ssib::jsonWriter(stdout, "left half-way"), EFI_SUCCESS);
  EXPECT_EQ(iFlushToJSON(&handle), EFI_SUCCESS);
  EXPECT_EQ(host().file(L"a.json"), whole);
}

}  // namespace
}  // namespace test
