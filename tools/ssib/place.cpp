// SPDX-License-Identifier: MIT
#include "place.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "files.h"
#include "host.h"
#include "queue.h"
#include "stop.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char *kRoot = "VARSK_ROOT";

std::optional<std::string> rootNow() {
  const char *root = std::getenv(kRoot);
  return root != nullptr ? std::optional<std::string>(root) : std::nullopt;
}

void setRoot(const std::string &root) {
  if (setenv(kRoot, root.c_str(), 1) != 0) throw std::bad_alloc();
}

std::string resolved(const fs::path &directory) {
  std::error_code error;
  const fs::path path = fs::canonical(directory.empty() ? "." : directory, error);
  if (error) throw Stop(Exit::Refused, "cannot open " + escaped(directory) + ": " + error.message());
  return path;
}

// The partition need not be there, nor need the environment say where it would be.
bool isThePartition(const std::string &directory) {
  std::error_code error;
  try {
    return fs::equivalent(hostPartition(), directory, error);
  } catch (const Stop &stop) {
    if (stop.status() == EFI_DEVICE_ERROR) return false;
    throw;
  }
}

// Where the copy lies that the library works on; gone with the place.
std::string makePrivateRoot() {
  std::string path = fs::temp_directory_path() / "ssib-XXXXXX";
  if (mkdtemp(path.data()) == nullptr) throw Stop(Exit::Refused, "cannot make a directory like " + escaped(path));
  return path;
}

// A file has its form by its name, standard input by how it begins.
std::string nameOfInput(const std::string &bytes) {
  const std::size_t begin = bytes.find_first_not_of(" \t\r\n");
  return begin != std::string::npos && bytes[begin] == '<' ? "input.ssib" : "input.json";
}

void write(const fs::path &path, const std::string &bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  file.close();
  if (!file) throw Stop(Exit::Refused, "cannot write " + escaped(path) + ", a copy to work on");
}

}  // namespace

Place::Place(std::string directory) : directory_(std::move(directory)) {
  const fs::path path = directory_;
  const std::string partition = plainName(sVarskPartition);
  if (path.filename() == partition) {
    root_ = path.parent_path();
    return;
  }
  root_ = makePrivateRoot();
  private_ = root_ + "/" + partition;
  fs::create_directory(private_);
}

Place::~Place() {
  if (isPartition()) return;
  std::error_code error;
  fs::remove_all(root_, error);
  if (error) fs::remove_all(root_, error);  // a lack of descriptors, for example, may be over
}

std::shared_ptr<const Place> Place::of(const std::string &path, std::string &name) {
  if (path == "-") {
    const std::string bytes = readAll(path);
    name = nameOfInput(bytes);
    std::shared_ptr<const Place> place(new Place(""));
    write(fs::path(place->private_) / name, bytes);
    return place;
  }
  isFile(path);
  name = fs::path(path).filename();
  std::string directory = resolved(fs::path(path).parent_path());
  return isThePartition(directory) ? nullptr : std::shared_ptr<const Place>(new Place(std::move(directory)));
}

void Place::fetch(const std::string &name) const {
  if (isPartition() || isInput()) return;
  const std::string file = directory_ + "/" + name;
  const fs::path copy = fs::path(private_) / name;
  if (isFile(file)) {
    write(copy, readAll(file));
  } else {
    fs::remove(copy);
  }
}

void Place::putBack(const std::string &name) const {
  if (isPartition()) return;
  const std::string file = directory_ + "/" + name, copy = private_ + "/" + name;
  isFile(copy) ? replaceFile(file, readAll(copy)) : removeFile(file);
}

AtPlace::AtPlace(const QueueName &name) : name_(name) {
  if (name.place() == nullptr) return;
  name.place()->fetch(name.plain());
  rootBefore_ = rootNow();
  setRoot(name.place()->root());
}

AtPlace::~AtPlace() {
  if (name_.place() == nullptr) return;
  if (rootBefore_) {
    setRoot(*rootBefore_);
  } else {
    unsetenv(kRoot);
  }
}

void AtPlace::putBack() const {
  if (name_.place() != nullptr) name_.place()->putBack(name_.plain());
}

std::string directoryOf(const QueueName &name) {
  return name.place() != nullptr ? name.place()->directory() : hostPartition();
}

}  // namespace tool
