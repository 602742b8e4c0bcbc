// SPDX-License-Identifier: Apache-2.0
//
// The options of one command. Each is declared once, and then parsed, shown in --help and the
// manual page, and completed by shells. Tested by tests/tool/manual_test.cpp.
#ifndef AMF2JSON_TOOL_CLI_OPTION_TABLE_H
#define AMF2JSON_TOOL_CLI_OPTION_TABLE_H

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

struct Choice {
  std::string name;
  std::string help;
};

struct OptionInfo {
  std::string names;  // "-o,--output"
  std::string value;  // "FILE"; empty: a flag
  std::string help;
  std::string defaultText = {};      // empty: not shown
  std::vector<Choice> choices = {};  // empty: any value
  bool isLimit = false;
  bool isList = false;               // may be repeated
  bool isHiddenInShortHelp = false;  // not shown by -h
};

class OptionTable {
 public:
  void flag(const char* names, bool& target, const char* help);
  void text(const char* names, const char* value, std::string& target, const char* help);
  // The option may be repeated: `add` receives each value, and throws Problem (kUsage).
  void list(const char* names, const char* value, std::function<void(const std::string&)> add,
            const char* help);
  // Hides the option declared last in the short help.
  void hideInShortHelp() { table.back().isHiddenInShortHelp = true; }
  void files(std::vector<std::string>& target) { fileNames = &target; }

  // `choices` are in the order of the enumerators.
  template <class Enum>
  void choice(const char* names, const char* value, Enum& target, const char* help,
              const std::vector<Choice>& choices) {
    add({names, value, help, choices[static_cast<std::size_t>(target)].name, choices},
        [&target, choices, names](const std::string& word) {
          target = static_cast<Enum>(indexOf(word, choices, names));
        });
  }

  template <class Number>
  void number(const char* names, Number& target, const char* help, const char* defaultText) {
    add({names, "N", help, defaultText}, storeNumber(names, target));
  }

  template <class Number>
  void limit(const char* names, Number& target, const char* help) {
    add({names, "N", help, std::to_string(target), {}, true}, storeNumber(names, target));
  }

  // For the parser: stores the value of option `index` ("" for a flag), and the files. Throws
  // Problem (kUsage).
  void store(std::size_t index, const std::string& value) const { stores[index](value); }
  void storeFiles(std::vector<std::string> names) const { *fileNames = std::move(names); }

  const std::vector<OptionInfo>& all() const { return table; }

 private:
  using Store = std::function<void(const std::string&)>;  // throws Problem (kUsage)

  void add(OptionInfo info, Store store) {
    table.push_back(std::move(info));
    stores.push_back(std::move(store));
  }

  template <class Number>
  static Store storeNumber(const char* names, Number& target) {
    return [&target, names](const std::string& word) {
      target = static_cast<Number>(numberIn(word, std::numeric_limits<Number>::max(), names));
    };
  }

  // Both throw Problem (kUsage).
  static std::size_t indexOf(const std::string& word, const std::vector<Choice>& choices,
                             const char* names);
  static std::uint64_t numberIn(const std::string& word, std::uint64_t largest, const char* names);

  std::vector<OptionInfo> table;
  std::vector<Store> stores;  // of the options in `table`
  std::vector<std::string>* fileNames = nullptr;
};

enum class HelpWanted { none, brief, full };

// Parses the words of a command line and stores the values. A value follows "=" or is the next
// word. Values and files are used byte for byte. After "--" all words are files. Stops at the first
// -h or --help. Throws Problem (kUsage).
HelpWanted parseOptions(const OptionTable& table, const std::vector<std::string>& words);

#endif  // AMF2JSON_TOOL_CLI_OPTION_TABLE_H
