/// @file
/// Command lines that are read from a table, from which the help text is made too.
#pragma once

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::capture {

/// A command line that cannot be understood; `what()` is a sentence for the user.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One option, or a heading or another line of the help text where there is no setter.
template <typename Options>
struct OptionRow {
  const char* name;   ///< as on the command line; empty for what is no option
  const char* value;  ///< what stands for the value in the help text; empty for a flag
  const char* help;   ///< may have several lines; empty for a heading, which is `value`
  void (*set)(Options&, const std::string&);
};

/// The value of an option that takes a number.
/// @throws UsageError
inline int ParseNumber(const std::string& option, const std::string& text, int smallest,
                       int largest) {
  const bool isNumber = !text.empty() && text.size() <= 9 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
  const int number = isNumber ? std::stoi(text) : -1;
  if (number < smallest || number > largest) {
    throw UsageError(option + " takes a number from " + std::to_string(smallest) + " to " +
                     std::to_string(largest) + ", not '" + text + "'");
  }
  return number;
}

/// Gives each option to its setter. A value follows its option or an equals sign, -h is --help, and
/// after -- nothing is an option.
/// @return what is no option
/// @throws UsageError
template <typename Options, std::size_t kCount>
std::vector<std::string> ParseTable(const OptionRow<Options> (&rows)[kCount],
                                    const std::vector<std::string>& arguments, Options& options) {
  std::vector<std::string> inputs;
  bool areAllInputs = false;  // after --
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (areAllInputs || argument.size() < 2 || argument[0] != '-') {
      inputs.push_back(argument);
      continue;
    }
    areAllInputs = argument == "--";
    if (areAllInputs) continue;
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string known = name == "-h" ? "--help" : name;
    const auto* const row = std::find_if(
        rows, rows + kCount, [&](const auto& r) { return r.set != nullptr && known == r.name; });
    if (row == rows + kCount) throw UsageError("there is no option " + name);
    const bool isFlag = row->value[0] == '\0';
    if (isFlag && equals != std::string::npos) throw UsageError(name + " takes no value");
    if (!isFlag && equals == std::string::npos && i + 1 == arguments.size()) {
      throw UsageError(name + " needs a value");
    }
    row->set(options, equals != std::string::npos ? argument.substr(equals + 1)
                      : isFlag                    ? std::string()
                                                  : arguments[++i]);
  }
  return inputs;
}

/// The help text's lines on the options.
template <typename Options, std::size_t kCount>
std::string DescribeTable(const OptionRow<Options> (&rows)[kCount]) {
  constexpr std::size_t kColumn = 23;
  std::string text;
  for (const OptionRow<Options>& row : rows) {
    if (row.help[0] == '\0') {
      text += std::string("\n") + row.value + "\n";
      continue;
    }
    std::string line = std::string("  ") + row.name + (row.name[0] != '\0' ? " " : "") + row.value;
    line.resize(std::max(line.size() + 1, kColumn), ' ');
    for (const char* c = row.help; *c != '\0'; ++c) {
      line += *c;
      if (*c == '\n') line.append(kColumn, ' ');
    }
    text += line + "\n";
  }
  return text;
}

}  // namespace velmora::capture
