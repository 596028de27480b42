// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The command line of one command: what it may have, reading it, and what help, manual page and
// completion script tell of it. The library that does the reading costs every source that includes
// its header long seconds, so command_line.cpp alone does.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace veltra::cli {

/// What follows the command's name on the command line.
using Arguments = std::vector<std::string>;

/// What follows it on the command line is no option, whatever it begins with.
constexpr std::string_view kEndOfOptions = "--";

/// An option, a flag or an argument that stands by its place, while it is being declared. Belongs
/// to its CommandLine and ends with it.
class DeclaredOption {
 public:
  explicit DeclaredOption(CLI::Option* option) : option_(option) {}

  /// What stands for the value in the help, as "FILE".
  DeclaredOption& Type(const std::string& placeholder);

  /// Under which heading the help lists it; with an empty one nobody is told of it.
  DeclaredOption& Group(const std::string& name);

  /// A command line without it is refused.
  DeclaredOption& Required();

  /// Of several values the last counts; without this, more than one is refused.
  DeclaredOption& LastCounts();

  /// Of one that keeps several values: it takes one each time that it is given.
  DeclaredOption& OneEachTime();

  /// Its function is called each time that it is given, not once with what counts.
  DeclaredOption& CalledEachTime();

 private:
  CLI::Option* option_;
};

/// What the manual page and the completion script need to know of an option.
struct OptionFacts {
  std::vector<std::string> longNames;   ///< without dashes; none where it stands by its place
  std::vector<std::string> shortNames;  ///< letters without dashes
  std::string shownName;                ///< all names, as "-o,--output", or that of its place
  std::string type;                     ///< what stands for the value; empty for a flag
  std::string help;
  std::string group;  ///< empty where nobody is told of it
  bool takesValue = false;
};

/// Declares what a command takes, and reads it. Names are "--long", "-s,--long", or "place" for
/// what stands by its place. What is read goes to variables or functions, which must outlive Read.
class CommandLine {
 public:
  /// `name` is the whole one, as "veltra render".
  CommandLine(const std::string& description, const std::string& name);
  ~CommandLine();

  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  DeclaredOption Option(const std::string& names, std::string& into, const std::string& help = {});

  /// Keeps the values of all times that it is given.
  DeclaredOption Option(const std::string& names, std::vector<std::string>& into,
                        const std::string& help = {});

  /// What `apply` throws goes through Read.
  DeclaredOption Option(const std::string& names,
                        const std::function<void(const std::string&)>& apply,
                        const std::string& help = {});

  DeclaredOption Flag(const std::string& names, bool& into, const std::string& help = {});

  DeclaredOption Flag(const std::string& names, const std::function<void()>& apply,
                      const std::string& help = {});

  /// What the help says after the options.
  void Footer(const std::string& text);

  /// Reads the arguments. Returns false when help, or the command's part of the manual page or of
  /// the completion script, was asked for and printed; throws UsageError for what the command line
  /// should not have.
  bool Read(const Arguments& arguments);

  std::string Name() const;
  std::string Description() const;
  std::string FooterText() const;

  /// The headings of the help, in its order; an empty one where there are hidden options.
  std::vector<std::string> Groups() const;

  /// All that was declared and --help, in the order of the declarations.
  std::vector<OptionFacts> Options() const;

 private:
  std::unique_ptr<CLI::App> parser_;
};

/// The name that differs from the wrong one in the fewest letters; empty where nothing is close.
std::string NearestName(const std::string& wrong, const std::vector<std::string>& names);

}  // namespace veltra::cli
