// SPDX-License-Identifier: Apache-2.0
//
// The packets that the benches work on, made here so that every run has the same.
#ifndef BENCH_WORKLOADS_H
#define BENCH_WORKLOADS_H

#include <string>
#include <vector>

struct Workload {
  std::string name;
  std::string packet;
};

/// rows3   typed AMF3 objects with traits and string references
/// rows0   typed AMF0 objects
/// inline  the objects of rows3 with nothing by reference
/// small   one call
/// text    many strings, a third of them with characters to escape
/// blob    one byte array of 4 MiB
/// deep    200 levels of AMF0 objects
std::vector<Workload> workloads();

/// The packet of rows3 with so many of its objects.
std::string packetOfRows(unsigned rows);

#endif  // BENCH_WORKLOADS_H
