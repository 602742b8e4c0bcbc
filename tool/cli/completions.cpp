// SPDX-License-Identifier: Apache-2.0
//
// Completions for bash, zsh and fish.
#include "tool/cli/help.h"

#include <algorithm>

#include "tool/cli/command_page.h"
#include "tool/text/words.h"

namespace {

std::vector<std::string> spellingsOf(const OptionInfo& option) {
  const OptionNames names = namesOf(option);
  std::vector<std::string> spellings;
  if (!names.shortName.empty()) spellings.push_back(names.shortName);
  if (!names.longName.empty()) spellings.push_back(names.longName);
  return spellings;
}

std::vector<std::string> spellingsOf(const std::vector<OptionInfo>& options) {
  std::vector<std::string> all;
  for (const OptionInfo& option : options) {
    for (const std::string& spelling : spellingsOf(option)) all.push_back(spelling);
  }
  return all;
}

std::vector<std::string> choicesOf(const OptionInfo& option) {
  std::vector<std::string> names;
  for (const Choice& choice : option.choices) names.push_back(choice.name);
  return names;
}

// Quotes a text for all three shells.
std::string singleQuoted(std::string text) {
  for (std::size_t at = 0; (at = text.find('\'', at)) != std::string::npos; at += 4) {
    text.replace(at, 1, "'\\''");
  }
  return "'" + text + "'";
}

// ---- bash

std::string bashCase(const CommandPage& page) {
  std::string values;
  for (const OptionInfo& option : page.options) {
    if (option.value.empty() || option.value == "FILE") continue;
    const std::string patterns = joined(spellingsOf(option), "|");
    values +=
        "        " + patterns + ") words=" + singleQuoted(joined(choicesOf(option))) + " ;;\n";
  }
  return std::string("    ") + page.command.name +
         ")\n      options=" + singleQuoted(joined(spellingsOf(page.options))) +
         "\n      case $before in\n" + values +
         "        -o|--output) return ;;\n        *) is_value= ;;\n      esac ;;\n";
}

// ---- zsh

// Escapes a text inside [] and :: of _arguments.
std::string zshText(const std::string& text) {
  std::string safe;
  for (const char c : text) {
    if (c == ':' || c == '[' || c == ']' || c == '\\' || c == '"') safe += '\\';
    safe += c;
  }
  return safe;
}

std::string zshValue(const OptionInfo& option) {
  if (option.value.empty()) return "";
  std::string value = ":" + option.value + ":";
  if (option.value == "FILE") return value + "_files";
  if (option.choices.empty()) return value + " ";
  value += "((";
  for (const Choice& choice : option.choices) {
    value += choice.name + "\\:\"" + zshText(choice.help) + "\" ";
  }
  value.back() = ')';
  return value + ")";
}

std::string zshSpec(const OptionInfo& option) {
  const OptionNames names = namesOf(option);
  const std::string rest = "[" + zshText(option.help) + "]" + zshValue(option);
  std::string line;
  if (!names.shortName.empty())
    line += " " + singleQuoted(names.shortName + (option.value.empty() ? "" : "+") + rest);
  if (!names.longName.empty())
    line += " " + singleQuoted((option.isList ? "*" : "") + names.longName +
                               (option.value.empty() ? "" : "=") + rest);
  return line;
}

std::string zshCase(const CommandPage& page) {
  std::string text = std::string("    ") + page.command.name + ")\n      _arguments -s";
  for (const OptionInfo& option : page.options) text += " \\\n       " + zshSpec(option);
  return text + " \\\n        '*:FILE:_files' ;;\n";
}

// ---- fish

std::string fishOption(const std::string& condition, const OptionInfo& option) {
  const OptionNames names = namesOf(option);
  std::string line = "complete -c amf2json -n " + singleQuoted(condition);
  if (!names.shortName.empty()) line += " -s " + names.shortName.substr(1);
  if (!names.longName.empty()) line += " -l " + names.longName.substr(2);
  if (option.value == "FILE")
    line += " -r -F";
  else if (!option.value.empty())
    line += " -x";
  if (!option.choices.empty()) {
    std::string choices;
    for (const Choice& choice : option.choices)
      choices += choice.name + "\\t\"" + choice.help + "\"\n";
    line += " -a " + singleQuoted(choices);
  }
  return line + " -d " + singleQuoted(option.help) + "\n";
}

}  // namespace

std::string bashCompletion() {
  std::string text =
      "# bash completion for amf2json\n"
      "_amf2json() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} options words= "
      "is_value=1\n"
      "  COMPREPLY=()\n"
      "  if [ \"$COMP_CWORD\" = 1 ]; then\n"
      "    COMPREPLY=($(compgen -W " +
      singleQuoted(joined(commandNames()) + " " + joined(spellingsOf(programOptions()))) +
      " -- \"$word\"))\n"
      "    return\n"
      "  fi\n"
      "  # --to=js comes as three words.\n"
      "  if [ \"$word\" = = ]; then\n"
      "    word=\n"
      "  elif [ \"$before\" = = ]; then\n"
      "    before=${COMP_WORDS[COMP_CWORD-2]}\n"
      "  fi\n"
      "  case ${COMP_WORDS[1]} in\n";
  for (const CommandPage& page : commandPages()) text += bashCase(page);
  return text +
         "    *) return ;;\n"
         "  esac\n"
         "  if [ -n \"$is_value\" ]; then\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "  elif [[ $word == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
         "  fi\n"
         "}\n"
         "complete -o default -F _amf2json amf2json\n";
}

std::string zshCompletion() {
  std::string text =
      "#compdef amf2json\n# zsh completion for amf2json\n_amf2json() {\n  local -a commands\n  "
      "commands=(\n";
  for (const Command& command : commands()) {
    text +=
        "    " + singleQuoted(std::string(command.name) + ":" + zshText(command.summary)) + "\n";
  }
  text +=
      "  )\n  if (( CURRENT == 2 )); then\n    _describe -t commands command commands\n    "
      "_arguments";
  for (const OptionInfo& option : programOptions()) text += zshSpec(option);
  text +=
      "\n    return\n  fi\n  local command=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case "
      "$command in\n";
  for (const CommandPage& page : commandPages()) text += zshCase(page);
  return text +
         "  esac\n}\nif [ \"$funcstack[1]\" = _amf2json ]; then\n  _amf2json \"$@\"\nelse\n  "
         "compdef _amf2json amf2json\nfi\n";
}

std::string fishCompletion() {
  const std::string first = "not __fish_seen_subcommand_from " + joined(commandNames());
  std::string text =
      "# fish completion for amf2json\ncomplete -c amf2json -n " + singleQuoted(first) + " -f\n";
  for (const Command& command : commands()) {
    text += "complete -c amf2json -n " + singleQuoted(first) + " -a " + command.name + " -d " +
            singleQuoted(command.summary) + "\n";
  }
  for (const OptionInfo& option : programOptions()) text += fishOption(first, option);
  for (const CommandPage& page : commandPages()) {
    const std::string condition = std::string("__fish_seen_subcommand_from ") + page.command.name;
    for (const OptionInfo& option : page.options) text += fishOption(condition, option);
  }
  return text;
}

std::string generated(const std::string& name) {
  if (name == "man") return manualPage();
  if (name == "bash") return bashCompletion();
  if (name == "zsh") return zshCompletion();
  if (name == "fish") return fishCompletion();
  return {};
}
