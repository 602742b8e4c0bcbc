// SPDX-License-Identifier: Apache-2.0
//
// Property: unwrapping any bytes ends within its limit or with a problem. The command that identify
// names is a dump, or a command that accepts the bytes and loses none; a packet has a command. A
// dump shows every byte once, and only printable text.
//
// Input: a byte that chooses the size limit, the bytes of the file.
#include "fuzz/input.h"
#include "tool/commands/dump_rows.h"
#include "tool/input/identify.h"
#include "tool/input/unwrap.h"
#include "tool/problem.h"

namespace {

using fuzz::require;
using Status = AMFVerifyStatus;

struct Chosen {
  Form form = Form::packet;
  std::size_t skip = 0;
  bool unwraps = false;
  bool allowTrailing = false;
};

Chosen chosenBy(const std::string& options) {
  Chosen chosen;
  if (options.find(" --as amf0") != std::string::npos) chosen.form = Form::amf0;
  if (options.find(" --as amf3") != std::string::npos) chosen.form = Form::amf3;
  const std::size_t skip = options.find(" --skip ");
  if (skip != std::string::npos) chosen.skip = std::stoul(options.substr(skip + 8));
  chosen.unwraps = options.find(" --unwrap") != std::string::npos;
  chosen.allowTrailing = options.find(" --allow-trailing") != std::string::npos;
  return chosen;
}

Unwrapped unwrapped(const std::string& file, const Chosen& chosen, const AMFVerifyLimits& limits) {
  return unwrap(file, limits.maxPacketBytes, matchForm(chosen.form, chosen.skip, limits));
}

void checkUnwrap(const std::string& file, const AMFVerifyLimits& limits) {
  try {
    const Unwrapped result = unwrapped(file, Chosen(), limits);
    require(result.wrappers.size() <= 8, "only so many wrappers");
    require(result.wrappers.empty() ? result.bytes == file
                                    : result.bytes.size() <= limits.maxPacketBytes,
            "within the limit");
  } catch (const Problem& problem) {
    require(problem.offset.has_value() && !problem.message.empty(), "a problem says where");
    require(problem.exitCode >= kTruncated && problem.exitCode <= kFileFailure, "exit code");
  }
}

// The only bytes that identify ignores are end marks after the value of a container.
bool isEndMark(const std::string& bytes) {
  return bytes == std::string(1, '\0') || bytes == std::string("\0\0\x09", 3);
}

// What decode would do with the options that identify names.
void checkCommand(const std::string& file, const Identity& identity,
                  const AMFVerifyLimits& limits) {
  const Chosen chosen = chosenBy(identity.options);
  const std::string bytes = chosen.unwraps ? unwrapped(file, chosen, limits).bytes : file;
  require(chosen.skip < bytes.size(), "something is left");
  const std::string own = bytes.substr(chosen.skip);
  const AMFVerifyResult checked = verifyForm(own, chosen.form, limits);
  require(checked.status == Status::ok, "the command works");
  require(!chosen.allowTrailing || isEndMark(own.substr(checked.consumed)), "and loses nothing");
  const std::string whole = chosen.form == Form::packet ? ": another packet" : "";
  require(chosen.allowTrailing || checked.consumed == own.size() ||
              identity.verdict.find(" after it" + whole) != std::string::npos,
          "or says that there is more");
}

void checkIdentity(const std::string& file, const AMFVerifyLimits& limits) {
  const Identity identity = identify(file, limits);
  const std::string command = identity.command ? identity.command : "";
  require(!identity.verdict.empty() && (identity.isKnown || command.empty()), "verdict");
  if (command == "decode" && identity.filter.empty()) checkCommand(file, identity, limits);
  const AMFVerifyResult checked = verifyForm(file, Form::packet, limits);
  if (checked.status == Status::ok && checked.consumed == file.size()) {
    require(command == "decode" && identity.options.empty() && identity.filter.empty(),
            "a packet is recognised");
  }
}

void checkDump(const std::string& file, const AMFVerifyLimits& limits) {
  static const char kDigits[] = "0123456789ABCDEF";
  DumpOptions options;
  options.full = true;
  options.limits = limits;
  std::string text;
  if (dumpPacket(file, options, text).status == Status::packetTooLarge) return;
  std::size_t shown = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    require(end != std::string::npos, "whole lines");
    for (std::size_t column = 10; column < 34 && text[at + column] != ' '; column += 3) {
      require(shown < file.size(), "no byte more");
      const auto byte = static_cast<unsigned char>(file[shown++]);
      require(
          text[at + column] == kDigits[byte >> 4] && text[at + column + 1] == kDigits[byte & 15],
          "the byte itself");
    }
    for (; at < end; ++at) require(static_cast<unsigned char>(text[at]) >= 0x20, "printable");
    at = end + 1;
  }
  require(shown == file.size(), "every byte");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  AMFVerifyLimits limits;
  limits.maxPacketBytes = std::size_t{64} << input.u8() % 12;
  limits.maxNodes = 10000;
  const std::string file = input.rest();
  checkUnwrap(file, limits);
  checkIdentity(file, limits);
  checkDump(file, limits);
  return 0;
}
