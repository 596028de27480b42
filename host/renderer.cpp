// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The course of one frame, smart or classic.

#include "host/renderer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "host/frame_sequence.h"
#include "host/pixels/transfer.h"
#include "host/pixels/world_view.h"
#include "host/suites/tables.h"
#include "system/dynamic_library.h"

namespace veltra::host {
namespace {

// ---- Settings ----

std::string SizeText(A_long width, A_long height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

/// Why an image cannot stand for a parameter; empty when it can. Sizes of 0 mean any.
std::string WorldTrouble(const World& world, const std::string& what, Depth depth, A_long width,
                         A_long height) {
  if (world.Empty()) {
    return what + " has no pixels";
  }
  if (world.PixelDepth() != depth) {
    return what + " has depth " + DepthName(world.PixelDepth()) + " (expected " + DepthName(depth) +
           ", the depth of the render)";
  }
  if (width > 0 && (world.Width() != width || world.Height() != height)) {
    return what + " has " + SizeText(world.Width(), world.Height()) + " pixels (expected " +
           SizeText(width, height) + ")";
  }
  return {};
}

std::string FrameTrouble(const World* frame, const RenderSettings& settings) {
  return frame == nullptr ? std::string()
                          : WorldTrouble(*frame, "the frame", settings.depth,
                                         DownsampledLength(settings.width, settings.downsample),
                                         DownsampledLength(settings.height, settings.downsample));
}

std::string ImagesTrouble(const Effect& effect, const RenderSettings& settings) {
  if (std::string trouble = FrameTrouble(settings.input, settings); !trouble.empty()) {
    return trouble;
  }
  for (const auto& [index, world] : settings.layers) {
    const bool isLayer =
        index >= 1 && index < effect.ParamCount() &&
        effect.Controls()[static_cast<std::size_t>(index - 1)].type == PF_Param_LAYER;
    if (!isLayer) {
      return "control " + std::to_string(index) + " is not a layer";
    }
    if (world != nullptr) {
      std::string trouble = WorldTrouble(*world, "the layer", settings.depth, 0, 0);
      if (!trouble.empty()) {
        return trouble;
      }
    }
  }
  return {};
}

std::string ModeTrouble(const Effect& effect, const RenderSettings& settings) {
  if (effect.IsAudioOnly()) {
    return "the effect works on sound only and has no picture to render";
  }
  if (settings.mode == RenderMode::kClassic && settings.depth == Depth::kFloat) {
    return "classic render knows depths 8 and 16 only (use smart render for float)";
  }
  if (settings.mode == RenderMode::kSmart && !effect.SupportsSmartRender()) {
    return "the effect does not support smart render (use classic render)";
  }
  if (!effect.SupportsDepth(settings.depth)) {
    return std::string("the effect does not support depth ") + DepthName(settings.depth);
  }
  return {};
}

/// Why these settings cannot be rendered, in one line; empty when they can.
std::string SettingsTrouble(const Effect& effect, const RenderSettings& settings) {
  if (std::string trouble = WorldSizeError(settings.width, settings.height); !trouble.empty()) {
    return trouble;
  }
  if (settings.downsample < 1 || settings.downsample > kHostMaxWorldSide) {
    return "the downsampling factor is " + std::to_string(settings.downsample) +
           " (expected at least 1)";
  }
  if (settings.pixelAspect.num < 1 || settings.pixelAspect.den < 1) {
    return "the pixel aspect ratio is not positive";
  }
  if (settings.timeScale == 0) {
    return "the time scale is 0";
  }
  if (settings.region && !IsEmpty(*settings.region)) {
    const PF_LRect& region = *settings.region;
    std::string trouble = WorldSizeError(std::int64_t{region.right} - region.left,
                                         std::int64_t{region.bottom} - region.top);
    if (!trouble.empty()) {
      return trouble;
    }
  }
  for (const auto& [index, value] : settings.controls) {
    if (index < 1 || index >= effect.ParamCount()) {
      return "there is no control " + std::to_string(index);
    }
  }
  if (std::string trouble = ModeTrouble(effect, settings); !trouble.empty()) {
    return trouble;
  }
  return ImagesTrouble(effect, settings);
}

}  // namespace

// ---- One frame ----

// How many times its pixels a frame may grow to, and how many pixels every frame may grow to.
constexpr std::int64_t kLargestGrowth = 4;
constexpr std::int64_t kAlwaysGrowsTo = std::int64_t{4096} * 4096;

/// Renders one frame within one session.
class FrameRender : private FrameCommands {
 public:
  FrameRender(const Effect& effect, const RenderSettings& settings)
      : effect_(effect),
        settings_(settings),
        entry_(effect.Library().MainEntry()),
        session_(effect.Context(), &settings),
        sequence_(effect, settings, session_, *this),
        region_(settings.region.value_or(session_.FrameRect())) {
    session_.input = settings.input;
    session_.readInput = [this] { return ReadInput(); };
  }

  RenderResult Run() {
    result_.outFlags = effect_.OutFlags();
    result_.outFlags2 = effect_.OutFlags2();
    if (sequence_.SetUp()) {
      if (!QueryFlags()) {
        // Nothing is rendered with flags that nobody knows.
      } else if (settings_.mode == RenderMode::kSmart) {
        RunSmart();
      } else {
        RunClassic();
      }
      sequence_.SetDown();
    }
    Finish();
    return std::move(result_);
  }

 private:
  // ---- Commands ----

  bool Send(PF_Cmd command, const char* name, PF_ParamDef** params, void* extra) override {
    return SendWithOutput(command, name, params, nullptr, extra);
  }

  bool Send(PF_Cmd command, const char* name) { return Send(command, name, nullptr, nullptr); }

  bool SendUpdate(PF_ParamDef** params) override {
    const PF_Err error = session_.Send(entry_, PF_Cmd_UPDATE_PARAMS_UI, params);
    const bool hostFailed = TellHostFailure();
    if (!hostFailed && error != PF_Err_NONE) {
      session_.accounts.Broke(Rule::kUpdateFailed, session_.FailureText("UPDATE_PARAMS_UI", error));
    }
    return !hostFailed;
  }

  /// Sends a command; a failure becomes the frame's, unless it has one already.
  bool SendWithOutput(PF_Cmd command, const char* name, PF_ParamDef** params, PF_LayerDef* output,
                      void* extra) {
    const PF_Err error = session_.Send(entry_, command, params, output, extra);
    const bool hostFailed = TellHostFailure();
    if (!hostFailed && error != PF_Err_NONE) {
      Fail(error, session_.FailureText(name, error));
    }
    return error == PF_Err_NONE && !hostFailed;
  }

  /// Where the host could not give what was asked for, that is the reason, whatever came of it.
  bool TellHostFailure() {
    const std::string hostFailure = session_.HostFailure();
    if (!hostFailure.empty()) {
      Fail(PF_Err_BAD_CALLBACK_PARAM, hostFailure);
    }
    return !hostFailure.empty();
  }

  void Fail(PF_Err error, const std::string& text) override {
    if (result_.error == PF_Err_NONE) {
      result_.error = error;
      result_.errorText = error == PF_Interrupt_CANCEL ? "interrupted" : text;
    }
  }

  /// Flags that may differ from frame to frame.
  bool QueryFlags() {
    if ((effect_.OutFlags2() & PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS) == 0) {
      return true;
    }
    const bool done = Send(PF_Cmd_QUERY_DYNAMIC_FLAGS, "QUERY_DYNAMIC_FLAGS");
    session_.accounts.TakeBackParameters();
    if (done) {
      result_.outFlags = session_.OutData().out_flags;
      result_.outFlags2 = session_.OutData().out_flags2;
    }
    return done;
  }

  // ---- Worlds ----

  /// A cleared world over `rect`; reports what prevents it.
  bool MakeCanvas(const PF_LRect& rect, World& canvas) {
    const WorldLayout layout =
        settings_.hooks != nullptr ? settings_.hooks->OutputLayout() : WorldLayout{};
    auto made =
        World::Create(rect.right - rect.left, rect.bottom - rect.top, settings_.depth, layout);
    if (!made) {
      Fail(PF_Err_OUT_OF_MEMORY, made.ErrorText());
      return false;
    }
    canvas = std::move(*made);
    canvas.SetOrigin(rect.left, rect.top);
    canvas.SetPixelAspect(settings_.pixelAspect);
    return true;
  }

  static PF_EffectWorld WriteableView(const World& canvas, const PF_LRect& rect) {
    PF_EffectWorld view = canvas.View(rect);
    view.world_flags |= PF_WorldFlag_WRITEABLE;
    return view;
  }

  /// Makes the picture of the region out of a canvas that covers another rectangle.
  void CropToRegion(World canvas) {
    CheckGuard(canvas);
    World picture;
    if (!MakeCanvas(region_, picture)) {
      return;
    }
    PF_EffectWorld to = picture.View();
    const PF_LRect whole = BoundsOf(to);
    const PF_LRect from{whole.left + region_.left - canvas.OriginX(),
                        whole.top + region_.top - canvas.OriginY(),
                        whole.right + region_.left - canvas.OriginX(),
                        whole.bottom + region_.top - canvas.OriginY()};
    // An abort that the effect has seen already is for it to answer.
    const bool cancelledBefore = session_.WasCancelled();
    const PF_Err error = session_.WorkThrough([&](const RowWork& work) {
      return CopyWorld(canvas.View(), &from, to, &whole, true, work);
    });
    if (error != PF_Err_NONE && !cancelledBefore) {
      Fail(error, "the region could not be cut out");
    }
    result_.output = std::move(picture);
  }

  void CheckGuard(const World& canvas) {
    if (!canvas.Empty() && !canvas.GuardIntact()) {
      session_.accounts.Broke(Rule::kWroteOutsideOutput);
    }
  }

  /// Has the frame read, where that was left until it is needed; reports what prevents it.
  bool ReadInput() override {
    if (!settings_.readInput) {
      return true;
    }
    const std::lock_guard lock(readMutex_);
    if (inputIsRead_) {
      return true;
    }
    const Expected<const World*> read = settings_.readInput();
    std::string trouble = read ? FrameTrouble(*read, settings_) : read.ErrorText();
    if (!trouble.empty()) {
      Fail(PF_Err_BAD_CALLBACK_PARAM, trouble);
      return false;
    }
    session_.input = *read;
    inputIsRead_ = true;
    return true;
  }

  // ---- Smart render ----

  void RunSmart() {
    PF_PreRenderOutput answer{};
    bool done = PreRender(answer);
    if (done && !settings_.preRenderOnly && GrowRegion()) {
      DeletePreRenderData(answer);
      answer = {};
      session_.checkouts.Clear();
      done = PreRender(answer);
    }
    if (done && !settings_.preRenderOnly &&
        (!session_.accounts.Diagnostics().inputRequested || ReadInput())) {
      SmartRender(answer);
    }
    DeletePreRenderData(answer);
  }

  /// Where all of the output is wanted and the effect can fill more than the frame, the region
  /// becomes all that it can fill and the frame. What is out of all proportion, as of effects that
  /// fill the plane, is left at the frame.
  bool GrowRegion() {
    const PF_LRect& most = result_.maxResultRect;
    if (!settings_.wholeOutput || settings_.region || IsEmpty(most) || Contains(region_, most)) {
      return false;
    }
    const PF_LRect all = Union(region_, most);
    const std::int64_t width = std::int64_t{all.right} - all.left;
    const std::int64_t height = std::int64_t{all.bottom} - all.top;
    const std::int64_t framePixels = std::int64_t{region_.right} * region_.bottom;
    if (!WorldSizeError(width, height).empty() ||
        width * height > std::max(kLargestGrowth * framePixels, kAlwaysGrowsTo)) {
      return false;
    }
    region_ = all;
    return true;
  }

  PF_RenderRequest Request() const {
    PF_RenderRequest request{};
    request.rect = region_;
    request.field = PF_Field_FRAME;
    request.channel_mask = PF_ChannelMask_ARGB;
    return request;
  }

  bool PreRender(PF_PreRenderOutput& answer) {
    PF_PreRenderInput input{};
    input.output_request = Request();
    input.bitdepth = BitDepth(settings_.depth);
    PF_PreRenderExtra extra{&input, &answer, &PreRenderCallbacks()};
    session_.phase = SmartPhase::kPreRender;
    const bool done = Send(PF_Cmd_SMART_PRE_RENDER, "SMART_PRE_RENDER", nullptr, &extra);
    session_.phase = SmartPhase::kNone;
    session_.accounts.TakeBackParameters();
    return done && TakeRectangles(answer);
  }

  /// Whether an answered rectangle, in 64 bits, is one that a world can have; reports it otherwise.
  bool IsPossible(std::int64_t width, std::int64_t height, const char* what) {
    const bool possible = width >= 0 && height >= 0 &&
                          (width == 0 || height == 0 || WorldSizeError(width, height).empty());
    if (!possible) {
      Fail(PF_Err_BAD_CALLBACK_PARAM, std::string("the effect answers ") + what + " of " +
                                          std::to_string(width) + " x " + std::to_string(height) +
                                          " pixels (expected at most 30000 x 30000)");
    }
    return possible;
  }

  /// Keeps the rectangles that the effect answered, held to the rules; false for those that no
  /// world can have. The largest result may be as large as the effect likes: it is not made.
  bool TakeRectangles(const PF_PreRenderOutput& answer) {
    result_.maxResultRect = answer.max_result_rect;
    const PF_LRect& answered = answer.result_rect;
    if (!IsEmpty(answered) &&
        !IsPossible(std::int64_t{answered.right} - answered.left,
                    std::int64_t{answered.bottom} - answered.top, "a result")) {
      return false;
    }
    PF_LRect rect = IsEmpty(answer.result_rect) ? PF_LRect{0, 0, 0, 0} : answer.result_rect;
    if (!Contains(answer.max_result_rect, rect)) {
      session_.accounts.Broke(Rule::kResultBeyondMaximum);
    }
    const bool mayExceed = (answer.flags & PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS) != 0;
    if (!mayExceed && !Contains(region_, rect)) {
      session_.accounts.Broke(Rule::kResultBeyondRequest);
      rect = Intersection(rect, region_);
    }
    result_.resultRect = rect;
    return true;
  }

  /// Where the input's first pixel lies in the output, as effects align the two by it.
  void SetSmartOrigin(const PF_LRect& output) {
    const PF_LRect input = session_.checkouts.FirstOf(0);
    session_.InData().output_origin_x = IsEmpty(input) ? 0 : input.left - output.left;
    session_.InData().output_origin_y = IsEmpty(input) ? 0 : input.top - output.top;
  }

  void SmartRender(const PF_PreRenderOutput& answer) {
    const PF_LRect& rect = result_.resultRect;
    const bool extraPixels = !Contains(region_, rect);
    World canvas;
    if (IsEmpty(extraPixels ? rect : region_) ||
        !MakeCanvas(extraPixels ? rect : region_, canvas)) {
      return;
    }
    if (!IsEmpty(rect)) {
      session_.outputView = WriteableView(canvas, rect);
      SetSmartOrigin(rect);
      PF_SmartRenderInput input{};
      input.output_request = Request();
      input.bitdepth = BitDepth(settings_.depth);
      input.pre_render_data = answer.pre_render_data;
      PF_SmartRenderExtra extra{&input, &SmartRenderCallbacks()};
      session_.phase = SmartPhase::kRender;
      Send(PF_Cmd_SMART_RENDER, "SMART_RENDER", nullptr, &extra);
      session_.phase = SmartPhase::kNone;
    }
    if (extraPixels) {
      CropToRegion(std::move(canvas));
    } else {
      CheckGuard(canvas);
      result_.output = std::move(canvas);
    }
  }

  void DeletePreRenderData(const PF_PreRenderOutput& answer) {
    if (answer.pre_render_data == nullptr) {
      return;
    }
    if (answer.delete_pre_render_data_func == nullptr) {
      FreePreRenderData(answer.pre_render_data);
      return;
    }
    try {
      answer.delete_pre_render_data_func(answer.pre_render_data);
    } catch (...) {
      session_.accounts.Broke(Rule::kExceptionInDelete);
    }
  }

  /// A handle of this host goes back to it. Anything else would be freed by a host that shares the
  /// effect's C library, as this one does where both are ELF; elsewhere it may be another heap's.
  void FreePreRenderData(void* data) {
    if (DisposeHandle(static_cast<PF_Handle>(data))) {
      return;
    }
    if (LibrariesShareHeap()) {
      std::free(data);
    } else {
      session_.accounts.Broke(Rule::kDataWithoutDelete);
    }
  }

  // ---- Classic render ----

  void RunClassic() {
    const PF_LRect frame = session_.FrameRect();
    result_.maxResultRect = frame;
    result_.resultRect = Intersection(region_, frame);
    if (IsEmpty(region_) || !ReadInput() || !MakeParams()) {
      return;
    }
    World canvas;
    if (SendFrameSetup()) {
      if (TakeAnsweredSize() && !settings_.preRenderOnly) {
        RenderClassicCanvas(canvas);
      }
      session_.InData().output_origin_x = answeredOrigin_.h;
      session_.InData().output_origin_y = answeredOrigin_.v;
      Send(PF_Cmd_FRAME_SETDOWN, "FRAME_SETDOWN", paramPointers_.data(), nullptr);
    }
    if (settings_.preRenderOnly) {
      return;
    }
    if (settings_.wholeOutput && !settings_.region && !canvas.Empty()) {
      region_ = CanvasRect(canvas);
    }
    const bool whole = !canvas.Empty() && SameRect(region_, CanvasRect(canvas));
    if (whole) {
      CheckGuard(canvas);
      result_.output = std::move(canvas);
    } else if (!canvas.Empty()) {
      CropToRegion(std::move(canvas));
    } else if (result_.error == PF_Err_NONE) {
      MakeCanvas(region_, result_.output);  // an answer of no size is a transparent picture
    }
  }

  static bool SameRect(const PF_LRect& a, const PF_LRect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
  }

  static PF_LRect CanvasRect(const World& canvas) {
    return {canvas.OriginX(), canvas.OriginY(), canvas.OriginX() + canvas.Width(),
            canvas.OriginY() + canvas.Height()};
  }

  /// Asks for the output's size and place. The output handed over has the frame's size, as effects
  /// look at it that keep their size.
  bool SendFrameSetup() {
    const PF_LRect frame = session_.FrameRect();
    PF_EffectWorld output{};
    output.width = frame.right;
    output.height = frame.bottom;
    output.extent_hint = frame;
    MarkDepth(output, settings_.depth);
    if (UsesExtent()) {
      session_.InData().extent_hint = Intersection(region_, frame);
    }
    const bool done =
        SendWithOutput(PF_Cmd_FRAME_SETUP, "FRAME_SETUP", paramPointers_.data(), &output, nullptr);
    answeredWidth_ = session_.OutData().width;
    answeredHeight_ = session_.OutData().height;
    answeredOrigin_ = session_.OutData().origin;
    rendersNothing_ = (session_.OutData().out_flags & PF_OutFlag_NOP_RENDER) != 0;
    return done;
  }

  bool UsesExtent() const { return (effect_.OutFlags() & PF_OutFlag_USE_OUTPUT_EXTENT) != 0; }

  /// Keeps the rectangle that FRAME_SETUP answered; false where nothing is to be rendered.
  bool TakeAnsweredSize() {
    if (!IsPossible(answeredWidth_, answeredHeight_, "an output")) {
      return false;
    }
    const std::int64_t left = -std::int64_t{answeredOrigin_.h};
    const std::int64_t top = -std::int64_t{answeredOrigin_.v};
    if (std::max(std::abs(left), std::abs(top)) > kHostMaxWorldSide) {
      Fail(PF_Err_BAD_CALLBACK_PARAM,
           "the effect answers an origin of " + std::to_string(answeredOrigin_.h) + "," +
               std::to_string(answeredOrigin_.v) + " (expected at most 30000 from the frame's)");
      return false;
    }
    result_.maxResultRect = {static_cast<A_long>(left), static_cast<A_long>(top),
                             static_cast<A_long>(left) + answeredWidth_,
                             static_cast<A_long>(top) + answeredHeight_};
    result_.resultRect = Intersection(region_, result_.maxResultRect);
    return !IsEmpty(result_.maxResultRect);
  }

  void RenderClassicCanvas(World& canvas) {
    const PF_LRect& rect = result_.maxResultRect;
    if (!MakeCanvas(rect, canvas)) {
      return;
    }
    PF_EffectWorld output = WriteableView(canvas, rect);
    output.origin_x = 0;
    output.origin_y = 0;
    if (UsesExtent() && SameRect(rect, session_.FrameRect())) {
      output.extent_hint = result_.resultRect;
    }
    session_.InData().output_origin_x = answeredOrigin_.h;
    session_.InData().output_origin_y = answeredOrigin_.v;
    if (rendersNothing_ || (effect_.OutFlags() & PF_OutFlag_NOP_RENDER) != 0) {
      CopyWorld(params_[0].u.ld, nullptr, output, nullptr, true);
      return;
    }
    SendWithOutput(PF_Cmd_RENDER, "RENDER", paramPointers_.data(), &output, nullptr);
  }

  /// The values at the current time; of the layers only the effect's own input has pixels.
  bool MakeParams() {
    params_.resize(static_cast<std::size_t>(session_.ParamCount()));
    for (PF_ParamIndex index = 0; index < session_.ParamCount(); ++index) {
      PF_ParamDef& param = params_[static_cast<std::size_t>(index)];
      session_.FillParam(index, settings_.currentTime, settings_.timeScale, param);
      if (index == 0 && !MakeInput(param.u.ld)) {
        return false;
      }
      if (index > 0 && session_.IsLayer(index)) {
        param.u.ld = PF_LayerDef{};
      }
      paramPointers_.push_back(&param);
    }
    paramPointers_.push_back(nullptr);  // the list ends like a program's arguments
    return true;
  }

  /// The effect's own input, and its own copy for one that writes there.
  bool MakeInput(PF_LayerDef& input) {
    if (input.data == nullptr) {
      Fail(PF_Err_OUT_OF_MEMORY, "no memory for the input");
      return false;
    }
    if ((effect_.OutFlags() & PF_OutFlag_I_WRITE_INPUT_BUFFER) != 0) {
      if (!MakeCanvas(session_.FrameRect(), inputCopy_)) {
        return false;
      }
      PF_EffectWorld own = inputCopy_.View();
      own.extent_hint = input.extent_hint;
      own.world_flags |= PF_WorldFlag_WRITEABLE;
      CopyWorld(input, nullptr, own, nullptr, true);
      input = own;
    }
    input.pix_aspect_ratio = settings_.pixelAspect;
    input.origin_x = 0;
    input.origin_y = 0;
    return true;
  }

  // ---- The end ----

  void Finish() {
    session_.accounts.Close();
    if (result_.error == PF_Err_NONE && session_.WasCancelled()) {
      session_.accounts.Broke(Rule::kAbortIgnored);
      Fail(PF_Interrupt_CANCEL, {});
    }
    if (result_.error != PF_Err_NONE && result_.error != PF_Interrupt_CANCEL) {
      result_.output = World();
    }
    result_.effectMessage = session_.Message();
    result_.diagnostics = session_.accounts.Diagnostics();
  }

  const Effect& effect_;
  const RenderSettings& settings_;
  PF_MainEntryFn entry_;
  Session session_;
  FrameSequence sequence_;
  PF_LRect region_;
  std::mutex readMutex_;
  bool inputIsRead_ = false;  // guarded by readMutex_, as session_.input while a command runs
  RenderResult result_;

  // Of classic render.
  std::vector<PF_ParamDef> params_;
  std::vector<PF_ParamDef*> paramPointers_;
  World inputCopy_;  ///< for the effect to write
  A_long answeredWidth_ = 0;
  A_long answeredHeight_ = 0;
  PF_Point answeredOrigin_{0, 0};
  bool rendersNothing_ = false;
};

RenderResult RenderFrame(const Effect& effect, const RenderSettings& settings) {
  RenderResult result;
  result.errorText = SettingsTrouble(effect, settings);
  if (!result.errorText.empty()) {
    result.error = PF_Err_BAD_CALLBACK_PARAM;
    return result;
  }
  std::unique_lock lock(effect.CommandMutex(), std::defer_lock);
  if (!effect.SupportsThreadedRendering()) {
    lock.lock();
  }
  return FrameRender(effect, settings).Run();
}

}  // namespace veltra::host
