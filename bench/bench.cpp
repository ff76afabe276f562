// SPDX-License-Identifier: MIT
// How long a queue's operations take at 1,000, 10,000 and 100,000 jobs, each beside its bound: the same platform calls,
// the same allocations and the same bytes, with nothing between them. Fails when an operation takes more than twice its
// bound, or more than twelve times as long for ten times the jobs.
#include <malloc.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "VyxSSIBBackend.h"

namespace {

// The library ships on 32-bit words. On wider ones the bound itself moves by a quarter with the state of the heap.
constexpr double kMostOfBound = sizeof(void *) == 4 ? 2.0 : 2.5;
constexpr double kMostGrowth = 12.0;

// What is beyond these is measured again: only what is so each time is the library's own doing, not its neighbours'.
constexpr int kTries = 4;
constexpr std::size_t kSizes[] = {1000, 10000, 100000};

SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
XML_SERVICE_PROTOCOL *service() {
  return gSSSIB2pvt.XMLProto;
}

// A job of each form, with what a typical one holds.
SSIB_ENTRY sampleJob(bool isTaskList) {
  const auto text = [](const char *literal) { return const_cast<char *>(literal); };
  SSIB_ENTRY job = {};
  job.Version = 1;
  job.Block_ID = 7;
  job.Timeout = 600;
  job.Job_ID = text("JID_000123456789");
  if (!isTaskList) {
    job.Cmd_Line = text("/usr/libexec/update --quiet --image=/tmp/image.bin");
    job.Task_Name = text("Update task");
    job.LU_Category = text("FIRMWARE");
    return job;
  }
  job.Display_Name = text("System firmware, slot one");
  job.Job_Type = text("INVENTORY");
  job.FQDD = text("BIOS.Setup.1-1");
  job.Resource_URI = text("/images/firmware-000123.bin");
  job.Resource_Type = text("image");
  job.Resource_Namespace = text("namespace-main");
  job.Target_Version = text("1.2.3");
  return job;
}

constexpr std::uint32_t kFieldMask = SSIB_FIELD_JOB_ID | SSIB_FIELD_TIMEOUT;

void must(EFI_STATUS status) {
  if (status == EFI_SUCCESS) return;
  std::fprintf(stderr, "bench: an operation failed with 0x%08X\n", status);
  std::exit(1);
}

void addJobs(std::size_t count, const wchar_t *name, SSIB_ENTRY &job) {
  must(iOpenSSIB(&handle, name));
  const std::unique_ptr<SSIB_ENTRY *[]> batch(new SSIB_ENTRY *[count]);
  std::fill_n(batch.get(), count, &job);
  must(iAddToSSIBQueue(&handle, static_cast<std::uint32_t>(count), batch.get(), kFieldMask, SSIB_ADD_APPEND_LO));
}

// ---- The bounds. They keep what they allocate until its time is taken, as the library does.

using Blocks = std::vector<void *>;

char *keep(Blocks &blocks, const void *block) {
  blocks.push_back(const_cast<void *>(block));
  return static_cast<char *>(blocks.back());
}

// The texts of a job; the array's other places are null and come last.
using Texts = std::array<const char *, 11>;

Texts textsOf(const SSIB_ENTRY &job) {
  Texts texts = {job.Job_ID,        job.Cmd_Line,           job.Task_Name,     job.LU_Category,
                 job.Display_Name,  job.Job_Type,           job.FQDD,          job.Resource_URI,
                 job.Resource_Type, job.Resource_Namespace, job.Target_Version};
  std::stable_partition(texts.begin(), texts.end(), [](const char *text) { return text != nullptr; });
  return texts;
}

void allocateJobs(Blocks &blocks, std::size_t count, const Texts &texts, std::size_t recordSize) {
  for (std::size_t done = 0; done < count; ++done) {
    keep(blocks, std::calloc(1, recordSize));
    for (const char *text : texts) {
      if (text != nullptr) keep(blocks, strdup(text));
    }
  }
}

void freeBlocks(Blocks &blocks) {
  for (void *block : blocks) std::free(block);
  blocks.clear();
}

// The calls of an open up to the image, which is the caller's.
char *readImage(const wchar_t *name) {
  FILE *stream = nullptr;
  must(varsk_fopen_1(sVarskPartition, name, "r", &stream));
  const std::size_t size = getSize(stream);
  varsk_fclose_1(sVarskPartition, stream, "r");
  must(varsk_fopen_1(sVarskPartition, name, "r", &stream));
  auto *image = static_cast<char *>(std::calloc(size + 1, 1));
  if (std::fread(image, size, 1, stream) != 1) must(EFI_DEVICE_ERROR);
  varsk_fclose_1(sVarskPartition, stream, "r");
  return image;
}

void boundOpen(Blocks &blocks, std::size_t count, const wchar_t *name, const SSIB_ENTRY &job, bool isTaskList) {
  char *image = readImage(name);
  XML_NODE *root = nullptr;
  const XML_STRING string = {1, image};
  if (!isTaskList) must(service()->ParseImage(service(), &string, &root));
  allocateJobs(blocks, count, textsOf(job), sizeof(SSIB_ENTRY_LIST));
  if (root != nullptr) must(service()->DeleteTree(service(), root));
  std::free(image);
}

XML_STRING *boundString(const char *text) {
  auto *string = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  *string = {1, strdup(text)};
  return string;
}

XML_NODE *boundNode(const char *name, const char *value) {
  auto *node = static_cast<XML_NODE *>(std::calloc(1, sizeof(XML_NODE)));
  node->name = boundString(name);
  if (value != nullptr) node->value = boundString(value);
  return node;
}

XML_NODE *boundBlock(const SSIB_ENTRY &job) {
  XML_NODE *block = boundNode("SSIB_BLOCK", nullptr);
  char *command = strdup(job.Cmd_Line);
  block->firstChild = boundNode("CMD_LINE", command);
  std::free(command);
  const char *attributes[][2] = {{"JOB_ID", job.Job_ID},
                                 {"TASK_NAME", job.Task_Name},
                                 {"LU_CATEGORY", job.LU_Category},
                                 {"TIMEOUT", "600"},
                                 {"BLOCK_ID", "7"},
                                 {"Version", "1"}};
  for (const auto &[name, value] : attributes) {
    auto *attribute = static_cast<XML_ATTRIBUTE *>(std::calloc(1, sizeof(XML_ATTRIBUTE)));
    attribute->name = boundString(name);
    attribute->value = boundString(value);
    attribute->next = block->attributes;
    block->attributes = attribute;
  }
  return block;
}

void writeFile(const wchar_t *name, const char *text) {
  FILE *stream = nullptr;
  must(varsk_fopen_1(sVarskPartition, name, "w", &stream));
  std::setvbuf(stream, nullptr, _IONBF, 0);
  if (std::fwrite(text, std::strlen(text), 1, stream) != 1) must(EFI_DEVICE_ERROR);
  varsk_fclose_1(sVarskPartition, stream, "w");
}

void boundFlushXml(std::size_t count, const wchar_t *name, const SSIB_ENTRY &job) {
  const XML_STRING rootName = {1, const_cast<char *>("SSIB_INFO")};
  XML_NODE *root = nullptr;
  must(service()->CreateNode(service(), &rootName, &root));
  XML_NODE_LINK *end = &root->firstChild;
  for (std::size_t done = 0; done < count; ++done) {
    *end = boundBlock(job);
    end = &(*end)->nextSibling;
  }
  XML_STRING *image = nullptr;
  must(service()->SerializeTree(service(), root, 1, &image));
  must(service()->DeleteTree(service(), root));
  writeFile(name, image->text);
  std::free(image->text);
  std::free(image);
}

// How many bytes of an object in a task list are not its texts.
constexpr std::size_t kAroundTexts = 203;

// A task list is gathered in chunks of one buffer: the texts of the list, and as much again as stands around them.
void boundFlushTaskList(const wchar_t *name, const std::string &around) {
  FILE *stream = nullptr;
  must(varsk_fopen_1(sVarskPartition, name, "w", &stream));
  char chunk[4096];
  std::size_t filled = 0;
  const auto gather = [&](const char *text, std::size_t size) {
    if (filled + size >= sizeof(chunk)) {
      chunk[filled] = '\0';
      std::fputs(chunk, stream);
      filled = 0;
    }
    std::memcpy(chunk + filled, text, size);
    filled += size;
  };
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    gather(around.data(), around.size());
    for (const char *text : textsOf(element->entry)) {
      if (text != nullptr) gather(text, std::strlen(text));
    }
  }
  varsk_fclose_1(sVarskPartition, stream, "w");
}

void boundWalk() {
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    const SSIB_ENTRY entry = element->entry;
    char *copies[] = {strdup(entry.Job_ID), strdup(entry.Cmd_Line), strdup(entry.Task_Name), strdup(entry.LU_Category)};
    for (char *copy : copies) std::free(copy);
  }
}

// ---- Measuring

struct Timed {
  std::function<void()> prepare;
  std::function<void()> run;
  std::function<void()> cleanUp;
};

// Processor time, so that what else the machine does counts little.
double nowMilliseconds() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double medianMilliseconds(const Timed &timed, int rounds) {
  std::vector<double> times;
  for (int round = 0; round < rounds; ++round) {
    if (timed.prepare) timed.prepare();
    const double begin = nowMilliseconds();
    timed.run();
    times.push_back(nowMilliseconds() - begin);
    if (timed.cleanUp) timed.cleanUp();
  }
  std::ranges::sort(times);
  return times[times.size() / 2];
}

struct Operation {
  const char *name;
  std::function<Timed(std::size_t)> library;
  std::function<Timed(std::size_t)> bound;
};

struct Figure {
  double time, bound;  // milliseconds
};

Figure measure(const Operation &operation, std::size_t size) {
  const int rounds = size >= 100000 ? 5 : 9;
  const double time = medianMilliseconds(operation.library(size), rounds);
  return {time, medianMilliseconds(operation.bound(size), rounds)};
}

bool report(const Operation &operation) {
  bool good = true;
  double before = 0;
  for (const std::size_t size : kSizes) {
    const bool isLast = size == kSizes[2];
    Figure figure = measure(operation, size);
    const auto growth = [&] { return isLast ? figure.time / before : 0; };
    const auto fits = [&] { return figure.time <= kMostOfBound * figure.bound && growth() <= kMostGrowth; };
    for (int again = kTries - 1; !fits() && again > 0; --again) figure = measure(operation, size);
    std::printf("%-22s %8zu jobs  %9.2f ms   bound %9.2f ms   ratio %5.2f", operation.name, size, figure.time,
                figure.bound, figure.time / figure.bound);
    if (isLast) std::printf("   growth %5.1f", growth());
    std::printf("%s\n", fits() ? "" : "   TOO SLOW");
    good = good && fits();
    before = figure.time;
  }
  return good;
}

const wchar_t *nameOf(bool isTaskList) {
  return isTaskList ? L"bench.json" : L"bench.ssib";
}

void closeQueue() {
  must(iCloseSSIB(&handle));
}

void writeQueue(std::size_t count, bool isTaskList) {
  SSIB_ENTRY job = sampleJob(isTaskList);
  iDeleteSSIB(&handle, nameOf(isTaskList));
  addJobs(count, nameOf(isTaskList), job);
  closeQueue();
}

Operation openOperation(const char *name, bool isTaskList) {
  const auto prepared = [isTaskList](std::size_t count) { return [=] { writeQueue(count, isTaskList); }; };
  return {name,
          [=](std::size_t count) {
            return Timed{prepared(count), [=] { must(iOpenSSIB(&handle, nameOf(isTaskList))); }, closeQueue};
          },
          [=](std::size_t count) {
            auto blocks = std::make_shared<Blocks>();
            return Timed{[=] { blocks->reserve(count * 12); },
                         [=] { boundOpen(*blocks, count, nameOf(isTaskList), sampleJob(isTaskList), isTaskList); },
                         [=] { freeBlocks(*blocks); }};
          }};
}

Operation flushOperation(const char *name, bool isTaskList) {
  const auto prepare = [=](std::size_t count) {
    return [=] {
      writeQueue(count, isTaskList);
      must(iOpenSSIB(&handle, nameOf(isTaskList)));
    };
  };
  return {name,
          [=](std::size_t count) {
            return Timed{prepare(count), [] { must(iFlushSSIBQueue(&handle)); }, closeQueue};
          },
          [=](std::size_t count) {
            return Timed{prepare(count),
                         [=] {
                           if (isTaskList) {
                             boundFlushTaskList(nameOf(true), std::string(kAroundTexts, ' '));
                           } else {
                             boundFlushXml(count, nameOf(false), sampleJob(false));
                           }
                         },
                         closeQueue};
          }};
}

// A consumer's walk: each entry is released before the next one is asked for.
Operation walkOperation() {
  const auto prepare = [](std::size_t count) {
    return [=] {
      writeQueue(count, false);
      must(iOpenSSIB(&handle, nameOf(false)));
    };
  };
  return {"walk",
          [=](std::size_t count) {
            return Timed{prepare(count),
                         [] {
                           SSIB_ENTRY entry;
                           while (iGetSSIBNextEntry(&handle, &entry) == EFI_SUCCESS) {
                             for (char *text : {entry.Job_ID, entry.Cmd_Line, entry.Task_Name, entry.LU_Category})
                               std::free(text);
                           }
                         },
                         closeQueue};
          },
          [=](std::size_t count) {
            return Timed{prepare(count), boundWalk, closeQueue};
          }};
}

Operation addOperation() {
  return {"batch add",
          [](std::size_t count) {
            auto job = std::make_shared<SSIB_ENTRY>(sampleJob(false));
            auto batch = std::make_shared<std::vector<SSIB_ENTRY *>>(count, job.get());
            return Timed{[] {
                           iDeleteSSIB(&handle, L"other.ssib");
                           must(iOpenSSIB(&handle, L"other.ssib"));
                         },
                         [=] {
                           must(iAddToSSIBQueue(&handle, static_cast<std::uint32_t>(count), batch->data(), kFieldMask,
                                                SSIB_ADD_APPEND_HI));
                           static_cast<void>(job);
                         },
                         closeQueue};
          },
          [](std::size_t count) {
            auto blocks = std::make_shared<Blocks>();
            return Timed{[=] { blocks->reserve(count * 12); },
                         [=] { allocateJobs(*blocks, count, textsOf(sampleJob(false)), sizeof(SSIB_ENTRY_LIST)); },
                         [=] { freeBlocks(*blocks); }};
          }};
}

// Reading the same list in place with a general parser, its strings left in the image.
void compareWithRapidjson() {
  for (const std::size_t size : kSizes) {
    writeQueue(size, true);
    const double ours = medianMilliseconds(openOperation("", true).library(size), 5);
    char *image = nullptr;
    const auto parse = [&] {
      image = readImage(nameOf(true));
      rapidjson::Document document;
      document.ParseInsitu(image);
      if (document.HasParseError()) must(EFI_DEVICE_ERROR);
    };
    const double theirs = medianMilliseconds({{}, parse, [&] { std::free(image); }}, 5);
    std::printf("%-22s %8zu jobs  %9.2f ms   RapidJSON in place %9.2f ms   ratio %5.2f\n", "task list open", size, ours,
                theirs, ours / theirs);
  }
}

}  // namespace

int main() {
  // The kernel's share, fresh pages for a heap that has shrunk, is kept out of the figures.
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  mallopt(M_MMAP_THRESHOLD, INT_MAX);
  must(vyxSSIB2LinuxInitBackend());
  writeQueue(kSizes[2], false);
  bool good = true;
  for (const Operation &operation :
       {openOperation("XML open", false), flushOperation("XML flush", false), walkOperation(), addOperation(),
        openOperation("task list open", true), flushOperation("task list flush", true)}) {
    good = report(operation) && good;
  }
  compareWithRapidjson();
  must(vyxSSIB2LinuxUnloadBackend());
  return good ? 0 : 1;
}
