// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Slurm's commands and what they print.
#include "cli/farm/slurm.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string_view>

#include "base/error.h"
#include "base/text.h"
#include "system/process.h"

namespace veltra::cli {
namespace {

/// The first line of what one of Slurm's commands complained, which mostly begins with its name.
std::string Complaint(const std::string& name, const std::string& errors) {
  std::string line = errors.substr(0, errors.find('\n'));
  for (const std::string& prefix : {Text(name, ": "), std::string("error: ")}) {
    line = line.starts_with(prefix) ? line.substr(prefix.size()) : line;
  }
  return Text(name, ": ", line.empty() ? "failed" : line);
}

/// Runs one of Slurm's commands to its end and returns what it printed.
std::string OutputOf(const std::vector<std::string>& command, const std::string& name) {
  try {
    Process process(command, Process::Pipe::kFromChild);
    std::string output;
    std::array<char, 4096> block{};
    for (std::size_t got = block.size(); got == block.size();) {
      got = process.Read(block.data(), block.size());
      output.append(block.data(), got);
    }
    const ProcessEnd end = process.Finish();
    if (!end.Succeeded()) {
      throw RenderError(Complaint(name, end.output));
    }
    return output;
  } catch (const ProgramNotFound&) {
    throw RenderError(Text(name, ": not found (is Slurm installed on this machine?)"));
  }
}

/// The tasks that a line of squeue stands for: a task's number, or "[3-9,12%2]" for the waiting
/// ones of an array.
std::size_t TasksOf(const std::string& id) {
  const std::size_t open = id.find('[');
  if (open == std::string::npos) {
    return 1;
  }
  std::istringstream runs(id.substr(open + 1, id.find_first_of("%]", open) - open - 1));
  std::size_t count = 0;
  for (std::string run; std::getline(runs, run, ',');) {
    std::istringstream numbers(run);
    char dash = 0;
    std::size_t first = 0;
    std::size_t last = 0;
    const bool isRun = numbers >> first >> dash >> last && dash == '-' && last >= first;
    char colon = 0;
    std::size_t step = 1;
    const bool hasStep = numbers >> colon >> step && colon == ':' && step > 0;
    count += isRun ? (last - first) / (hasStep ? step : 1) + 1 : 1;
  }
  return count;
}

bool IsRunning(const std::string& state) {
  return state == "RUNNING" || state == "COMPLETING" || state == "CONFIGURING" ||
         state == "SUSPENDED" || state == "STOPPED" || state == "STAGE_OUT" || state == "SIGNALING";
}

bool HasEnded(const std::string& state) {
  return state == "COMPLETED" || state == "FAILED" || state == "CANCELLED" || state == "TIMEOUT" ||
         state == "NODE_FAIL" || state == "OUT_OF_MEMORY" || state == "BOOT_FAIL" ||
         state == "DEADLINE" || state == "REVOKED";
}

std::string QueueText() {
  try {
    // Without the variable long lists of tasks are cut.
    return OutputOf({"env", "SLURM_BITSTR_LEN=0", "squeue", "--me", "-h", "-o", "%F|%i|%T|%r"},
                    "squeue");
  } catch (const RenderError& error) {
    throw SchedulerSilent(error.what());
  }
}

/// How the cluster is set up, a line "NAME = VALUE" each.
std::string ConfigurationText() {
  try {
    return OutputOf({"scontrol", "show", "config"}, "scontrol");
  } catch (const RenderError& error) {
    throw RenderError(Text(error.what(), " (expected a machine that belongs to a Slurm cluster; ",
                           "--scheduler list does without)"));
  }
}

/// The digits at a place of a text as a number; 0 where there are none.
std::size_t NumberAt(const std::string& text, std::size_t place) {
  return std::strtoull(text.c_str() + place, nullptr, 10);
}

}  // namespace

std::size_t LargestArray() {
  std::istringstream lines(ConfigurationText());
  std::size_t largest = 0;
  std::size_t allowed = std::numeric_limits<std::size_t>::max();
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string name;
    char equals = 0;
    std::string value;
    words >> name >> equals >> value;
    if (name == "MaxArraySize") {
      largest = NumberAt(value, 0);
    } else if (name == "SchedulerParameters") {
      constexpr std::string_view kName = "max_array_tasks=";
      const std::size_t place = value.find(kName);
      allowed = place == std::string::npos ? allowed : NumberAt(value, place + kName.size());
    }
  }
  if (largest < 2 || allowed < 1) {
    throw RenderError(
        "scontrol: the cluster takes no job arrays (expected MaxArraySize of 2 or more)");
  }
  return std::min(largest - 1, allowed);  // MaxArraySize is the first index that is too large
}

NodeSize SmallestNode(const std::string& partition) {
  std::vector<std::string> command = {"sinfo", "-h", "-N", "-o", "%c %m"};
  if (!partition.empty()) {
    command.push_back(Text("--partition=", partition));
  }
  std::istringstream lines(OutputOf(command, "sinfo"));
  NodeSize smallest;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream numbers(line);
    int cpus = 0;
    int megabytes = 0;
    if (numbers >> cpus >> megabytes) {
      smallest.cpus = smallest.cpus == 0 ? cpus : std::min(smallest.cpus, cpus);
      smallest.knowsMemory = smallest.knowsMemory || megabytes > 1;  // 1 is Slurm's default
    }
  }
  smallest.cpus = std::max(smallest.cpus, 1);
  return smallest;
}

std::string SubmitScript(const std::vector<std::string>& options, const std::string& script) {
  std::vector<std::string> arguments = {"sbatch", "--parsable"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.push_back(script);
  std::string id = OutputOf(arguments, "sbatch");
  id.erase(std::find_if(id.begin(), id.end(), [](char c) { return c < '0' || c > '9'; }),
           id.end());  // the cluster's name may follow
  if (id.empty()) {
    throw RenderError("sbatch: no job id came back");
  }
  return id;
}

QueueCount CountQueue(const std::vector<std::string>& jobs) {
  QueueCount count;
  if (jobs.empty()) {
    return count;
  }
  // All jobs of the user rather than those asked for: a job that has left makes squeue fail.
  std::istringstream lines(QueueText());
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string job;
    std::string id;
    std::string state;
    std::string reason;
    std::getline(fields, job, '|');
    std::getline(fields, id, '|');
    std::getline(fields, state, '|');
    std::getline(fields, reason, '|');
    if (std::find(jobs.begin(), jobs.end(), job) == jobs.end() || HasEnded(state)) {
      continue;
    }
    if (IsRunning(state)) {
      count.running += TasksOf(id);
    } else {
      count.waiting += TasksOf(id);
      count.reasons[reason] += TasksOf(id);
    }
  }
  return count;
}

std::string Obstacles(const QueueCount& count) {
  constexpr std::array<std::string_view, 7> kTheirTurn = {
      "None", "Priority", "Resources", "Dependency", "BeginTime", "JobArrayTaskLimit", "Cleaning"};
  std::string text;
  for (const auto& [reason, tasks] : count.reasons) {
    if (std::find(kTheirTurn.begin(), kTheirTurn.end(), reason) == kTheirTurn.end()) {
      text += Text(text.empty() ? "" : ", ", Count(tasks, "task"), tasks == 1 ? " waits" : " wait",
                   " because of ", reason);
    }
  }
  return text;
}

void CancelJobs(const std::vector<std::string>& jobs) {
  for (const std::string& job : jobs) {
    static_cast<void>(OutputOf({"scancel", "--quiet", job}, "scancel"));
  }
}

}  // namespace veltra::cli
