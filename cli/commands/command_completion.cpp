// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra completion`: the script for bash, from the same declarations as the help.
#include <algorithm>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "check/test_list.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/settings/hosts.h"
#include "cli/settings/options.h"

namespace veltra::cli {
namespace {

std::string Joined(const std::vector<std::string>& names, std::string_view before,
                   std::string_view between) {
  std::string text;
  for (const std::string& name : names) {
    text += Text(text.empty() ? "" : between, before, name);
  }
  return text;
}

std::string TestNames() {
  std::string names;
  for (const check::Test& test : check::AllTests()) {
    names += Text(names.empty() ? "" : " ", test.name);
  }
  return names;
}

/// What may follow an option, blank-separated; empty where anything may.
std::string ChoicesOf(const std::string& name, std::string type) {
  if (name == "host") {
    return Text(HostNames(" "), " ", kListHosts);
  }
  if (name == "only") {
    return TestNames();
  }
  if (name == "scheduler") {
    return "slurm list";
  }
  if (const OptionSpec* option = FindOption(name); option != nullptr) {
    return option->choices;
  }
  const bool isList = type.find('|') != std::string::npos;
  std::replace(type.begin(), type.end(), '|', ' ');
  return isList ? type : "";
}

/// What completes the word after an option that takes a value.
std::string ValueArm(const OptionFacts& option) {
  const std::vector<std::string>& names = option.longNames;
  std::string pattern = Joined(names, "--", "|");
  for (const std::string& letter : option.shortNames) {
    pattern += Text("|-", letter);
  }
  const std::string choices = ChoicesOf(names.front(), option.type);
  const OptionSpec* known = FindOption(names.front());
  const bool isPath = option.type == "FILE" || (known != nullptr && known->isPath);
  const std::string action = isPath ? "_veltra_files; "
                             : choices.empty()
                                 ? ""
                                 : Text("COMPREPLY=($(compgen -W '", choices, "' -- \"$cur\")); ");
  return Text("        ", pattern, ") ", action, "return ;;\n");
}

constexpr const char* kHead = R"(# bash completion for veltra; made by: veltra completion
_veltra_files() {
  local IFS=$'\n'
  compopt -o filenames 2>/dev/null
  COMPREPLY=($(compgen -f -- "$cur"))
}

_veltra() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} words=--help
  COMPREPLY=()
  # The shell cuts --depth=fl into three words.
  if [ "$cur" = = ]; then
    cur=
  elif [ "$prev" = = ] && [ "$COMP_CWORD" -gt 2 ]; then
    prev=${COMP_WORDS[COMP_CWORD-2]}
  fi
  if [ "$COMP_CWORD" -eq 1 ]; then
    COMPREPLY=($(compgen -W 'COMMANDS help --version --help' -- "$cur"))
    return
  fi
  case ${COMP_WORDS[1]} in
)";

constexpr const char* kTail = R"(  esac
  case $cur in
    -*) COMPREPLY=($(compgen -W "$words" -- "$cur")) ;;
    *) _veltra_files ;;
  esac
}

complete -F _veltra veltra
)";

std::string ScriptHead() {
  constexpr std::string_view kPlace = "COMMANDS";
  std::vector<std::string> commands;
  for (const Command& command : Commands()) {
    commands.emplace_back(command.name);
  }
  std::string text = kHead;
  return text.replace(text.find(kPlace), kPlace.size(), Joined(commands, "", " "));
}

}  // namespace

std::string CompletionCase(const CommandLine& commandLine) {
  std::string words;
  std::string arms;
  for (const OptionFacts& option : commandLine.Options()) {
    const std::vector<std::string>& names = option.longNames;
    if (names.empty() || option.group.empty()) {
      continue;  // what stands by its place, and what nobody is told of
    }
    words += Text(words.empty() ? "" : " ", Joined(names, "--", " "));
    if (option.takesValue) {
      arms += ValueArm(option);
    }
  }
  const std::string name = commandLine.Name();
  return Text("    ", name.substr(name.find(' ') + 1), ")\n      case $prev in\n", arms,
              "      esac\n      words='", words, "' ;;\n");
}

int RunCompletion(const Arguments& arguments) {
  std::string shell = "bash";
  CommandLine commandLine("Prints the completion script: source <(veltra completion)",
                          "veltra completion");
  commandLine.Option("shell", shell, "bash").Type("[bash]");
  if (!commandLine.Read(arguments)) {
    return kExitDone;
  }
  if (shell != "bash") {
    throw UsageError(Text("'", shell, "' is not a known shell (expected bash)"));
  }
  Print(stdout, ScriptHead());
  for (const Command& command : Commands()) {
    command.run({kCompletionCase});
  }
  Print(stdout, kTail);
  return kExitDone;
}

}  // namespace veltra::cli
