// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The list of commands, and what happens before and after each.
#include "cli/commands/commands.h"

#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
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

[[noreturn]] void ThrowUnknownCommand(const std::string& name) {
  std::vector<std::string> names;
  names.reserve(kCommands.size());
  for (const Command& command : kCommands) {
    names.emplace_back(command.name);
  }
  const std::string nearest = NearestName(name, names);
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

}  // namespace

std::span<const Command> Commands() {
  return kCommands;
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
