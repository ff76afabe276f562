// SPDX-License-Identifier: MIT
// Writes the first inputs of each target: make_seeds DIRECTORY
#include <filesystem>
#include <fstream>

#include "support/literal_task_list.h"

int main(int, char **arguments) {
  const std::filesystem::path root = arguments[1];
  const std::pair<const char *, std::string> seeds[] = {
      {"xml_read",
       "<SSIB_INFO><SSIB_BLOCK Version='1' BLOCK_ID='2' RB_REQ='3' RB_TYPE='4' TIMEOUT='5' RTN_CODE='6' RT_COUNT='7' "
       "JOB_ID='j' TASK_NAME='t' LU_CATEGORY='c'><CMD_LINE>a &lt;b> &#9;</CMD_LINE></SSIB_BLOCK></SSIB_INFO>"},
      {"xml_read", "<SSIB_INFO><x BLOCK_ID=\"7\"><more a='1'>text<b/></more></x></SSIB_INFO>"},
      {"json_read", test::literallyWrite({{"UPDATE", "d", "f", "j", "u", "r", "n", "v"}, {"OTHER"}})},
  };
  int number = 0;
  for (const auto &[target, bytes] : seeds) {
    std::filesystem::create_directories(root / target);
    std::ofstream(root / target / ("seed-" + std::to_string(number++)), std::ios::binary) << bytes;
  }
  return 0;
}
