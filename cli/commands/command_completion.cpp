// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra completion`: the script for bash, from the same lists as the options.
#include <CLI/CLI.hpp>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "check/test_list.h"
#include "cli/commands/commands.h"
#include "cli/settings/controls.h"
#include "cli/settings/hosts.h"
#include "cli/settings/options.h"

namespace veltra::cli {
namespace {

/// One arm of the script's case: after this option, these words or file names.
std::string Arm(const std::string& names, const std::string& words, bool isPath) {
  if (isPath) {
    return Text("    ", names, ") _veltra_files; return ;;\n");
  }
  if (words.empty()) {
    return Text("    ", names, ") return ;;\n");
  }
  return Text("    ", names, ") COMPREPLY=($(compgen -W '", words, "' -- \"$cur\")); return ;;\n");
}

struct Script {
  std::string words;  ///< every option
  std::string arms;   ///< for options with a value
};

void AddOptionsTo(Script& script) {
  for (const OptionSpec& option : RenderOptionSpecs()) {
    script.words += Text(" --", option.name);
    std::string names = Text("--", option.name);
    if (option.shortName[0] != '\0') {
      names += Text("|-", option.shortName);
    }
    if (!option.IsFlag()) {
      const bool isHost = std::string_view(option.name) == "host";
      script.arms += Arm(names, isHost ? Text(HostNames(" "), " ", kListHosts) : option.choices,
                         option.isPath);
    }
  }
}

void AddControlsTo(Script& script) {
  std::vector<ControlOption> controls;
  std::shared_ptr<const host::Effect> effect;
  try {
    effect = LoadEffect("");
    controls = ControlOptions(*effect, TakenNames());
  } catch (const RenderError&) {
    // Without an effect beside the program there are no controls to complete.
  }
  for (const ControlOption& control : controls) {
    std::string names;
    const bool isSwitch = control.declaration->type == PF_Param_CHECKBOX;
    for (const std::string& name : control.names) {
      script.words += Text(" --", name);
      names += Text(names.empty() ? "" : "|", "--", name);
      if (isSwitch) {
        script.words += Text(" --no-", name);
      }
    }
    std::string choices;
    for (const std::string& choice : control.declaration->choices) {
      choices += Text(choices.empty() ? "" : " ", Slug(choice));
    }
    if (!isSwitch) {
      script.arms += Arm(names, choices, control.declaration->type == PF_Param_LAYER);
    }
  }
}

/// Returns the options of `veltra check`.
std::string AddCheckTo(Script& script) {
  std::string tests;
  for (const check::Test& test : check::AllTests()) {
    tests += Text(tests.empty() ? "" : " ", test.name);
  }
  script.arms += Arm("--only", tests, false);
  script.arms += Arm("--resource", "", true);
  script.arms += Arm("--strictness|--seed|--timeout", "", false);
  return "--strictness --seed --timeout --only --host --resource --json --list --verbose";
}

/// Returns the options of `veltra submit`.
std::string AddSubmitTo(Script& script) {
  script.arms += Arm("--scheduler", "slurm list", false);
  script.arms +=
      Arm("--chunk|--cpus|--memory|--partition|--account|--time|--array-limit|--sbatch|--name|--id",
          "", false);
  return "--chunk --cpus --memory --partition --account --time --array-limit --sbatch --name "
         "--any-version --again --dry-run --scheduler --wait --status --cancel --id --progress "
         "--quiet";
}

constexpr const char* kHead = R"(# bash completion for veltra; made by: veltra completion
_veltra_files() {
  local IFS=$'\n'
  compopt -o filenames 2>/dev/null
  COMPREPLY=($(compgen -f -- "$cur"))
}

_veltra() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
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
  case $prev in
)";

constexpr const char* kMiddle = R"(  esac
  case $cur in
    -*) ;;
    *) _veltra_files; return ;;
  esac
  case ${COMP_WORDS[1]} in
    render) COMPREPLY=($(compgen -W 'OPTIONS --help' -- "$cur")) ;;
    check) COMPREPLY=($(compgen -W 'CHECKS --help' -- "$cur")) ;;
    controls|about) COMPREPLY=($(compgen -W '--effect --host --json --help' -- "$cur")) ;;
    submit) COMPREPLY=($(compgen -W 'SUBMIT --help' -- "$cur")) ;;
    verify) COMPREPLY=($(compgen -W '--repair --threads --progress --quiet --help' -- "$cur")) ;;
    task) COMPREPLY=($(compgen -W '--finish --help' -- "$cur")) ;;
    sample) COMPREPLY=($(compgen -W '--size --help' -- "$cur")) ;;
    *) COMPREPLY=($(compgen -W '--help' -- "$cur")) ;;
  esac
}

complete -F _veltra veltra
)";

std::string Filled(std::string text, std::string_view place, const std::string& words) {
  const std::size_t at = text.find(place);
  return text.replace(at, place.size(), words);
}

}  // namespace

int RunCompletion(const Arguments& arguments) {
  std::string shell = "bash";
  CLI::App app("Prints the completion script: source <(veltra completion)", "veltra completion");
  app.add_option("shell", shell, "bash")->type_name("[bash]");
  if (!ParseArguments(app, arguments)) {
    return kExitDone;
  }
  if (shell != "bash") {
    throw UsageError(Text("'", shell, "' is not a known shell (expected bash)"));
  }
  Script script;
  AddOptionsTo(script);
  AddControlsTo(script);
  const std::string checks = AddCheckTo(script);
  const std::string submits = AddSubmitTo(script);
  std::string commands;
  for (const Command& command : Commands()) {
    commands += Text(commands.empty() ? "" : " ", command.name);
  }
  Print(stdout, Filled(kHead, "COMMANDS", commands), script.arms,
        Filled(Filled(Filled(kMiddle, "OPTIONS", script.words.substr(1)), "CHECKS", checks),
               "SUBMIT", submits));
  return kExitDone;
}

}  // namespace veltra::cli
