// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The program's commands and what they share. A new command is a routine declared here and a
// line in the table of commands.cpp.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands/command_line.h"
#include "cli/job/job.h"
#include "host/effect.h"

namespace veltra::cli {

struct Command {
  std::string_view name;
  std::string_view summary;  ///< one line for the list of commands
  /// Does the work and returns the exit code; throws Error for a failure with its own.
  int (*run)(const Arguments& arguments);
};

/// All commands, in the order of the help.
std::span<const Command> Commands();

int RunRender(const Arguments& arguments);
int RunControls(const Arguments& arguments);
int RunAbout(const Arguments& arguments);
int RunCheck(const Arguments& arguments);
int RunSubmit(const Arguments& arguments);
int RunVerify(const Arguments& arguments);
int RunTask(const Arguments& arguments);
int RunSample(const Arguments& arguments);
int RunView(const Arguments& arguments);
int RunCompare(const Arguments& arguments);
int RunCompletion(const Arguments& arguments);
int RunManual(const Arguments& arguments);

/// The only argument of a command that prints its part of the manual page and does nothing else.
inline constexpr const char* kManualSection = "--manual-section";

/// What the command with this command line has to say in the manual page, as troff.
std::string ManualSection(const CommandLine& commandLine);

/// The same for the completion script.
inline constexpr const char* kCompletionCase = "--completion-case";

/// What the script does within the command with this command line, as an arm of bash's case.
std::string CompletionCase(const CommandLine& commandLine);

/// Opens and sets up the effect of this path, or the one beside the program where the path is
/// empty, as that host. Throws RenderError.
std::shared_ptr<const host::Effect> LoadEffect(const std::string& path,
                                               const host::HostProfile& host = host::DefaultHost());

/// The job that a scene file describes. Throws Error.
RenderJob JobOfScene(const std::string& path);

/// Writes a scene file once more, for a folder of its own, with its effects and, unless empty, its
/// frames spelled out:
/// it renders the same, whatever becomes of the one that it was read from. Throws Error.
void FreezeScene(const std::string& from, const std::string& frames, const std::string& to);

/// Runs the program: `arguments` without the program's own name. Prints failures on standard
/// error and returns the exit code.
int RunProgram(const Arguments& arguments);

}  // namespace veltra::cli
