// SPDX-License-Identifier: MIT
// What a bound allocates it keeps until its time is taken, as the library does.
#include "bounds.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tree.h"

namespace bench {
namespace {

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

void allocateJobs(Blocks &blocks, std::size_t count, const Texts &texts) {
  for (std::size_t done = 0; done < count; ++done) {
    keep(blocks, le_new());
    for (const char *text : texts) {
      if (text != nullptr) keep(blocks, strdup(text));
    }
  }
}

void freeBlocks(Blocks &blocks) {
  for (void *block : blocks) std::free(block);
  blocks.clear();
}

// A work whose blocks are released after its time was taken.
Timed keepingBlocks(std::size_t count, const std::function<void()> &prepare,
                    const std::function<void(Blocks &)> &work) {
  auto blocks = std::make_shared<Blocks>();
  const auto prepareAll = [=] {
    prepare();
    blocks->reserve(count * 12);
  };
  return {prepareAll, [=] { work(*blocks); }, [=] { freeBlocks(*blocks); }};
}

void open(Blocks &blocks, std::size_t count, Form form) {
  Image image = readImage(form);
  if (form == kTaskList) return allocateJobs(blocks, count, textsOf(sampleJob(form)));
  XML_NODE *root = parse(image);
  image = {};
  allocateJobs(blocks, count, textsOf(sampleJob(form)));
  release(root);
}

void flushXml(std::size_t count) {
  const XML_STRING rootName = {1, const_cast<char *>("SSIB_INFO")};
  XML_NODE *root = nullptr;
  must(service()->CreateNode(service(), &rootName, &root));
  XML_NODE *last = nullptr;
  for (std::size_t done = 0; done < count; ++done) last = appendBlock(root, last);
  XML_STRING *image = nullptr;
  must(service()->SerializeTree(service(), root, 1, &image));
  release(root);
  writeFile(kXml, [&](std::FILE *stream) {
    std::setvbuf(stream, nullptr, _IONBF, 0);
    must(std::fwrite(image->text, std::strlen(image->text), 1, stream) == 1);
  });
  std::free(image->text);
  std::free(image);
}

// How many bytes of an object in a task list are not its texts.
constexpr std::size_t kAroundTexts = 203;

// Gathers texts in chunks of one buffer.
class Chunks {
 public:
  explicit Chunks(std::FILE *stream) : stream_(stream) {}
  void add(const char *text, std::size_t size) {
    if (filled_ + size >= sizeof(chunk_)) {
      chunk_[filled_] = '\0';
      std::fputs(chunk_, stream_);
      filled_ = 0;
    }
    std::memcpy(chunk_ + filled_, text, size);
    filled_ += size;
  }

 private:
  std::FILE *stream_;
  char chunk_[4096];
  std::size_t filled_ = 0;
};

// The texts of the list, and as much again as stands around them.
void flushTaskList() {
  const std::string around(kAroundTexts, ' ');
  writeFile(kTaskList, [&](std::FILE *stream) {
    Chunks chunks(stream);
    for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
      chunks.add(around.data(), around.size());
      for (const char *text : textsOf(element->entry)) {
        if (text != nullptr) chunks.add(text, std::strlen(text));
      }
    }
  });
}

void walk() {
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    const SSIB_ENTRY entry = element->entry;
    char *copies[] = {strdup(entry.Job_ID), strdup(entry.Cmd_Line), strdup(entry.Task_Name), strdup(entry.LU_Category)};
    for (char *copy : copies) std::free(copy);
  }
}

}  // namespace

Way boundOpen(Form form) {
  return [=](std::size_t count) {
    return keepingBlocks(
        count, [=] { writeQueue(count, form); }, [=](Blocks &blocks) { open(blocks, count, form); });
  };
}

Way boundFlush(Form form) {
  return [=](std::size_t count) {
    return Timed{[=] { openNewQueue(count, form); }, [=] { form == kXml ? flushXml(count) : flushTaskList(); },
                 closeQueue};
  };
}

Way boundWalk() {
  return [](std::size_t count) { return Timed{[=] { openNewQueue(count, kXml); }, walk, closeQueue}; };
}

Way boundAdd() {
  return [](std::size_t count) {
    return keepingBlocks(
        count, [] { writeQueue(0, kXml); },
        [=](Blocks &blocks) { allocateJobs(blocks, count, textsOf(sampleJob(kXml))); });
  };
}

}  // namespace bench
