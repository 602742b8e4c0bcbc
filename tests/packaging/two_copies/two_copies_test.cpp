// SPDX-License-Identifier: Apache-2.0
//
// Two copies of the library in one process: the program has the shared one, a plugin the static
// one. Trees go from one to the other and end there, on the same thread and on others.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "plugin.h"

namespace {

// A message with an array of so many strings.
std::string packetWith(unsigned count) {
  std::string packet("\0\3\0\0\0\1\0\1t\0\1r\xFF\xFF\xFF\xFF", 16);
  packet += std::string("\x0A\0\0", 3);
  packet += static_cast<char>(count >> 8);
  packet += static_cast<char>(count & 0xFF);
  for (unsigned i = 0; i < count; ++i) packet += std::string("\2\0\4text", 7);
  return packet;
}

class TwoCopies : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    plugin = dlopen(AMF2JSON_PLUGIN, GetParam());
    ASSERT_NE(plugin, nullptr) << dlerror();
    calls = static_cast<const PluginCalls*>(dlsym(plugin, "pluginCalls"));
    ASSERT_NE(calls, nullptr);
  }

  // Never unloaded: threads still hold its thread-local data.
  void* plugin = nullptr;
  const PluginCalls* calls = nullptr;
};

TEST_P(TwoCopies, TreesEndInTheOtherCopy) {
  const std::string packet = packetWith(3000);
  for (unsigned round = 0; round < 20; ++round) {
    AMFProtocol protocol;
    const AMFPackage* const ours = protocol.parse(packet.data());
    AMFPackage* const theirs = calls->parse(packet.data());
    EXPECT_EQ(calls->compile(ours), packet.size());
    protocol.compile(theirs);
    EXPECT_EQ(protocol.getResultLength(), packet.size());
    protocol.clean();
    calls->destroy(ours->clone());
    std::unique_ptr<AMFNode> copied(calls->clone(theirs));
    delete theirs;
    EXPECT_EQ(static_cast<AMFPackage&>(*copied).children.size(), 1u);
  }
}

TEST_P(TwoCopies, OnManyThreads) {
  const std::string packet = packetWith(2000);
  std::vector<std::unique_ptr<AMFNode>> handed(4);
  std::vector<std::thread> threads;
  for (std::unique_ptr<AMFNode>& place : handed) {
    threads.emplace_back([&] {
      AMFProtocol protocol;
      for (unsigned i = 0; i < 10; ++i) {
        calls->destroy(protocol.parse(packet.data())->clone());
        delete calls->parse(packet.data());
      }
      place.reset(calls->parse(packet.data()));
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::unique_ptr<AMFNode>& place : handed) {
    AMFProtocol protocol;
    protocol.compile(static_cast<AMFPackage*>(place.get()));
    EXPECT_EQ(protocol.getResultLength(), packet.size());
    calls->destroy(place.release());
  }
}

INSTANTIATE_TEST_SUITE_P(Binding, TwoCopies, testing::Values(RTLD_NOW | RTLD_LOCAL),
                         [](const auto&) { return "local"; });

}  // namespace
