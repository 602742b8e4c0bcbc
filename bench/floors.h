// SPDX-License-Identifier: Apache-2.0
//
// The floors: simple operations that the work cannot be faster than, measured in the same run.
#ifndef BENCH_FLOORS_H
#define BENCH_FLOORS_H

#include <AMF2JSON.h>

#include <cstddef>
#include <string>
#include <vector>

/// The heap blocks of a tree, in the order of a walk: each node, its bytes, its list of children.
std::vector<std::size_t> blockSizes(const AMFNode* root);

/// Allocates blocks of these sizes with malloc, then frees them, last first.
void allocateAndFree(const std::vector<std::size_t>& sizes, std::vector<void*>& blocks);

/// Appends `length` bytes to the emptied `text`, 20 at a time.
void appendInPieces(std::string& text, std::size_t length);

#endif  // BENCH_FLOORS_H
