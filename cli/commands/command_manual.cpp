// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra manual`: the manual page, from the same declarations as the help.
#include <cctype>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/commands/version.h"

namespace veltra::cli {
namespace {

/// Text as troff reads it: nothing in it is a request, and dashes can be copied from the page.
std::string Escaped(std::string_view text) {
  std::string escaped;
  bool lineStarts = true;
  for (const char letter : text) {
    if (lineStarts && (letter == '.' || letter == '\'')) {
      escaped += "\\&";
    }
    lineStarts = letter == '\n';
    if (letter == '\\') {
      escaped += "\\e";
    } else if (letter == '-') {
      escaped += "\\-";
    } else {
      escaped += letter;
    }
  }
  return escaped;
}

std::string UpperCase(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  return text;
}

/// "-o, --output FILE" and what it is for.
std::string OptionText(const OptionFacts& option) {
  std::string names = option.shownName;
  for (std::size_t at = names.find(','); at != std::string::npos; at = names.find(',', at + 2)) {
    names.insert(at + 1, 1, ' ');
  }
  return Text(".TP\n\\fB", Escaped(names), "\\fR",
              option.type.empty() ? "" : Text(" \\fI", Escaped(option.type), "\\fR"), "\n",
              Escaped(option.help), "\n");
}

std::string OptionsText(const CommandLine& commandLine) {
  std::string text;
  const std::vector<OptionFacts> options = commandLine.Options();
  for (const std::string& group : commandLine.Groups()) {
    if (group.empty()) {
      continue;  // those that nobody is told of
    }
    text += Text(".SS ", Escaped(group), "\n");
    for (const OptionFacts& option : options) {
      text += option.group == group ? OptionText(option) : "";
    }
  }
  return text;
}

std::string HeadText() {
  std::string text = Text(
      ".TH VELTRA 1 \"\" \"veltra ", kProgramVersion,
      "\" \"User Commands\"\n"
      ".SH NAME\n"
      "veltra \\- place a layer onto 360\\-degree (equirectangular) footage\n"
      ".SH SYNOPSIS\n"
      "\\fBveltra\\fR \\fICOMMAND\\fR [\\fIOPTIONS\\fR]\n"
      ".SH DESCRIPTION\n"
      "Lays a picture, a sequence or a video onto 360\\-degree footage along the great circle\n"
      "through two points. The work is done by an effect library, which the program looks\n"
      "for beside itself and then where it was installed.\n"
      ".SH COMMANDS\n");
  for (const Command& command : Commands()) {
    text += Text(".TP\n\\fB", command.name, "\\fR\n", Escaped(command.summary), "\n");
  }
  return text;
}

std::string TailText() {
  return Text(
      ".SH EXIT STATUS\n"
      ".TP\n0\nall was done\n"
      ".TP\n",
      kExitFailed, "\nan input, the effect or an output failed\n", ".TP\n", kExitUsage,
      "\nthe command line or the scene is wrong\n", ".TP\n", kExitInterrupted,
      "\ninterrupted; whole frames stay, parts of files do not\n");
}

}  // namespace

std::string ManualSection(const CommandLine& commandLine) {
  std::string text = Text(".SH ", UpperCase(Escaped(commandLine.Name())), "\n",
                          Escaped(commandLine.Description()), "\n", OptionsText(commandLine));
  if (const std::string footer = commandLine.FooterText(); !footer.empty()) {
    text += Text(".PP\n.nf\n", Escaped(footer), "\n.fi\n");
  }
  return text;
}

int RunManual(const Arguments& arguments) {
  CommandLine commandLine("Prints the manual page: veltra manual | man -l -", "veltra manual");
  if (!commandLine.Read(arguments)) {
    return kExitDone;
  }
  Print(stdout, HeadText());
  for (const Command& command : Commands()) {
    command.run({kManualSection});
  }
  Print(stdout, TailText());
  return kExitDone;
}

}  // namespace veltra::cli
