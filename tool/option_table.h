// SPDX-License-Identifier: Apache-2.0
//
// The options of one command: each is told once, here, and then parsed, explained by --help and the
// manual, and completed by the shells.
#ifndef AMF2JSON_TOOL_OPTION_TABLE_H
#define AMF2JSON_TOOL_OPTION_TABLE_H

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace CLI {
class App;
}

struct Choice {
  std::string name;
  std::string help;
};

struct OptionInfo {
  std::string names;  // "-o,--output"
  std::string value;  // "FILE"; empty: a flag
  std::string help;
  std::string byDefault = {};        // empty: nothing to tell
  std::vector<Choice> choices = {};  // empty: any value
  bool isLimit = false;
};

class OptionTable {
 public:
  explicit OptionTable(CLI::App& parser) : app(parser) {}

  void flag(const char* names, bool& target, const char* help);
  void text(const char* names, const char* value, std::string& target, const char* help);
  void files(std::vector<std::string>& target, const char* help);

  // `choices` in the order of the enumeration.
  template <class Enum>
  void choice(const char* names, const char* value, Enum& target, const char* help,
              const std::vector<Choice>& choices) {
    add({names, value, help, choices[static_cast<std::size_t>(target)].name, choices});
    bind(names, [&target, choices, names](const std::string& word) {
      target = static_cast<Enum>(indexOf(word, choices, names));
    });
  }

  template <class Number>
  void number(const char* names, Number& target, const char* help, const char* byDefault) {
    add({names, "N", help, byDefault});
    bindNumber(names, target);
  }

  template <class Number>
  void limit(const char* names, Number& target, const char* help) {
    add({names, "N", help, std::to_string(target), {}, true});
    bindNumber(names, target);
  }

  const std::vector<OptionInfo>& all() const { return table; }
  const std::string& filesHelp() const { return fileArgument; }

 private:
  void add(OptionInfo info) { table.push_back(std::move(info)); }
  void bind(const char* names, const std::function<void(const std::string&)>& store);

  template <class Number>
  void bindNumber(const char* names, Number& target) {
    bind(names, [&target, names](const std::string& word) {
      target = static_cast<Number>(numberIn(word, std::numeric_limits<Number>::max(), names));
    });
  }

  // Both throw Problem (kUsage).
  static std::size_t indexOf(const std::string& word, const std::vector<Choice>& choices,
                             const char* names);
  static std::uint64_t numberIn(const std::string& word, std::uint64_t largest, const char* names);

  CLI::App& app;
  std::vector<OptionInfo> table;
  std::string fileArgument;
};

#endif  // AMF2JSON_TOOL_OPTION_TABLE_H
