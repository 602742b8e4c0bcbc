// SPDX-License-Identifier: Apache-2.0
//
// packet_files FOLDER WORKLOAD COUNT: the packet of a workload in so many files, for
// script/bench files.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "workloads.h"

int main(int argc, char** argv) {
  const unsigned long count = argc == 4 ? std::strtoul(argv[3], nullptr, 10) : 0;
  for (const Workload& workload : workloads()) {
    if (count == 0 || workload.name != argv[2]) continue;
    for (unsigned long i = 0; i < count; ++i) {
      std::ostringstream name;
      name << argv[1] << '/' << std::setw(6) << std::setfill('0') << i << ".amf";
      std::ofstream file(name.str(), std::ios::binary);
      file << workload.packet;
      if (!file.flush()) return 1;
    }
    return 0;
  }
  std::fputs("packet_files FOLDER WORKLOAD COUNT\n", stderr);
  return 2;
}
