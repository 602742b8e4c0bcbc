// SPDX-License-Identifier: Apache-2.0
//
// The manual page, in the macros of man(7).
#include "tool/cli/help.h"

#include <algorithm>
#include <string_view>

#include "tool/cli/about.h"
#include "tool/cli/command_page.h"
#include "tool/text/words.h"

namespace {

// Escapes text: no macro at the start of a line, and hyphens that searches find.
std::string plain(std::string_view text) {
  std::string safe;
  for (const char c : text) {
    if (safe.empty() && (c == '.' || c == '\'')) safe += "\\&";
    if (c == '\\')
      safe += "\\e";
    else if (c == '-')
      safe += "\\-";
    else
      safe += c;
  }
  return safe;
}

std::string bold(std::string_view text) {
  return "\\fB" + plain(text) + "\\fR";
}

std::string italic(std::string_view text) {
  return "\\fI" + plain(text) + "\\fR";
}

// Paragraphs. Indented lines keep their layout.
std::string paragraphs(std::string_view text) {
  const std::string lines = wordWrap(text, 70);  // escaped hyphens take two bytes
  text = lines;
  std::string page;
  bool isSetIn = false;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    const bool setsIn = line.substr(0, 2) == "  ";
    if (setsIn && !isSetIn) page += ".EX\n";
    if (!setsIn && isSetIn) page += ".EE\n";
    isSetIn = setsIn;
    if (line.empty() && !text.empty()) page += ".PP\n";
    if (!line.empty()) page += plain(line) + "\n";
  }
  return page + (isSetIn ? ".EE\n" : "");
}

std::string spelled(const OptionInfo& option) {
  const OptionNames names = namesOf(option);
  const bool both = !names.shortName.empty() && !names.longName.empty();
  std::string text = names.shortName.empty() ? "" : bold(names.shortName);
  if (both) text += ", ";
  if (!names.longName.empty()) text += bold(names.longName);
  return option.value.empty() ? text : text + " " + italic(option.value);
}

std::string item(const OptionInfo& option) {
  std::string text = ".TP\n" + spelled(option) + "\n" + plain(option.help);
  if (!option.defaultText.empty()) text += " (" + plain(option.defaultText) + ")";
  text += ".\n";
  for (const Choice& choice : option.choices) {
    text += ".br\n" + bold(choice.name) + ": " + plain(choice.help) + ".\n";
  }
  return text;
}

std::string items(const std::vector<OptionInfo>& options, bool limits) {
  std::string text;
  for (const OptionInfo& option : options) {
    if (option.isLimit == limits) text += item(option);
  }
  return text;
}

std::string commandSection(const CommandPage& page) {
  return ".SS " + bold(std::string("amf2json ") + page.command.name) + "\n" +
         plain(page.command.summary) + ".\n.PP\n" + paragraphs(page.command.details) +
         items(page.options, false) +
         (page.command.declareShared == nullptr ? "" : items(page.options, true));
}

std::string exampleSection(const std::vector<Example>& examples) {
  std::string text;
  for (const Example& example : examples) {
    text += ".TP\n" + bold(example.line) + "\n" + plain(example.what) + ".\n";
  }
  return text;
}

}  // namespace

std::string manualPage() {
  const std::vector<CommandPage> pages = commandPages();
  std::string text =
      ".\\\" SPDX-License-Identifier: Apache-2.0\n"
      ".TH AMF2JSON 1 " AMF2JSON_DATE " \"amf2json " AMF2JSON_VERSION
      "\" \"User Commands\"\n"
      ".SH NAME\namf2json \\- shows AMF packets and checks them\n"
      ".SH SYNOPSIS\n";
  for (const CommandPage& page : pages) {
    text += bold("amf2json") + " " + bold(page.command.name) + " [" + italic("OPTIONS") + "] [" +
            italic("FILE...") + "]\n.br\n";
  }
  text += bold("amf2json") + " " + bold("-h") + " | " + bold("--help") + " | " + bold("--version") +
          "\n.SH DESCRIPTION\n" + paragraphs(kAboutFormat) + ".PP\n" + paragraphs(kAboutProgram) +
          ".SH COMMANDS\n";
  for (const CommandPage& page : pages) text += commandSection(page);
  text +=
      ".SH LIMITS\nEvery command takes these, except those that list their own.\n"
      "A packet that exceeds one of them is refused.\n" +
      items(pages.front().options, true) +
      ".SH EXIT STATUS\nWith several files the program exits with the largest code of them.\n";
  for (const ExitCodeRow& row : exitCodes()) {
    text += ".TP\n" + bold(std::to_string(row.code)) + "\n" + plain(row.meaning) + ".\n";
  }
  text += ".SH ENVIRONMENT\n.TP\n" + bold("NO_COLOR") +
          "\nSet and not empty: no colour unless \\fB\\-\\-color always\\fR asks for it.\n.TP\n" +
          bold("TERM") + "\nNo colour where this is \\fBdumb\\fR.\n.TP\n" + bold("TZ") +
          "\nThe time zone that \\fB\\-\\-local\\-time\\fR takes.\n.SH EXAMPLES\n" +
          exampleSection(programExamples());
  for (const CommandPage& page : pages) text += exampleSection(page.command.examples);
  return text;
}
