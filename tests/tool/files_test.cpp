// SPDX-License-Identifier: Apache-2.0
//
// Files of the program: what cannot be read or written, what remains, what is written where.
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

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

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
          "more.amf:25: warning: 2 bytes left over after the last message\n\n" +
          "cut.amf:23: truncated: at least 1 byte is missing (message 0)\n" + kEchoStatements,
      ""}},
    {"long texts among short ones",
     "yes echo.amf long.amf | head -50 | xargs $amf2json decode >joined;"
     " for f in $(yes echo.amf long.amf | head -50); do $amf2json decode $f; done | cmp - joined",
     {0, "", ""}},
    {"a result in the output folder is not replaced",
     "mkdir out; echo old >out/echo.amf.json; $amf2json decode -o out empty.amf echo.amf; s=$?;"
     " cat out/*; exit $s",
     {9, "old\n",
      "amf2json: out/echo.amf.json: cannot write: the file exists; --force replaces it\n"}},
    {"... but with --force",
     "mkdir out; echo old >out/echo.amf.js; $amf2json decode --force --to script -o out empty.amf "
     "echo.amf; cat out/*",
     {0, std::string(kEchoStatements) + "\n", ""}},
    {"a link in the output folder is not followed",
     "mkdir out; echo old >kept; ln -s ../kept out/echo.amf.json; $amf2json decode -o out echo.amf;"
     " $amf2json decode --force -o out echo.amf; cat kept; ls out",
     {0, "old\necho.amf.json\n",
      "amf2json: out/echo.amf.json: cannot write: the file exists; --force replaces it\n"
      "amf2json: out/echo.amf.json: cannot write: not a regular file\n"}},
    {"nor one that leads nowhere",
     "mkdir out; ln -s ../kept out/echo.amf.json; $amf2json decode --force -o out echo.amf;"
     " test -e kept || echo none",
     {0, "none\n", "amf2json: out/echo.amf.json: cannot write: not a regular file\n"}},
    {"a named pipe in the output folder is not waited for",
     "mkdir out; mkfifo out/echo.amf.json; timeout 10 $amf2json decode --force -o out echo.amf",
     {9, "", "amf2json: out/echo.amf.json: cannot write: not a regular file\n"}},
    {"an input in the output folder is not overwritten",
     "mkdir w; cp echo.amf w/x; cp empty.amf w/x.json; $amf2json decode --force -o w w/x w/x.json;"
     " s=$?; cmp w/x.json empty.amf; ls w; exit $s",
     {2, "x\nx.json\n", "amf2json: -o: w/x.json would overwrite the input w/x.json\n"}},
    {"nor one by another name",
     "mkdir w; cp echo.amf w/x.json; ln w/x.json x; $amf2json decode --force -o w x;"
     " cmp w/x.json echo.amf",
     {0, "", "amf2json: -o: w/x.json would overwrite the input x\n"}},
    {"an input is not overwritten",
     "cp echo.amf kept; ln -s kept link; $amf2json decode -o link kept; $amf2json decode -o kept "
     "<link; cmp kept echo.amf",
     {0, "",
      "amf2json: -o: kept would overwrite the input kept\n"
      "amf2json: -o: kept would overwrite the input -\n"}},
    {"nor is standard output written to an input",
     "cp echo.amf kept; $amf2json decode kept >>kept; $amf2json decode - <kept >>kept;"
     " $amf2json decode -o /dev/stdout kept >>kept; $amf2json export --lines --from hex <kept >>kept;"
     " $amf2json decode kept 1<>kept; cmp kept echo.amf",
     {0, "",
      "amf2json: the output is the input kept\n"
      "amf2json: the output is the input -\n"
      "amf2json: the output is the input kept\n"
      "amf2json: the output is the input -\n"
      "amf2json: the output is the input kept\n"}},
    {"two names of one file are not two results",
     "mkdir out; touch out/echo.amf.json; ln out/echo.amf.json out/empty.amf.json;"
     " $amf2json decode --force -o out echo.amf empty.amf",
     {2, "", "amf2json: -o: echo.amf and empty.amf would be written to the same file\n"}},
    {"names that are alike",
     "cp echo.amf Echo.amf; cp echo.amf $'\\303\\204'; LC_ALL=C.UTF-8 $amf2json decode -o out "
     "echo.amf Echo.amf $'\\303\\204' && ls -A out | wc -l",
     {0, "3\n", ""}},
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

TEST_F(Files, AreReadAndWrittenOrReported) {
  writeFile("long.amf", echoOf("0C 00010000 61*65536"));
  for (const FileCase& row : kFileCases) {
    EXPECT_EQ(runShell("LC_ALL=C; " + row.line), row.expected) << row.name;
    EXPECT_EQ(runShell("rm -rf new kept link first joined none.amf sparse.amf out w x Echo.amf "
                       "pipe log $'\\303\\204'")
                  .status,
              0);
  }
}

TEST_F(Files, ThatMayNotBeReadAreReported) {
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
  EXPECT_EQ(runShell("ls -A | grep amf2json || true"), none);
}

// Other threads are at work all the time.
TEST_F(Files, OfManyAreNotLeftHalfWrittenByASignal) {
  writeFile("long.amf", echoOf("0C 00040000 61*262144"));
  runShell("mkdir in out; for i in {1..200}; do ln long.amf in/$i.amf; done");
  const auto isWritten = [] { return !runShell("ls out | grep '\\.json$' || true").out.empty(); };
  // On a busy machine nothing may be written in the first rounds.
  for (int i = 0; i < 20 || (i < 200 && !isWritten()); ++i) {
    const std::string wait = std::to_string(0.01 + i * 0.004);
    runShell("$amf2json decode --force -j 2 -o out in/*.amf & sleep " + wait +
             "; kill -TERM $!; wait");
  }
  const Outcome none = {0, "", ""};
  EXPECT_TRUE(isWritten());
  EXPECT_EQ(runShell("ls -A out | grep -v '\\.amf.json$' || true"), none);
}

// However long it takes until the output can be written, or a problem reported.
TEST_F(Files, SignalsEndTheProgramWhereverItWaits) {
  runShell(
      "mkdir in out; mkfifo fifo; for i in {1..2000}; do ln refused.amf "
      "in/$i.amf; done");
  const std::string ended = "timeout --preserve-status -k 10 0.5 ";
  const Outcome byTerm = {128 + SIGTERM, "", ""};
  EXPECT_EQ(runShell(ended + "$amf2json decode -o fifo echo.amf"), byTerm) << "named pipe";
  EXPECT_EQ(runShell(ended + "$amf2json decode -o out empty.amf - <>fifo"), byTerm) << "input";
  EXPECT_EQ(runShell("exec 3<>fifo; " + ended + "$amf2json decode -o out in/*.amf 2>fifo"), byTerm)
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
  const std::string longest(251, 'x');  // and ".json": a byte too many
  const Outcome outcome = {
      9, "echo.amf.json\n",
      "amf2json: out/" + longest + ".json: cannot write: File name too long\n"};
  EXPECT_EQ(runShell("cp echo.amf " + longest + "; LC_ALL=C $amf2json decode -o out " + longest +
                     " echo.amf; s=$?; ls -A out; exit $s"),
            outcome);
  const Outcome noFolder = {9, "", "amf2json: echo.amf: cannot write: Not a directory\n"};
  EXPECT_EQ(run({"decode", "-o", "echo.amf", "empty.amf", "more.amf"}), noFolder);
}

// The file beside it has a short name.
TEST_F(Files, MayHaveNamesAsLongAsTheSystemAllows) {
  const std::string longest(250, 'x');
  const Outcome written = {0, longest + ".json\n", ""};
  EXPECT_EQ(runShell("cp echo.amf " + longest + "; $amf2json decode -o out " + longest +
                     " empty.amf && rm out/empty.amf.json && ls -A out"),
            written);
  const Outcome alone = {0, std::string(255, 'y') + "\n", ""};
  EXPECT_EQ(runShell("$amf2json decode -o " + std::string(255, 'y') + " echo.amf; ls yyy*"), alone);
}

// ---- Streams, whatever they are called

const FileCase kStreamCases[] = {
    {"standard output by another name",
     "for name in /dev/stdout /dev/fd/1 /proc/self/fd/1 /proc/thread-self/fd/1; do ln -s $name "
     "link;"
     " echo old >log; $amf2json decode --to script -o link echo.amf >>log; cat log; rm link; done",
     {0, repeated("old\n" + std::string(kEchoStatements), 4), ""}},
    {"standard output by the name of its file",
     "echo old >log; $amf2json decode --to script -o log echo.amf >>log; cat log",
     {0, "old\n" + std::string(kEchoStatements), ""}},
    {"standard output that is no longer in any folder",
     "exec 3<>log 4<log; rm log; $amf2json decode --to script -o /dev/stdout echo.amf >&3; cat <&4;"
     " ls -A | grep -c log",
     {1, std::string(kEchoStatements) + "0\n", ""}},
    {"several files to standard output",
     "$amf2json decode --to script -o /dev/stdout echo.amf echo.amf | cat",
     {0, repeated(kEchoStatements, 2), ""}},
    {"another descriptor",
     "echo old >log; $amf2json decode --to script -o /dev/fd/3 echo.amf 3>>log; cat log",
     {0, "old\n" + std::string(kEchoStatements), ""}},
    {"a descriptor of another process",
     "echo old >log; exec 3>>log; $amf2json decode --to script -o /proc/$$/fd/3 echo.amf 3>&-; cat "
     "log",
     {0, "old\n" + std::string(kEchoStatements), ""}},
    {"a descriptor that is closed",
     "$amf2json decode -o /dev/fd/9 echo.amf 9>&-",
     {9, "", "amf2json: /dev/fd/9: cannot write: Bad file descriptor\n"}},
    {"a pipe between programs",
     "$amf2json decode --to script -o >(cat >log) echo.amf; sleep 0.2; cat log",
     {0, kEchoStatements, ""}},
    {"a link to a device stays one",
     "ln -s /dev/null link; $amf2json decode -o link echo.amf && stat -c %N link",
     {0, "'link' -> '/dev/null'\n", ""}},
    {"a link that leads nowhere stays one",
     "ln -s kept link; $amf2json decode --to script -o link echo.amf && stat -c %N link && cat "
     "kept",
     {0, "'link' -> 'kept'\n" + std::string(kEchoStatements), ""}},
    {"links in a circle",
     "ln -s link new; ln -s new link; LC_ALL=C $amf2json decode -o link echo.amf",
     {9, "", "amf2json: link: cannot write: Too many levels of symbolic links\n"}},
};

TEST_F(Files, ThatAreNoneAreWrittenToAndNotReplaced) {
  for (const FileCase& row : kStreamCases) {
    EXPECT_EQ(runShell(row.line), row.expected) << row.name;
    EXPECT_EQ(runShell("rm -f new kept link log").status, 0);
  }
}

// Root alone can make a node of its own, give files away and become somebody else.
class FilesOfRoot : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    if (geteuid() != 0) GTEST_SKIP() << "not root";
  }
};

TEST_F(FilesOfRoot, DevicesStayDevices) {
  if (runShell("mknod null c 1 3").status != 0) GTEST_SKIP() << "no device to be made";
  const Outcome kept = {0, "character special file\n", ""};
  EXPECT_EQ(runShell("$amf2json decode -o null echo.amf && stat -c %F null"), kept);
}

const FileCase kRightsCases[] = {
    {"root keeps owner and group",
     "chown 12345:777 kept; chmod 660 kept; $amf2json decode -o kept echo.amf;",
     {0, "12345 777 660\n", ""}},
    {"never a bit that changes who runs it",
     "chown 12345:777 kept; chmod 6755 kept; $amf2json decode -o kept echo.amf;",
     {0, "12345 777 755\n", ""}},
    {"the group of one of its members",
     "chown 12345:777 kept; chmod 664 kept; setpriv --reuid=65534 --regid=65534 --groups=777 "
     "$amf2json decode -o kept echo.amf;",
     {0, "65534 777 664\n", ""}},
    {"who was shut out as the owner stays so",
     "chown 12345:777 kept; chmod 464 kept; setpriv --reuid=65534 --regid=65534 --groups=777 "
     "$amf2json decode -o kept echo.amf;",
     {0, "65534 777 444\n", ""}},
    {"another group gets no more than all others",
     "chown 12345:777 kept; chmod 662 kept; setpriv --reuid=65534 --regid=65534 --clear-groups "
     "$amf2json decode -o kept echo.amf;",
     {0, "65534 65534 622\n", ""}},
    {"who was shut out as a member stays so",
     "chown 65534:777 kept; chmod 606 kept; setpriv --reuid=65534 --regid=65534 --clear-groups "
     "$amf2json decode -o kept echo.amf;",
     {0, "65534 65534 600\n", ""}},
    {"a read-only file is refused",
     "chmod 444 kept; $amf2json decode -o kept echo.amf;",
     {0, "0 0 444\n",
      "amf2json: kept: cannot write: the file is read-only; --force replaces it\n"}},
    {"so is one that is read-only to this user",
     "chmod 644 kept; setpriv --reuid=65534 --regid=65534 --clear-groups $amf2json decode -o kept "
     "echo.amf;",
     {0, "0 0 644\n",
      "amf2json: kept: cannot write: the file is read-only; --force replaces it\n"}},
    {"... but with --force",
     "chmod 444 kept; $amf2json decode --force -o kept echo.amf;",
     {0, "0 0 444\n", ""}},
};

TEST_F(FilesOfRoot, AreReplacedWithNoMoreRightsThanBefore) {
  if (runShell("setpriv --reuid=65534 --clear-groups true").status != 0) {
    GTEST_SKIP() << "may not become another user";
  }
  for (const FileCase& row : kRightsCases) {
    EXPECT_EQ(runShell("chmod 777 .; echo old >kept; " + row.line + " stat -c '%u %g %a' kept"),
              row.expected)
        << row.name;
    EXPECT_EQ(runShell("rm -f kept").status, 0);
  }
}

}  // namespace
