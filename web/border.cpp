// SPDX-License-Identifier: Apache-2.0
//
// The functions that core.js calls. core.js seeds each instance once (web_seed). For each call it allocates the input
// (web_input), copies the bytes there, sets the options, makes the call, copies result and facts, and frees everything
// (web_release). No exception leaves these functions, and no data is kept between calls. Tested by web/tests/.
#include <AMF2JSON.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <stdexcept>

#include "web/calls.h"
#include "wire/hash.h"

using namespace web;

namespace {

// One call runs at a time: a WebAssembly instance belongs to one thread.
char* input = nullptr;
std::size_t inputSize = 0;
web::Options options;
std::vector<AMFWireExternalClass> external;
Reply reply;
const char* memoryFailure = nullptr;

constexpr char kMemory[] = R"({"code":"memory","message":"out of memory"})";

template <class Call>
int run(Call call) {
  try {
    call(Request{{input, inputSize}, options, external}, reply);
    return reply.isDone ? 1 : 0;
  } catch (const std::bad_alloc&) {
    memoryFailure = kMemory;
  } catch (const std::length_error&) {  // a string longer than 32 bits can count
    memoryFailure = kMemory;
  } catch (const AMFException& e) {
    reply.facts = failure("bug", e.message);
  } catch (const std::exception& e) {
    reply.facts = failure("bug", e.what());
  } catch (...) {
    reply.facts = failure("bug", "unknown exception");
  }
  return 0;
}

}  // namespace

extern "C" {

// Allocates `size` bytes for the input. Returns null if out of memory.
char* web_input(std::size_t size) {
  input = static_cast<char*>(std::malloc(size == 0 ? 1 : size));
  inputSize = size;
  return input;
}

// Seeds the hash tables of names with two random words, before the first call: nobody can choose names that collide.
void web_seed(std::uint32_t high, std::uint32_t low) {
  amf2json::wire::hostSeed = std::uint64_t{high} << 32 | low;
}

// Resets all options to "not set" and returns their address.
web::Options* web_options() {
  double* const values = &options.as;
  for (std::size_t i = 0; i < sizeof options / sizeof(double); ++i) {
    values[i] = std::numeric_limits<double>::quiet_NaN();
  }
  return &options;
}

// Adds an externalizable class; its name is the input, which is freed. Returns 0 if out of memory.
int web_external(double values) {
  return run([values](const Request& request, Reply& result) {
    external.push_back({std::string(request.bytes), static_cast<std::uint32_t>(values)});
    std::free(input);
    input = nullptr;
    result.isDone = true;
  });
}

// The calls. They return 1 for success, 0 for a failure.
int web_export() {
  return run(exportJson);
}
int web_import() {
  return run(importJson);
}
int web_identify() {
  return run(identify);
}
int web_check() {
  return run(check);
}
int web_decode() {
  return run(decode);
}
int web_fields() {
  return run(fields);
}

const char* web_result() {
  return reply.result.data();
}
std::size_t web_result_size() {
  return reply.result.size();
}
const char* web_facts() {
  return memoryFailure != nullptr ? memoryFailure : reply.facts.data();
}
std::size_t web_facts_size() {
  return memoryFailure != nullptr ? std::strlen(memoryFailure) : reply.facts.size();
}
const char* web_version() {
  return AMF2JSON_VERSION;
}

void web_release() {
  std::free(input);
  input = nullptr;
  inputSize = 0;
  std::vector<AMFWireExternalClass>().swap(external);
  reply = Reply();
  memoryFailure = nullptr;
}

}  // extern "C"
