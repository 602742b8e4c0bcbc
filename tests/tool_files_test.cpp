// SPDX-License-Identifier: Apache-2.0
//
// Files of the program: what cannot be read or written, what is left behind, what is written where.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

using Files = ProgramTest;

struct FileCase {
  const char* name;
  std::string line;  // of a shell
  Outcome expected;
};

const FileCase kFileCases[] = {
    {"no such file",
     "$amf2json decode missing.amf",
     {9, "", "amf2json: missing.amf: cannot read: No such file or directory\n"}},
    {"a directory", "$amf2json decode .", {9, "", "amf2json: .: cannot read: Is a directory\n"}},
    {"not a directory",
     "$amf2json decode echo.amf/x",
     {9, "", "amf2json: echo.amf/x: cannot read: Not a directory\n"}},
    {"an empty file",
     ": >none.amf; $amf2json decode none.amf",
     {5, "", "none.amf:0: truncated: at least 2 bytes are missing (envelope)\n"}},
    {"a large file is not read",
     "truncate -s 1G sparse.amf; $amf2json decode sparse.amf",
     {7, "",
      "amf2json: sparse.amf: packet too large: more than --max-packet-bytes 67108864 "
      "(1073741824 bytes)\n"}},
    {"a pipe is read up to the limit",
     "{ cat echo.amf; sleep 0.2; cat /dev/zero; } 2>/dev/null |"
     " $amf2json decode --max-packet-bytes 100",
     {7, "", "amf2json: -: packet too large: more than --max-packet-bytes 100\n"}},
    {"as large as the limit",
     "$amf2json decode --to script --max-packet-bytes 25 <echo.amf",
     {0, kEchoStatements, ""}},
    {"texts and problems in the order of the files",
     "$amf2json decode --to script echo.amf more.amf empty.amf cut.amf echo.amf 2>&1 |"
     " grep -v '^    at'",
     {0,
      std::string(kEchoStatements) + kEchoStatements +
          "more.amf:25: warning: 2 bytes left over behind the last message\n\n" +
          "cut.amf:23: truncated: at least 1 byte is missing (message 0)\n" + kEchoStatements,
      ""}},
    {"long texts among short ones",
     "yes echo.amf long.amf | head -50 | xargs $amf2json decode >joined;"
     " for f in $(yes echo.amf long.amf | head -50); do $amf2json decode $f; done | cmp - joined",
     {0, "", ""}},
    {"a named pipe in the output folder, of which nobody reads more",
     "mkdir out; mkfifo out/long.amf.json; head -c 1 out/long.amf.json >first &"
     " $amf2json decode -o out echo.amf long.amf; s=$?; wait; cat first; ls out; rm -r out; exit "
     "$s",
     {9, "{echo.amf.json\nlong.amf.json\n",
      "amf2json: out/long.amf.json: cannot write: Broken pipe\n"}},
    {"a link in the output folder stays, and leads to the text",
     "mkdir out; echo old >kept; ln -s ../kept out/echo.amf.js;"
     " $amf2json decode --to script -o out echo.amf && stat -c %N out/echo.amf.js && cat kept; rm "
     "-r out",
     {0, "'out/echo.amf.js' -> '../kept'\n" + std::string(kEchoStatements), ""}},
    {"output folder missing",
     "$amf2json decode -o no/out echo.amf",
     {9, "", "amf2json: no/out: cannot write: No such file or directory\n"}},
    {"output device full",
     "$amf2json decode -o /dev/full echo.amf",
     {9, "", "amf2json: /dev/full: cannot write: No space left on device\n"}},
    {"standard output full",
     "$amf2json decode echo.amf >/dev/full",
     {9, "", "amf2json: standard output: cannot write: No space left on device\n"}},
    {"standard output closed",
     "$amf2json decode echo.amf >&-",
     {9, "", "amf2json: standard output: cannot write: Bad file descriptor\n"}},
    {"standard input closed",
     "$amf2json decode <&-",
     {9, "", "amf2json: -: cannot read: Bad file descriptor\n"}},
    {"standard error closed",
     "$amf2json decode -o out refused.amf 2>&-; echo $?; ls out",
     {2, "6\n", "ls: cannot access 'out': No such file or directory\n"}},
    {"output file may not grow",
     "echo old >kept; ulimit -f 1; $amf2json decode -o kept long.amf; echo $?; ls; cat kept",
     {0,
      "9\ncut.amf\necho.amf\nempty.amf\nkept\nlong.amf\nmore.amf\nrefused.amf\nstderr\nstdin\n"
      "stdout\nold\n",
      "amf2json: kept: cannot write: File too large\n"}},
    {"output into a named pipe, which stays one",
     "mkfifo pipe; cat pipe >got & $amf2json decode -o pipe echo.amf; wait; test -p pipe && "
     "$amf2json decode echo.amf | cmp - got",
     {0, "", ""}},
    {"output to standard output",
     "$amf2json decode --to script -o - echo.amf",
     {0, kEchoStatements, ""}},
    {"output to a file",
     "$amf2json decode --to script -o new echo.amf && cat new",
     {0, kEchoStatements, ""}},
    {"output file replaced",
     "echo old >new; $amf2json decode --to script --output new empty.amf && cat new",
     {0, "\n", ""}},
    {"a refused packet leaves the output file alone",
     "echo old >kept; $amf2json decode -o kept refused.amf 2>/dev/null; echo $?; cat kept",
     {0, "6\nold\n", ""}},
    {"mode and link of an output file stay",
     "echo old >kept; chmod 640 kept; ln -s kept link; $amf2json decode --to script -o link "
     "echo.amf;"
     " stat -c '%N %a' link kept; cat kept",
     {0, "'link' -> 'kept' 777\n'kept' 640\n" + std::string(kEchoStatements), ""}},
    {"mode of a new output file follows the mask",
     "umask 027; $amf2json decode -o new echo.amf; stat -c %a new",
     {0, "640\n", ""}},
};

TEST_F(Files, AreReadAndWrittenOrTold) {
  writeFile("long.amf", echoOf("0C 00010000 61*65536"));
  for (const FileCase& row : kFileCases) {
    EXPECT_EQ(runShell("LC_ALL=C; " + row.line), row.expected) << row.name;
    EXPECT_EQ(runShell("rm -f new kept link first joined none.amf sparse.amf").status, 0);
  }
}

TEST_F(Files, ThatMayNotBeReadAreTold) {
  // Root may read everything. The run gives up that capability and stays root: another user might
  // not reach the program below a directory such as /root.
  const std::string as =
      geteuid() == 0 ? "setpriv --bounding-set -dac_override,-dac_read_search " : "";
  if (runShell(as + "true").status != 0) GTEST_SKIP() << "setpriv cannot drop capabilities here";
  writeFile("secret.amf", "x");
  const Outcome expected = {9, "", "amf2json: secret.amf: cannot read: Permission denied\n"};
  EXPECT_EQ(runShell("chmod 000 secret.amf; " + as + "$amf2json decode secret.amf"), expected);
}

TEST_F(Files, OnAFullDiskAreLeftAsTheyWere) {
  writeFile("long.amf", echoOf("0C 00020000 61*131072"));
  const std::string mounted = "mkdir -p disk && mount -t tmpfs -o size=64k tmpfs disk";
  if (runShell("unshare -m bash -c '" + mounted + "' 2>/dev/null").status != 0) {
    GTEST_SKIP() << "may not mount a file system in a namespace of its own";
  }
  const Outcome expected = {0, "9\nkept\nold\n",
                            "amf2json: disk/kept: cannot write: No space left on device\n"};
  EXPECT_EQ(runShell("unshare -m bash -c '" + mounted +
                     " && echo old >disk/kept; $amf2json decode -o disk/kept long.amf; echo $?;"
                     " ls disk; cat disk/kept'"),
            expected);
}

TEST_F(Files, AreNotLeftHalfWrittenByASignal) {
  writeFile("long.amf", echoOf("0C 00400000 61*4194304"));
  for (int i = 0; i < 20; ++i) {
    const std::string wait = "0.0" + std::to_string(10 + i * 4);
    runShell("$amf2json decode -o out long.amf & sleep " + wait + "; kill -TERM $!; wait");
  }
  const Outcome none = {0, "", ""};
  EXPECT_EQ(runShell("ls | grep '^out\\.' || true"), none);
}

// Other threads are at work all the time.
TEST_F(Files, OfManyAreNotLeftHalfWrittenByASignal) {
  writeFile("long.amf", echoOf("0C 00040000 61*262144"));
  runShell("mkdir in out; for i in {1..200}; do ln long.amf in/$i.amf; done");
  for (int i = 0; i < 20; ++i) {
    const std::string wait = "0.0" + std::to_string(10 + i * 4);
    runShell("$amf2json decode -j 2 -o out in/*.amf & sleep " + wait + "; kill -TERM $!; wait");
  }
  const Outcome none = {0, "", ""};
  EXPECT_FALSE(runShell("ls out | grep '\\.json$' || true").out.empty());
  EXPECT_EQ(runShell("ls out | grep -v '\\.json$' || true"), none);
}

// However long it takes until the output can be written, or a problem told.
TEST_F(Files, SignalsEndTheProgramWhereverItWaits) {
  runShell(
      "mkdir in out; mkfifo out/echo.amf.json told; for i in {1..2000}; do ln refused.amf "
      "in/$i.amf; done");
  const std::string ended = "timeout --preserve-status -k 10 0.5 ";
  const Outcome byTerm = {128 + SIGTERM, "", ""};
  EXPECT_EQ(runShell(ended + "$amf2json decode -o out echo.amf empty.amf"), byTerm) << "folder";
  EXPECT_EQ(runShell(ended + "$amf2json decode -o told echo.amf"), byTerm) << "named pipe";
  EXPECT_EQ(runShell(ended + "$amf2json decode -o out empty.amf - <>told"), byTerm) << "input";
  EXPECT_EQ(runShell("exec 3<>told; " + ended + "$amf2json decode -o out in/*.amf 2>told"), byTerm)
      << "problems";
}

TEST_F(Files, SignalsThatAreIgnoredStayIgnored) {
  runShell("mkdir in; for i in {1..500}; do ln echo.amf in/$i.amf; done");
  const Outcome all = {0, "500\n", ""};
  EXPECT_EQ(runShell("trap '' HUP; $amf2json decode -o out in/*.amf &"
                     " for i in {1..20}; do kill -HUP $! 2>/dev/null; sleep 0.001; done;"
                     " wait $! && ls out | wc -l"),
            all);
}

// A closed pipe ends the program as it ends others: by SIGPIPE, in silence.
TEST_F(Files, AClosedPipeIsNoError) {
  writeFile("stdin", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const int reader = open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  // More than a pipe holds, so that the program is still writing when the reader leaves.
  writeFile("long.amf", echoOf("0C 00100000 61*1048576"));
  const pid_t child = spawn({"decode", "long.amf"}, "pipe");
  close(reader);
  EXPECT_EQ(statusOf(child), 128 + SIGPIPE);
  EXPECT_EQ(readFile("stderr"), "");
}

// ---- Folders

TEST_F(Files, OfSeveralInputsGoToAFolder) {
  const Outcome silent = {0, "", ""};
  EXPECT_EQ(run({"decode", "-o", "out", "echo.amf", "empty.amf"}), silent);
  EXPECT_EQ(readFile("out/echo.amf.json"), std::string(kEchoLiteral) + "\n");
  EXPECT_EQ(
      run({"decode", "--to", "script", "-o", "out", "./echo.amf", "-"}, hex("0003 0000 0000")),
      silent);
  EXPECT_EQ(readFile("out/echo.amf.js"), kEchoStatements);
  EXPECT_EQ(readFile("out/stdin.js"), "\n");
  // One input goes there too if the folder is there already.
  EXPECT_EQ(run({"decode", "--to", "both", "--compact", "-o", "out/", "empty.amf"}), silent);
  const Outcome names = {0, "echo.amf.js\necho.amf.json\nempty.amf.json\nempty.amf.txt\nstdin.js\n",
                         ""};
  EXPECT_EQ(runShell("LC_ALL=C ls out"), names);
}

TEST_F(Files, ThatWouldGetTheSameNameAreRefusedBeforeAnythingIsWritten) {
  const Outcome refused = {
      2, "", "amf2json: -o: echo.amf and other/echo.amf would be written to the same file\n"};
  EXPECT_EQ(runShell("mkdir other; cp echo.amf other;"
                     " $amf2json decode -o out empty.amf echo.amf other/echo.amf"),
            refused);
  EXPECT_NE(access("out", F_OK), 0);
}

TEST_F(Files, GoOnWhereOneCannotBeWritten) {
  const Outcome outcome = {9, "echo.amf.json\n",
                           "amf2json: out/empty.amf.json: cannot write: Is a directory\n"};
  EXPECT_EQ(
      runShell(
          "mkdir -p out/empty.amf.json;"
          " $amf2json decode -o out empty.amf echo.amf; s=$?; rmdir out/empty.amf.json; ls out;"
          " exit $s"),
      outcome);
  const Outcome noFolder = {9, "", "amf2json: echo.amf: cannot write: Not a directory\n"};
  EXPECT_EQ(run({"decode", "-o", "echo.amf", "empty.amf", "more.amf"}), noFolder);
}

}  // namespace
