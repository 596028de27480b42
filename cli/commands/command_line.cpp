// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reads command lines with CLI11, and says in the program's words what is wrong with them.
#include "cli/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/commands.h"

namespace veltra::cli {
namespace {

[[noreturn]] void ThrowUnknownOption(const CLI::App& parser, const std::string& argument) {
  const std::string wrong = argument.substr(0, argument.find('='));
  std::vector<std::string> names;
  for (const CLI::Option* option : parser.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back(Text("--", name));
    }
  }
  const std::string nearest = NearestName(wrong, names);
  throw UsageError(Text("unknown option ", wrong,
                        nearest.empty() ? Text(" (see ", parser.get_name(), " --help)")
                                        : Text(" (did you mean ", nearest, "?)")));
}

/// Refuses what is no option and has no place. With it CLI11 keeps the mark of the options' end.
void RefuseRest(const CLI::App& parser) {
  const std::vector<std::string> rest = parser.remaining();
  const std::size_t first = !rest.empty() && rest.front() == kEndOfOptions ? 1 : 0;
  if (first == rest.size()) {
    return;
  }
  if (first == 0 && rest.front().starts_with('-')) {
    ThrowUnknownOption(parser, rest.front());
  }
  throw UsageError(Text("unexpected argument '", rest[first], "'"));
}

bool IsGivenTooOften(const CLI::Option& option) {
  return option.get_multi_option_policy() == CLI::MultiOptionPolicy::Throw &&
         option.count() > static_cast<std::size_t>(option.get_items_expected_max());
}

/// CLI11 words its messages for programmers; these are for people.
std::string ParseMessage(const CLI::App& parser, const CLI::ParseError& error) {
  std::string message = error.what();
  const std::size_t colon = message.find(": ");
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr && colon != std::string::npos) {
    const std::string name = message.substr(0, colon);
    const CLI::Option* option = parser.get_option_no_throw(name);
    return option != nullptr && IsGivenTooOften(*option)
               ? Text(name, " was given more than once (give it once)")
               : Text(name, " needs a value");
  }
  std::replace(message.begin(), message.end(), '\n', ' ');
  message[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(message[0])));
  return message;
}

bool ExpectsValue(const CLI::Option& option) {
  return option.get_items_expected_max() > 0;
}

/// Refuses what CLI11 would read otherwise than it was meant: -o=x as a file named "=x", --yaw= as
/// one whose value comes next, and a flag with a value as one that may be off.
void RefuseWrongEquals(const CLI::App& parser, const Arguments& arguments) {
  for (std::size_t i = 0; i < arguments.size() && arguments[i] != kEndOfOptions; ++i) {
    const std::string& argument = arguments[i];
    const bool isLong = argument.starts_with("--");
    const std::string name = argument.substr(0, isLong ? argument.find('=') : 2);
    const CLI::Option* option = name.starts_with('-') ? parser.get_option_no_throw(name) : nullptr;
    if (option == nullptr) {
      continue;
    }
    if (name.size() == argument.size()) {
      i += ExpectsValue(*option) ? 1U : 0U;  // the value may look like anything
      continue;
    }
    if (argument[name.size()] != '=') {
      continue;
    }
    if (!ExpectsValue(*option)) {
      throw UsageError(Text(name, " takes no value"));
    }
    const std::string value = argument.substr(name.size() + 1);
    if (value.empty()) {
      throw UsageError(Text(name, " needs a value"));
    }
    if (!isLong) {
      const std::vector<std::string>& names = option->get_lnames();
      throw UsageError(Text("'", argument, "': a short option takes its value without = (", name,
                            " ", value,
                            names.empty() ? "" : Text(", or --", names.front(), "=", value), ")"));
    }
  }
}

}  // namespace

// ---- Declaring ----

DeclaredOption& DeclaredOption::Type(const std::string& placeholder) {
  option_->type_name(placeholder);
  return *this;
}

DeclaredOption& DeclaredOption::Group(const std::string& name) {
  option_->group(name);
  return *this;
}

DeclaredOption& DeclaredOption::Required() {
  option_->required();
  return *this;
}

DeclaredOption& DeclaredOption::LastCounts() {
  option_->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  return *this;
}

DeclaredOption& DeclaredOption::OneEachTime() {
  option_->allow_extra_args(false);
  return *this;
}

DeclaredOption& DeclaredOption::CalledEachTime() {
  option_->trigger_on_parse();
  return *this;
}

CommandLine::CommandLine(const std::string& description, const std::string& name)
    : parser_(std::make_unique<CLI::App>(description, name)) {
  parser_->allow_windows_style_options(false);  // "/folder/in.png" is a file on every system
  parser_->allow_extras();                      // RefuseRest knows more to say of them
}

CommandLine::~CommandLine() = default;

DeclaredOption CommandLine::Option(const std::string& names, std::string& into,
                                   const std::string& help) {
  return DeclaredOption(parser_->add_option(names, into, help));
}

DeclaredOption CommandLine::Option(const std::string& names, std::vector<std::string>& into,
                                   const std::string& help) {
  return DeclaredOption(parser_->add_option(names, into, help));
}

DeclaredOption CommandLine::Option(const std::string& names,
                                   const std::function<void(const std::string&)>& apply,
                                   const std::string& help) {
  return DeclaredOption(parser_->add_option_function(names, apply, help));
}

DeclaredOption CommandLine::Flag(const std::string& names, bool& into, const std::string& help) {
  return DeclaredOption(parser_->add_flag(names, into, help));
}

DeclaredOption CommandLine::Flag(const std::string& names, const std::function<void()>& apply,
                                 const std::string& help) {
  return DeclaredOption(parser_->add_flag_callback(names, apply, help));
}

void CommandLine::Footer(const std::string& text) {
  parser_->footer(text);
}

// ---- Reading ----

bool CommandLine::Read(const Arguments& arguments) {
  if (arguments == Arguments{kManualSection}) {
    Print(stdout, ManualSection(*this));
    return false;
  }
  if (arguments == Arguments{kCompletionCase}) {
    Print(stdout, CompletionCase(*this));
    return false;
  }
  RefuseWrongEquals(*parser_, arguments);
  try {
    parser_->parse(Arguments(arguments.rbegin(), arguments.rend()));  // CLI11 takes them backwards
  } catch (const CLI::CallForHelp&) {
    Print(stdout, parser_->help());
    return false;
  } catch (const CLI::ParseError& error) {
    RefuseRest(*parser_);  // a misspelt option may be why another is missing
    throw UsageError(ParseMessage(*parser_, error));
  }
  RefuseRest(*parser_);
  return true;
}

// ---- What was declared ----

std::string CommandLine::Name() const {
  return parser_->get_name();
}

std::string CommandLine::Description() const {
  return parser_->get_description();
}

std::string CommandLine::FooterText() const {
  return parser_->get_footer();
}

std::vector<std::string> CommandLine::Groups() const {
  return parser_->get_groups();
}

std::vector<OptionFacts> CommandLine::Options() const {
  std::vector<OptionFacts> all;
  const CLI::App& parser = *parser_;
  for (const CLI::Option* option : parser.get_options()) {
    all.push_back({option->get_lnames(), option->get_snames(),
                   option->get_name(option->get_positional(), true), option->get_type_name(),
                   option->get_description(), option->get_group(), ExpectsValue(*option)});
  }
  return all;
}

std::string NearestName(const std::string& wrong, const std::vector<std::string>& names) {
  std::string best;
  std::size_t bestDistance = std::max<std::size_t>(2, wrong.size() / 3) + 1;
  for (const std::string& name : names) {
    std::vector<std::size_t> row(name.size() + 1);
    for (std::size_t i = 0; i < row.size(); ++i) {
      row[i] = i;
    }
    for (std::size_t i = 0; i < wrong.size(); ++i) {
      std::size_t diagonal = row[0];
      row[0] = i + 1;
      for (std::size_t j = 0; j < name.size(); ++j) {
        const std::size_t replaced = diagonal + (wrong[i] == name[j] ? 0 : 1);
        diagonal = row[j + 1];
        row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
      }
    }
    if (row.back() < bestDistance) {
      bestDistance = row.back();
      best = name;
    }
  }
  return best;
}

}  // namespace veltra::cli
