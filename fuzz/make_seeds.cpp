// SPDX-License-Identifier: MIT
// Writes the first inputs of each target, the queue files as the library itself writes them: make_seeds DIRECTORY
#include <filesystem>
#include <fstream>

#include "support.h"

namespace {

const std::string kEntry = std::string("\1\2\3\4\5\6\7\x8\xFF\x07", 10);

std::string entryBytes(const std::string &text) {
  std::string bytes = kEntry;
  for (int field = 0; field < 11; ++field) bytes += text + std::to_string(field) + '\0';
  return bytes;
}

std::string written(const wchar_t *name, const std::string &text, std::size_t count) {
  const fuzz::Run run;
  fuzz::Jobs jobs;
  iOpenSSIB(&gSSSIB2pvt, name);
  for (; count != 0; --count) {
    const std::string source = entryBytes(text);
    fuzz::Bytes bytes(reinterpret_cast<const std::uint8_t *>(source.data()), source.size());
    SSIB_ENTRY *entry = &jobs.make(bytes);
    iAddToSSIBQueue(&gSSSIB2pvt, 1, &entry, 0x3F, SSIB_ADD_APPEND_LO);
  }
  iCloseSSIB(&gSSSIB2pvt);
  return test::platform().file(name);
}

}  // namespace

int main(int, char **arguments) {
  const std::filesystem::path root = arguments[1];
  const std::string xml = written(L"Main.ssib", "a <b> & \"c\" \xE9", 2);
  const std::string json = written(L"a.json", "UPDATE", 2);
  const std::string node = "<SSIB_INFO><x BLOCK_ID=\"7\"><more a='1'>text<b/></more></x></SSIB_INFO>";
  const std::string zero(1, '\0');
  const std::pair<const char *, std::string> seeds[] = {
      {"xml_read", xml},
      {"xml_read", node},
      {"xml_round_trip", "\x3F" + entryBytes("\"a <b>\"")},
      {"json_read", json},
      {"json_round_trip", entryBytes("UPDATE")},
      {"merge", zero + zero + node + zero + xml},
      {"merge", "\1\1" + json + zero + json},
      {"calls", zero + zero + "\x0A" + entryBytes("a") + entryBytes("b") + "\3\1\x3F\x02\x0B\x03\x01"},
      {"calls", "\x0C" + zero + xml + zero + "\x0D" + zero + zero + "\2\x40\5" + zero + "\5\1\1\1"},
      {"calls", "\x80\3\x84[{\"FQDD\":\"a\"}]" + zero + "\x8B\xFF\x81"},
  };
  int number = 0;
  for (const auto &[target, bytes] : seeds) {
    std::filesystem::create_directories(root / target);
    std::ofstream(root / target / ("seed-" + std::to_string(number++)), std::ios::binary) << bytes;
  }
  return 0;
}
