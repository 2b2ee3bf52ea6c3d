// Command lines: which options there are, who reads their values, and what is said about wrong
// ones. The one place that knows the parser's library, whose headers take seconds to compile.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/base/messages.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace gl3 {

/// Reads one argument; on failure returns false and says why, with the remedy.
using Reader = std::function<bool(const std::string& text, std::string* error)>;

/// Makes another value of one; `option` is its Option::Name().
using ValueMap = std::function<std::string(const std::string& option, const std::string& value)>;

/// An option of a parser, as long as that lives.
class Option {
 public:
  explicit Option(CLI::Option* option) : m_option(option) {}

  const Option& Require() const;
  const Option& Exclude(const Option& other) const;
  const Option& Need(const Option& other) const;
  const Option& Describe(const std::string& help) const;

  /// The first of its long names, as in "--size"; empty for arguments without a name.
  std::string Name() const;
  /// Whether it takes no value.
  bool IsFlag() const;
  /// All values of the parsed command line.
  std::vector<std::string> GivenValues() const;
  /// Of them those that count: the last one of an option that is meant to be given once.
  std::vector<std::string> Values() const;
  std::vector<std::string> ExcludedNames() const;
  std::vector<std::string> NeededNames() const;

 private:
  CLI::Option* m_option;
};

/// A program's command line, or that of one of its verbs. Copies are the same parser. What options
/// are read into must live until a command line is parsed. `names` are like "-s,--size", `type`
/// stands for the value in the help, whose lines the text itself breaks.
class OptionParser {
 public:
  /// For words without a program.
  OptionParser();
  /// For a program: `version` is what --version prints.
  OptionParser(const std::string& program, const std::string& summary, const std::string& version);
  OptionParser AddVerb(const std::string& name, const std::string& summary) const;

  /// What comes next stands under this title in the help.
  void BeginGroup(const std::string& title) const;
  /// Text below the options.
  void SetFooter(const std::string& text) const;
  /// Takes words as they are from the first one on: they belong to another program.
  void PassOn() const;

  /// An option that is read by `read`; the last one given counts.
  Option Add(const std::string& names, const std::string& type, const std::string& help,
             Reader read) const;
  /// The same for a text that may be anything.
  Option AddText(const std::string& names, const std::string& type, const std::string& help,
                 std::string* text) const;
  /// The same for an option that may go without its value, which then reads as an empty text. A
  /// value comes after an equals sign only, so that what follows is never taken for one; the help
  /// shows it as in "--size [=WxH]".
  Option AddOptionalValue(const std::string& name, const std::string& type, const std::string& help,
                          Reader read) const;
  /// An option that may be given several times; `read` gets all values, and when one is wrong says
  /// so as a Reader does.
  Option AddEach(
      const std::string& name, const std::string& type, const std::string& help,
      std::function<bool(const std::vector<std::string>& texts, std::string* error)> read) const;
  /// An argument without a name that takes one word.
  Option AddWord(const std::string& title, const std::string& type, const std::string& help,
                 std::string* word) const;
  /// An argument without a name that takes all words.
  Option AddWords(const std::string& title, const std::string& type, const std::string& help,
                  std::vector<std::string>* words) const;
  Option AddFlag(const std::string& names, const std::string& help, bool* flag) const;
  /// A flag that calls.
  Option AddFlag(const std::string& names, const std::string& help,
                 std::function<void()> call) const;
  /// The option called `name`, which there must be.
  Option Find(const std::string& name) const;
  void Remove(const std::string& name) const;

  /// Parses words without a program; on failure returns false with what is wrong.
  bool Parse(const std::vector<std::string>& words, std::string* error) const;
  /// Parses a program's arguments. When the program is over then, having printed its help or its
  /// version or having said what is wrong, returns the exit status.
  std::optional<int> ParseProgram(int argc, char** argv) const;
  /// Of a program: whether the verb was given.
  bool IsChosen(const std::string& verb) const;
  /// What PassOn took.
  std::vector<std::string> PassedOn() const;
  /// The options that the parsed command line has, by Name().
  std::map<std::string, Option> Given() const;
  /// A command line, whose first two words are program and verb, with all its values mapped.
  std::vector<std::string> MapValues(const std::vector<std::string>& words,
                                     const ValueMap& map) const;
  /// Tells of a word of such a command line that is no file and follows an option which takes its
  /// value after an equals sign alone, so that it counts as a file's name: at the end of the
  /// message of `*outcome`, or, where nothing failed yet, in a warning.
  void TellLostValue(const std::vector<std::string>& words, Outcome* outcome) const;

 private:
  explicit OptionParser(std::shared_ptr<CLI::App> app) : m_app(std::move(app)) {}

  std::shared_ptr<CLI::App> m_app;
};

}  // namespace gl3
