// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Starts the program once more and reads its progress, a JSON object per line.
#include "cli/farm/render_process.h"

#include <nlohmann/json.hpp>

#include "base/text.h"
#include "system/process.h"
#include "system/program_file.h"

namespace veltra::cli {
namespace {

void TakeLine(const std::string& line, RenderEnd& end, const std::function<void(int)>& onFrame) {
  const nlohmann::json json = nlohmann::json::parse(line, nullptr, false);
  if (!json.is_object()) {
    return;
  }
  const std::string event = json.value("event", "");
  const int frame = json.value("frame", -1);
  if (event == "frame" && frame >= 0) {
    end.done.push_back(frame);
    end.failed.erase(frame);
    onFrame(frame);
  } else if (event == "error" && frame >= 0) {
    end.failed[frame] = json.value("message", "failed");
  }
}

/// The last line of what it complained of, without the program's own name.
std::string Complaint(const std::string& errors) {
  const std::size_t last = errors.find_last_not_of('\n');
  if (last == std::string::npos) {
    return "";
  }
  const std::size_t before = errors.find_last_of('\n', last);
  std::string line = errors.substr(before == std::string::npos ? 0 : before + 1,
                                   last - (before == std::string::npos ? 0 : before + 1) + 1);
  constexpr std::string_view kOwnName = "veltra: ";
  return line.starts_with(kOwnName) ? line.substr(kOwnName.size()) : line;
}

std::string TroubleOf(const ProcessEnd& ended) {
  if (ended.Succeeded()) {
    return "";
  }
  if (ended.how == ProcessEnd::How::kSignalled) {
    return Text("the renderer was ended by ", ended.signal);
  }
  const std::string complaint = Complaint(ended.output);
  return complaint.empty() ? Text("the renderer ended with exit code ", ended.status) : complaint;
}

}  // namespace

RenderEnd RunRenderProcess(const std::string& scene, const std::vector<std::string>& options,
                           const std::function<void(int frame)>& onFrame) {
  std::vector<std::string> command = {ProgramFile().string(), "render"};
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {"--progress", "json", "--", scene});
  Process process(command, Process::Pipe::kFromChild);
  RenderEnd end;
  std::string line;
  for (char c = 0; process.Read(&c, 1) == 1;) {
    if (c != '\n') {
      line += c;
      continue;
    }
    TakeLine(line, end, onFrame);
    line.clear();
  }
  end.trouble = TroubleOf(process.Finish());
  return end;
}

}  // namespace veltra::cli
