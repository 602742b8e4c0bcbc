// SPDX-License-Identifier: Apache-2.0
//
// The program with hostile packets, little memory and a small stack: it is never killed. And on
// deep packets with a limit raised: the stack grows with it.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "support/guard_packets.h"
#include "support/hex.h"
#include "support/process.h"
#include "support/program.h"

namespace {

using namespace support;

using Hostile = ProgramTest;

struct HostileCase {
  const char* name;
  std::string packet;
  int status;  // of decode
};

std::string nested(const std::string& open, std::uint32_t levels, const std::string& inner,
                   const std::string& close) {
  return repeat(hex(open), levels) + hex(inner) + repeat(hex(close), levels);
}

const HostileCase kHostileCases[] = {
    {"doubling AMF3", doubling3(40), 7},
    {"doubling AMF0", doubling0(40), 7},
    {"chain of references", referenceChain(5000), 7},
    {"string copied", stringBomb(100000, 50000), 7},
    {"names copied", traitsBomb(1000, 1000), 7},
    {"deep strict arrays", packetWith(nested("0A 00000001", 45000, "05", "")), 7},
    {"deep AMF3 arrays", packetWith(hex("11") + nested("09 03 01", 45000, "01", "")), 7},
    {"deep objects", packetWith(nested("03 0001 'a'", 45000, "05", "0000 09")), 7},
    {"as deep as allowed", packetWith(nested("03 0001 'a'", 64, "05", "0000 09")), 0},
    {"as deep as allowed, AMF3", packetWith(hex("11") + nested("0A 0B 01 03 'a'", 64, "01", "01")),
     0},
    {"lying length", packetWith(hex("0C FFFFFFFF 41")), 7},
    {"lying short length", packetWith(hex("02 FFFF 41")), 5},
    {"lying variable length", packetWith(hex("11 06 808080FF")), 7},
    {"lying count", packetWith(hex("0A FFFFFFFF 05 05")), 5},
    {"switched references",
     packetWith(hex("0A 000003E9 11 0A 03 01") + repeat(hex("11 0A 00"), 1000)), 7},
    {"a large byte array", packetWith(hex("11 0C 83FFFF01") + std::string((1 << 20) * 4, '\xFF')),
     5},
    {"not AMF at all", std::string(100000, 'x'), 6},
};

// Sanitizers reserve more address space than there is.
const std::string kLimited = kAddressSanitizer || kThreadSanitizer
                                 ? "ulimit -s 256; "
                                 : "ulimit -v 1048576; ulimit -s 256; ";

TEST_F(Hostile, PacketsNeverKillTheProgram) {
  for (const HostileCase& row : kHostileCases) {
    writeFile("hostile.amf", row.packet);
    const Outcome decoded =
        runShell(kLimited + "$amf2json decode --compact hostile.amf >/dev/null");
    EXPECT_EQ(decoded.status, row.status) << row.name << "\n" << decoded.err;
    EXPECT_EQ(decoded.err.empty(), row.status == 0) << row.name;
    for (const char* command : {"check", "roundtrip"}) {
      const int status = runShell(kLimited + "$amf2json " + command + " hostile.amf").status;
      EXPECT_LE(status, 8) << row.name << " " << command;
      EXPECT_EQ(status >= 5, row.status >= 5) << row.name << " " << command;
    }
  }
}

// ---- Depth: the work runs on a stack of the size that it needs

TEST_F(Hostile, DeepPacketsAreWorkedOnWhenTheLimitIsRaised) {
  const std::string raised = " --max-depth 5000 deep.amf";
  const std::string packets[] = {
      packetWith(nested("0A 00000001", 5000, "05", "")),
      packetWith(nested("03 0001 'a'", 5000, "05", "0000 09")),
      packetWith(hex("11") + nested("0A 0B 01 03 'a'", 5000, "01", "01")),
      packetWith(hex("11") + nested("0A 13 03 'c' 03 'a'", 5000, "01", "")),
      packetWith(hex("11") + nested("0A 07 29 'mx.utils.ObjectProxy'", 5000, "01", "")),
  };
  for (const std::string& packet : packets) {
    writeFile("deep.amf", packet);
    const Outcome equal = {0, "deep.amf: equal\n", ""};
    EXPECT_EQ(runShell("ulimit -s 256; $amf2json roundtrip" + raised), equal);
    const Outcome silent = {0, "", ""};
    EXPECT_EQ(runShell("ulimit -s 256; $amf2json decode --compact -o out" + raised), silent);
  }
}

TEST_F(Hostile, AnUnavailableStackIsReported) {
  if (kAddressSanitizer || kThreadSanitizer) GTEST_SKIP() << "needs little address space";
  writeFile("deep.amf", packetWith(nested("0A 00000001", 100000, "05", "")));
  const Outcome expected = {10, "",
                            "amf2json: deep.amf: no stack of 409862144 bytes to be had for 100000 "
                            "objects and arrays inside one another\n"};
  EXPECT_EQ(runShell("ulimit -v 400000; $amf2json decode --max-depth 100000 deep.amf"), expected);
}

TEST_F(Hostile, RunningOutOfMemoryIsReported) {
  if (kAddressSanitizer || kThreadSanitizer) GTEST_SKIP() << "needs little address space";
  writeFile("bomb.amf", doubling0(30));
  const std::string most = "18446744073709551615";
  const Outcome expected = {10, "", "amf2json: bomb.amf: out of memory\n"};
  EXPECT_EQ(runShell("ulimit -v 50000; $amf2json decode --max-nodes " + most +
                     " --max-tree-bytes " + most + " --max-copied-bytes " + most + " bomb.amf"),
            expected);
}

// As little as the loader needs, so no variables are passed on. Where a stack begins is up to
// chance.
TEST_F(Hostile, AnyStackIsEnough) {
  for (const char* line :
       {"--help", "decode --help", "decode -h", "generate man", "decode echo.amf"}) {
    const std::string command = "env -i \"$amf2json\" " + std::string(line);
    const Outcome expected = runShell(command);
    ASSERT_EQ(expected.status, 0);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(runShell("ulimit -s 16; " + command), expected) << line;
  }
  const Outcome written = {0, run({"decode", "echo.amf"}).out, ""};
  EXPECT_EQ(runShell("ulimit -s 16; env -i \"$amf2json\" decode -o out echo.amf && cat out"),
            written);
}

// ---- Long texts of short packets

// A byte array, and references to it: each makes eight bytes of text for a byte.
std::string copiedBytes(std::uint32_t bytes, std::uint32_t references) {
  return packetWith(hex("11 09") + u29((references + 1) << 1 | 1) + hex("01 0C") +
                    u29(bytes << 1 | 1) + std::string(bytes, '\xFF') +
                    repeat(hex("0C 02"), references));
}

// What each of these prints has a size; a limit of one byte less refuses it.
TEST_F(Hostile, TextsAreAsLongAsTheLimitOrRefused) {
  writeFile("hostile.amf", copiedBytes(1000, 3));
  for (const char* line :
       {"decode", "decode --to js", "decode --to js --exact", "decode --to both",
        "decode --to both --exact", "decode --to script --compact", "decode --exact --compact",
        "dump", "dump --full", "check", "roundtrip", "identify"}) {
    const std::string command = std::string("$amf2json ") + line;
    const Outcome whole = runShell(command + " hostile.amf");
    ASSERT_FALSE(whole.out.empty()) << line;
    const auto limited = [&](std::size_t limit) {
      return runShell(command + " --max-output-bytes " + std::to_string(limit) + " hostile.amf");
    };
    EXPECT_EQ(limited(whole.out.size()), whole) << line;
    for (const std::size_t limit : {whole.out.size() - 1, std::size_t{0}}) {
      const std::string number = std::to_string(limit);
      const Outcome refused = {7, "",
                               "amf2json: hostile.amf: output limit: more than "
                               "--max-output-bytes " +
                                   number + "\n"};
      EXPECT_EQ(limited(limit), refused) << line;
    }
  }
  const Outcome kept = {7, "old\n",
                        "amf2json: hostile.amf: output limit: more than --max-output-bytes 99\n"};
  EXPECT_EQ(runShell("echo old >out; $amf2json decode --max-output-bytes 99 -o out hostile.amf;"
                     " s=$?; cat out; exit $s"),
            kept);
}

struct Peak {
  int status;
  std::uint64_t bytes;
};

// A child begins with what its parent has, so nothing large is read here.
Peak peakOf(const std::vector<std::string>& arguments) {
  writeFile("stdin", "");
  const pid_t child = spawn(arguments, "stdout");
  int status = 0;
  rusage usage{};
  EXPECT_EQ(wait4(child, &status, 0, &usage), child);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
          static_cast<std::uint64_t>(usage.ru_maxrss) * 1024};
}

TEST_F(Hostile, TextsTakeThreeTimesTheirSizeAtMost) {
  if (kAddressSanitizer || kThreadSanitizer) GTEST_SKIP() << "needs little memory";
  const std::uint64_t beside = 32u << 20;  // packet, tree and program
  writeFile("hostile.amf", packetWith(hex("11 0C 83E8A401") + std::string(8000000, '\xFF')));
  const std::vector<std::vector<std::string>> rows = {
      {"--compact"},  {"--color", "always"},     {"--to", "both"},
      {"--to", "js"}, {"--to", "js", "--exact"}, {"-o", "out"}};
  for (const std::vector<std::string>& options : rows) {
    std::vector<std::string> words = {"decode", "hostile.amf"};
    words.insert(words.end(), options.begin(), options.end());
    const Peak peak = peakOf(words);
    EXPECT_LE(peak.status, 4);
    struct stat written {};
    ASSERT_EQ(stat(options.back() == "out" ? "out" : "stdout", &written), 0);
    const auto size = static_cast<std::uint64_t>(written.st_size);
    EXPECT_GT(size, 60000000u);
    EXPECT_LE(peak.bytes, 3 * size + beside) << options.back();
  }
}

// 62 KB, of which half a gigabyte would be made.
TEST_F(Hostile, TextsOverTheLimitAreNotMade) {
  if (kAddressSanitizer || kThreadSanitizer) GTEST_SKIP() << "needs little memory";
  writeFile("hostile.amf", copiedBytes(2000, 30000));
  const std::uint64_t tree = 80u << 20;
  for (const char* limit : {"1000000", "16777216", "268435456"}) {
    const Peak peak = peakOf({"decode", "--max-output-bytes", limit, "hostile.amf"});
    EXPECT_EQ(peak.status, 7);
    EXPECT_LE(peak.bytes, 3 * std::stoull(limit) + tree) << limit;
  }
  EXPECT_EQ(peakOf({"decode", "hostile.amf"}).status, 7);
  EXPECT_EQ(peakOf({"dump", "--full", "--max-output-bytes", "1000", "hostile.amf"}).status, 7);
}

// ---- Many files at once

TEST_F(Hostile, ResultsComeInTheOrderOfTheFiles) {
  std::string expected;
  std::string files;
  for (int i = 0; i < 200; ++i) {
    const std::string name = std::to_string(i) + ".amf";
    // Every seventh takes long, so that others overtake it.
    const std::string length = i % 7 == 0 ? "00020000 61*131072" : "00000001 61";
    writeFile(name, echoOf("0C " + length));
    files += " " + name;
    expected +=
        name + (i % 7 == 0 ? ": equal\n"
                           : ": differs at byte 20: 0C read, 02 written: marker0 in message 0 (a "
                             "string of up to 65535 bytes is written as a short one)\n");
  }
  for (const char* jobs : {"", " -j 1", " -j2", " --jobs=16"}) {
    const Outcome outcome = runShell("$amf2json roundtrip" + std::string(jobs) + files);
    EXPECT_EQ(outcome, (Outcome{1, expected, ""})) << jobs;
  }
}

TEST_F(Hostile, AReaderThatLeavesStopsTheWork) {
  const Outcome outcome = runShell(
      "for i in {1..5000}; do echo echo.amf; done |"
      " xargs $amf2json decode | head -n 1; echo ${PIPESTATUS[1]}");
  // The texts are several times what a pipe holds. xargs says 125 where the program was ended by a
  // signal.
  EXPECT_EQ(outcome.out, "{\n125\n") << outcome.err;
}

}  // namespace
