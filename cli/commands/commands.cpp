// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The list of commands, and what happens before and after each.
#include "cli/commands/commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <new>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/effect_location.h"
#include "cli/commands/version.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

constexpr std::array kCommands = {
    Command{"render", "place a layer onto a 360-degree frame, sequence or video", RunRender},
    Command{"view", "show a 360-degree frame as a camera or a globe", RunView},
    Command{"compare", "tell how two pictures, sequences or videos differ", RunCompare},
    Command{"controls", "list the controls that the effect declares", RunControls},
    Command{"about", "show what the effect says about itself", RunAbout},
    Command{"submit", "hand a scene to a farm", RunSubmit},
    Command{"verify", "look whether a scene's frames are all there and whole", RunVerify},
    Command{"task", "do one task of a submission (what a farm's nodes run)", RunTask},
    Command{"check", "check an effect library for what hosts rely on", RunCheck},
    Command{"sample", "draw a sample frame and layer to try things with", RunSample},
    Command{"completion", "print the completion script for bash", RunCompletion},
    Command{"manual", "print the manual page", RunManual},
};

void PrintHelp() {
  Print(stdout,
        "veltra: places a layer onto 360-degree (equirectangular) footage along a great circle\n"
        "\n"
        "usage: veltra COMMAND [OPTIONS]\n"
        "\n"
        "commands:\n");
  for (const Command& command : kCommands) {
    constexpr std::size_t kColumn = 13;
    Print(stdout, "  ", command.name, std::string(kColumn - command.name.size(), ' '),
          command.summary, "\n");
  }
  Print(stdout,
        "\n"
        "veltra COMMAND --help tells more; veltra --version prints the version.\n"
        "\n"
        "example:\n"
        "  veltra render --frame street.png --layer title.png --start 20%,45% --end 70%,45% -o "
        "out.png\n");
}

/// The name that differs in the fewest letters, or nothing close.
template <class Names>
std::string Nearest(const std::string& wrong, const Names& names) {
  std::string best;
  std::size_t bestDistance = std::max<std::size_t>(2, wrong.size() / 3) + 1;
  for (const auto& name : names) {
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
      best = std::string(name);
    }
  }
  return best;
}

[[noreturn]] void ThrowUnknownCommand(const std::string& name) {
  std::vector<std::string_view> names;
  names.reserve(kCommands.size());
  for (const Command& command : kCommands) {
    names.push_back(command.name);
  }
  const std::string nearest = Nearest(name, names);
  throw UsageError(
      Text("unknown command '", name, "'",
           nearest.empty() ? " (see veltra help)" : Text(" (did you mean ", nearest, "?)")));
}

int Dispatch(const Arguments& arguments) {
  if (arguments.empty()) {
    PrintHelp();
    return kExitUsage;
  }
  const std::string& name = arguments.front();
  if (name == "--version" || name == "-V" || name == "version") {
    Print(stdout, "veltra ", kProgramVersion, "\n");
    return kExitDone;
  }
  if (name == "help" && arguments.size() > 1) {
    return Dispatch({arguments[1], "--help"});
  }
  if (name == "help" || name == "--help" || name == "-h") {
    PrintHelp();
    return kExitDone;
  }
  for (const Command& command : kCommands) {
    if (command.name == name) {
      return command.run(Arguments(arguments.begin() + 1, arguments.end()));
    }
  }
  ThrowUnknownCommand(name);
}

[[noreturn]] void ThrowUnknownArgument(const CLI::App& app, const std::string& argument) {
  if (!argument.starts_with('-')) {
    throw UsageError(Text("unexpected argument '", argument, "'"));
  }
  const std::string wrong = argument.substr(0, argument.find('='));
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back(Text("--", name));
    }
  }
  const std::string nearest = Nearest(wrong, names);
  throw UsageError(Text("unknown option ", wrong,
                        nearest.empty() ? Text(" (see ", app.get_name(), " --help)")
                                        : Text(" (did you mean ", nearest, "?)")));
}

/// CLI11 words its messages for programmers; these are for people.
std::string ParseMessage(const CLI::ParseError& error) {
  std::string message = error.what();
  const std::size_t colon = message.find(": ");
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr && colon != std::string::npos) {
    return Text(message.substr(0, colon), " needs a value");
  }
  std::replace(message.begin(), message.end(), '\n', ' ');
  message[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(message[0])));
  return message;
}

}  // namespace

std::span<const Command> Commands() {
  return kCommands;
}

namespace {

/// -o=x would be a file named "=x".
void RefuseShortEquals(const CLI::App& app, const Arguments& arguments) {
  for (const std::string& argument : arguments) {
    if (argument.size() < 3 || argument[0] != '-' || argument[1] == '-' || argument[2] != '=') {
      continue;
    }
    const CLI::Option* option = app.get_option_no_throw(argument.substr(0, 2));
    if (option != nullptr) {
      const std::string value = argument.substr(3);
      const std::vector<std::string>& names = option->get_lnames();
      throw UsageError(Text("'", argument, "': a short option takes its value without = (",
                            argument.substr(0, 2), " ", value,
                            names.empty() ? "" : Text(", or --", names.front(), "=", value), ")"));
    }
  }
}

}  // namespace

bool ParseArguments(CLI::App& app, const Arguments& arguments) {
  app.allow_windows_style_options(false);  // "/folder/in.png" is a file on every system
  if (arguments == Arguments{kManualSection}) {
    Print(stdout, ManualSection(app));
    return false;
  }
  if (arguments == Arguments{kCompletionCase}) {
    Print(stdout, CompletionCase(app));
    return false;
  }
  RefuseShortEquals(app, arguments);
  app.allow_extras();
  try {
    app.parse(Arguments(arguments.rbegin(), arguments.rend()));  // CLI11 takes them backwards
  } catch (const CLI::CallForHelp&) {
    Print(stdout, app.help());
    return false;
  } catch (const CLI::ParseError& error) {
    throw UsageError(ParseMessage(error));
  }
  const std::vector<std::string> unknown = app.remaining();
  if (!unknown.empty()) {
    ThrowUnknownArgument(app, unknown.front());
  }
  return true;
}

std::shared_ptr<const host::Effect> LoadEffect(const std::string& path,
                                               const host::HostProfile& host) {
  auto effect = host::Effect::Open(path.empty() ? DefaultEffectPath() : PathOf(path), host);
  if (!effect) {
    throw RenderError(effect.ErrorText());
  }
  return std::move(*effect);
}

int RunProgram(const Arguments& arguments) {
  const auto complain = [](const char* message, int exitCode) {
    Flush(stdout);
    Print(stderr, "veltra: ", message, "\n");
    return exitCode;
  };
  try {
    const int exitCode = Dispatch(arguments);
    // Where nothing is buffered the flush has nothing to fail at.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      return complain("standard output cannot be written", kExitFailed);
    }
    return exitCode;
  } catch (const Interrupted& error) {
    return complain(error.what(), InterruptExitCode());
  } catch (const Error& error) {
    return complain(error.what(), error.ExitCode());
  } catch (const std::bad_alloc&) {
    return complain("not enough memory", kExitFailed);
  } catch (const std::exception& error) {
    return complain(error.what(), kExitFailed);
  }
}

}  // namespace veltra::cli
