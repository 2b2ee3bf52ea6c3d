// Command lines, taken apart by CLI11.
#include "apps/options/option_parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

#include "apps/base/text.h"

namespace gl3 {
namespace {

using Words = std::vector<std::string>;

/// Help without the parser's remarks on what excludes what, which only lengthen the lines.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return type.empty() ? "" : " " + type;
  }
};

std::string NameOf(const CLI::Option& option) {
  const Words& names = option.get_lnames();
  return names.empty() ? "" : "--" + names.front();
}

template <class Options>
Words NamesOf(const Options& options) {
  Words names;
  for (const CLI::Option* option : options) names.push_back(NameOf(*option));
  return names;
}

/// The help of the verb that was chosen, or of the program.
std::string HelpText(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  std::string text = chosen.empty() ? app.help() : chosen.front()->help(app.get_name());
  for (std::size_t at; (at = text.find("\n\n\n")) != std::string::npos;) text.erase(at, 1);
  return text;
}

/// One line about what is wrong with the command line.
std::string UsageMessage(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const CLI::App& parsed = chosen.empty() ? app : *chosen.front();
  const std::string help =
      app.get_name() + (chosen.empty() ? "" : " " + parsed.get_name()) + " --help";
  const std::string what = error.what();
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
    return what.substr(0, what.find(':')) + ": its value is missing; " + help + " tells which";
  }
  if (!dynamic_cast<const CLI::ExtrasError*>(&error)) {
    // Our own checks carry their remedy.
    return what.find("; ") == std::string::npos ? what + "; " + help + " lists the options" : what;
  }
  const Words extras = app.remaining(true);
  const std::string wrong = extras.empty() ? "argument" : extras.front();
  Words names;
  for (const CLI::Option* option : parsed.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  const std::string nearest = NearestName(wrong.substr(0, wrong.find('=')), names);
  return wrong + ": no such option; " + (nearest.empty() ? "" : "did you mean " + nearest + "? ") +
         help + " lists the options";
}

/// The option that a word of a command line begins with. Of flags in one word, as in -qo, it is the
/// last one.
struct WordOption {
  const CLI::Option* option = nullptr;  // null: there is none, and the word an argument
  std::size_t valueAt = 0;              // in the word; its end when the value is not in it
};

WordOption OptionOf(const CLI::App& app, const std::string& word) {
  if (word.compare(0, 2, "--") == 0) {
    const std::size_t equals = std::min(word.find('='), word.size());
    return {app.get_option_no_throw(word.substr(0, equals)), std::min(equals + 1, word.size())};
  }
  WordOption found;
  for (std::size_t at = 1; word[0] == '-' && at < word.size(); ++at) {
    found = {app.get_option_no_throw(std::string("-") + word[at]), at + 1};
    if (!found.option || found.option->get_items_expected_max() > 0) break;
  }
  return found;
}

/// Of a command line, program and verb first, whose verb's options `app` has: an option with its
/// value, as in "--scale-bar=mm", where a word that is no file follows an option that takes its
/// value after an equals sign alone. Else empty.
std::string LostValue(const CLI::App& app, const Words& words) {
  for (std::size_t i = 2; i + 1 < words.size() && words[i] != "--"; ++i) {
    const std::string &word = words[i], &next = words[i + 1];
    const CLI::Option* const option = word.starts_with("--") ? OptionOf(app, word).option : nullptr;
    const bool mayHaveValue =
        option && option->get_type_size() > 0 && option->get_items_expected_max() == 0;
    if (!mayHaveValue || word.find('=') != std::string::npos || next.starts_with('-')) continue;
    std::error_code error;
    if (!std::filesystem::exists(next, error)) return word + "=" + next;
  }
  return "";
}

}  // namespace

const Option& Option::Require() const {
  m_option->required();
  return *this;
}

const Option& Option::Exclude(const Option& other) const {
  m_option->excludes(other.m_option);
  return *this;
}

const Option& Option::Need(const Option& other) const {
  m_option->needs(other.m_option);
  return *this;
}

const Option& Option::Describe(const std::string& help) const {
  m_option->description(help);
  return *this;
}

std::string Option::Name() const {
  return NameOf(*m_option);
}

bool Option::IsFlag() const {
  return m_option->get_type_size() == 0;
}

Words Option::GivenValues() const {
  return m_option->results();
}

Words Option::Values() const {
  return m_option->reduced_results();
}

Words Option::ExcludedNames() const {
  return NamesOf(m_option->get_excludes());
}

Words Option::NeededNames() const {
  return NamesOf(m_option->get_needs());
}

OptionParser::OptionParser() : m_app(std::make_shared<CLI::App>()) {}

OptionParser::OptionParser(const std::string& program, const std::string& summary,
                           const std::string& version)
    : m_app(std::make_shared<CLI::App>(summary, program)) {
  m_app->set_version_flag("--version", version, "Print the version");
  const auto formatter = std::make_shared<HelpFormatter>();
  formatter->label("SUBCOMMAND", "VERB");
  formatter->column_width(25);
  m_app->formatter(formatter);
  m_app->set_help_flag("-h,--help", "Print this help");
  m_app->require_subcommand(0, 1);
}

OptionParser OptionParser::AddVerb(const std::string& name, const std::string& summary) const {
  m_app->get_help_ptr()->description("Print this help; each verb has its own");
  CLI::App* verb = m_app->add_subcommand(name, summary)->group("Verbs");
  verb->set_help_flag("-h,--help", "Print this help");
  return OptionParser(m_app->get_subcommand_ptr(verb));
}

void OptionParser::BeginGroup(const std::string& title) const {
  m_app->option_defaults()->group(title);
}

void OptionParser::SetFooter(const std::string& text) const {
  m_app->footer(text);
}

void OptionParser::PassOn() const {
  m_app->prefix_command();
}

Option OptionParser::Add(const std::string& names, const std::string& type, const std::string& help,
                         Reader read) const {
  const std::string shown = names.substr(names.find("--"));
  const auto apply = [shown, read = std::move(read)](const std::string& text) {
    std::string error;
    if (!read(text, &error)) throw CLI::ValidationError(shown, error);
  };
  return Option(
      m_app->add_option_function<std::string>(names, apply, help)->type_name(type)->take_last());
}

Option OptionParser::AddText(const std::string& names, const std::string& type,
                             const std::string& help, std::string* text) const {
  return Option(m_app->add_option(names, *text, help)->type_name(type)->take_last());
}

Option OptionParser::AddOptionalValue(const std::string& name, const std::string& type,
                                      const std::string& help, Reader read) const {
  // What the parser takes for options without values; it tells such options by the text "true".
  const auto orNothing = [read = std::move(read)](const std::string& text, std::string* error) {
    return read(text == "true" ? "" : text, error);
  };
  const Option option = Add(name, "[=" + type + "]", help, orNothing);
  m_app->get_option(name)->expected(0);
  return option;
}

Option OptionParser::AddEach(
    const std::string& name, const std::string& type, const std::string& help,
    std::function<bool(const std::vector<std::string>& texts, std::string* error)> read) const {
  const auto apply = [name, read = std::move(read)](const Words& texts) {
    std::string error;
    if (!read(texts, &error)) throw CLI::ValidationError(name, error);
  };
  return Option(m_app->add_option_function<Words>(name, apply, help)
                    ->type_name(type)
                    ->allow_extra_args(false)
                    ->take_all());
}

Option OptionParser::AddWord(const std::string& title, const std::string& type,
                             const std::string& help, std::string* word) const {
  return Option(m_app->add_option(title, *word, help)->type_name(type));
}

Option OptionParser::AddWords(const std::string& title, const std::string& type,
                              const std::string& help, std::vector<std::string>* words) const {
  return Option(m_app->add_option(title, *words, help)->type_name(type));
}

Option OptionParser::AddFlag(const std::string& names, const std::string& help, bool* flag) const {
  return Option(m_app->add_flag(names, *flag, help));
}

Option OptionParser::AddFlag(const std::string& names, const std::string& help,
                             std::function<void()> call) const {
  return Option(m_app->add_flag_callback(names, std::move(call), help));
}

Option OptionParser::Find(const std::string& name) const {
  return Option(m_app->get_option(name));
}

void OptionParser::Remove(const std::string& name) const {
  m_app->remove_option(m_app->get_option(name));
}

bool OptionParser::Parse(const std::vector<std::string>& words, std::string* error) const {
  try {
    m_app->parse(Words(words.rbegin(), words.rend()));  // it takes them from the end
    return true;
  } catch (const CLI::CallForHelp&) {
    *error = "it asks for help";
  } catch (const CLI::ParseError& problem) {
    *error = Shortened(OneLine(problem.what()));  // the words may be a stranger's
  }
  return false;
}

std::optional<int> OptionParser::ParseProgram(int argc, char** argv) const {
  try {
    m_app->parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::CallForVersion& version) {
    return PrintResult(std::string(version.what()) + "\n");
  } catch (const CLI::CallForHelp&) {
    return PrintResult(HelpText(*m_app));
  } catch (const CLI::ParseError& error) {
    Outcome outcome = {kWrongUsage, UsageMessage(*m_app, error)};
    for (CLI::App* const verb : m_app->get_subcommands()) {
      OptionParser(m_app->get_subcommand_ptr(verb))
          .TellLostValue(Words(argv, argv + argc), &outcome);
    }
    PrintError(outcome.message);
    return outcome.status;
  }
}

bool OptionParser::IsChosen(const std::string& verb) const {
  return m_app->got_subcommand(verb);
}

std::vector<std::string> OptionParser::PassedOn() const {
  return m_app->remaining();
}

std::map<std::string, Option> OptionParser::Given() const {
  std::map<std::string, Option> given;
  for (CLI::Option* option : m_app->get_options()) {
    if (option->count() > 0) given.insert_or_assign(NameOf(*option), Option(option));
  }
  return given;
}

Words OptionParser::MapValues(const Words& words, const ValueMap& map) const {
  const std::size_t head = std::min<std::size_t>(words.size(), 2);
  Words mapped(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(head));
  const CLI::Option* waiting = nullptr;  // for its value
  bool hasMark = false;                  // nothing but arguments follows
  for (std::size_t i = head; i < words.size(); ++i) {
    const std::string& word = words[i];
    const WordOption found = hasMark ? WordOption() : OptionOf(*m_app, word);
    if (waiting) {
      mapped.push_back(map(NameOf(*waiting), word));
      waiting = nullptr;
    } else if (!hasMark && word == "--") {
      hasMark = true;
      mapped.push_back(word);
    } else if (!found.option) {
      mapped.push_back(map("", word));
    } else if (found.valueAt < word.size()) {
      mapped.push_back(word.substr(0, found.valueAt) +
                       map(NameOf(*found.option), word.substr(found.valueAt)));
    } else {
      mapped.push_back(word);
      if (found.option->get_items_expected_max() > 0) waiting = found.option;
    }
  }
  return mapped;
}

void OptionParser::TellLostValue(const Words& words, Outcome* outcome) const {
  const std::string value = LostValue(*m_app, words);
  if (value.empty()) return;
  const std::string remedy = "write " + ShellQuote(value) + " if that is meant";
  if (outcome->status == kDone) {
    PrintWarning(value.substr(0, value.find('=')) + ": what follows counts as a file; " + remedy);
  } else {
    outcome->message += ", or " + remedy;
  }
}

}  // namespace gl3
