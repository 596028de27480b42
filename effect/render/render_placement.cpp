// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Frame kernels.

#include "effect/render/render_placement.h"

#include <algorithm>

#include "effect/context/require.h"
#include "effect/params/params_setup.h"
#include "effect/placement/path_geometry.h"
#include "effect/render/pixel/frame_tables.h"
#include "effect/render/pixel/pixel_depths.h"
#include "effect/render/smart_pre_render.h"
#include "numerics/convert.h"

namespace veltra {
namespace {

// ---- Controls ----

struct Controls {
  FramePoint startPoint;
  FramePoint endPoint;
  double sizeDegrees;
  double travel;   ///< fraction
  double opacity;  ///< fraction
  bool filtering;
  bool composite;
  std::int32_t mode;
};

class ControlReader {
 public:
  explicit ControlReader(const PF_InData& inData) : in_(inData) {}

  FramePoint Point(ParamIndex index) const {
    const PF_PointDef point = Param(index).u.td;
    return {point.x_value / kFixedOne, point.y_value / kFixedOne};
  }
  std::int32_t Choice(ParamIndex index) const { return FirstWord(Param(index)); }
  double Fixed(ParamIndex index) const {
    return ReadParamFixed(in_, index, in_.current_time, in_.time_step, in_.time_scale);
  }
  bool Flag(ParamIndex index) const {
    return ReadParamFlag(in_, index, in_.current_time, in_.time_step, in_.time_scale);
  }

 private:
  PF_ParamDef Param(ParamIndex index) const {
    return ReadParam(in_, index, in_.current_time, in_.time_step, in_.time_scale);
  }

  const PF_InData& in_;
};

Controls ReadControls(const PF_InData& inData) {
  const ControlReader read(inData);
  Controls controls{};
  controls.startPoint = read.Point(kParamStartPoint);
  controls.endPoint = read.Point(kParamEndPoint);
  controls.sizeDegrees = read.Fixed(kParamSizeDegrees);
  controls.travel = read.Fixed(kParamTravel) * 0.01;
  controls.opacity = read.Fixed(kParamOpacity) * 0.01;
  controls.filtering = read.Flag(kParamSphericalFiltering);
  controls.composite = read.Flag(kParamComposite);
  controls.mode = read.Choice(kParamLayerPlacement);
  return controls;
}

// ---- Output ----

PF_LRect Moved(const PF_LRect& rect, A_long dx, A_long dy) {
  using numerics::WrappingAdd;
  return {WrappingAdd(rect.left, dx), WrappingAdd(rect.top, dy), WrappingAdd(rect.right, dx),
          WrappingAdd(rect.bottom, dy)};
}

/// Smart render may hand over an output that is only a part of the frame, or an input that is: the
/// input goes where it lies relative to the output, the rest stays transparent.
PF_Err CopyInputSmart(const RenderContext& context, const PF_UtilCallbacks& utils) {
  const PF_ProgPtr effectRef = context.inData->effect_ref;
  PF_EffectWorld& output = *context.output;
  const PF_Err filled = utils.fill(effectRef, nullptr, nullptr, &output);
  PF_EffectWorld* input = context.input;
  if (input == nullptr || input->width < 1 || input->height < 1) {
    return filled;
  }
  PF_LRect from = input->extent_hint;
  PF_LRect to = Moved(from, numerics::WrappingSubtract(input->origin_x, output.origin_x),
                      numerics::WrappingSubtract(input->origin_y, output.origin_y));
  return utils.copy(effectRef, input, &output, &from, &to);
}

/// Clears the output or lays the input frame into it. The result is that of the last call made.
PF_Err PrepareOutput(const RenderContext& context, bool composite) {
  const PF_UtilCallbacks& utils = Require(context.inData->utils);
  const PF_ProgPtr effectRef = context.inData->effect_ref;
  PF_EffectWorld& output = *context.output;
  if (!composite) {
    return utils.fill(effectRef, nullptr, &output.extent_hint, &output);
  }
  if (context.smartExtra != nullptr) {
    return CopyInputSmart(context, utils);
  }
  PF_LRect from = output.extent_hint;
  PF_LRect to = output.extent_hint;
  return utils.copy(effectRef, context.input, &output, &from, &to);
}

// ---- Layer and frame ----

/// A world whose size names no pixel is taken for no layer, whatever its data pointer says.
bool HasPixels(const PF_LayerDef* layer) {
  return layer != nullptr && layer->width > 0 && layer->height > 0;
}

struct Frame {
  FrameSize size;
  double originOffsetX;
  double originOffsetY;
};

Frame FrameOf(const RenderContext& context, const ScaleFactors& scale) {
  const PF_EffectWorld& output = *context.output;
  if (context.smartExtra == nullptr) {
    return {{static_cast<double>(output.width), static_cast<double>(output.height)}, 0.0, 0.0};
  }
  return {ComputeFrameSize(*context.inData, scale), -static_cast<double>(output.origin_x),
          -static_cast<double>(output.origin_y)};
}

/// The layer's inverted pixel aspect ratio. A smart render whose layer world says nothing falls
/// back on what the pre-render noted; data that somebody else left there is refused.
PF_Err ReadLayerAspect(const RenderContext& context, const PF_LayerDef& layer, double* aspect) {
  const PF_RationalScale& ratio = layer.pix_aspect_ratio;
  const double inverse = static_cast<double>(ratio.den) / static_cast<double>(ratio.num);
  *aspect = inverse;
  if (context.smartExtra == nullptr || (ratio.num != 0 && ratio.den != 0)) {
    return PF_Err_NONE;
  }
  *aspect = 1.0;
  const void* data = Require(context.smartExtra->input).pre_render_data;
  if (data == nullptr) {
    return PF_Err_NONE;
  }
  if (!IsPreRenderRecord(data)) {
    return PF_Err_OUT_OF_MEMORY;
  }
  *aspect = static_cast<const PreRenderRecord*>(data)->inversePixelAspect;
  return PF_Err_NONE;
}

void FillGeometry(const RenderContext& context, const Controls& controls, const PF_LayerDef& layer,
                  double layerAspect, const ScaleFactors& scale, PlacementRecord* record) {
  const PF_InData& inData = *context.inData;
  const Frame frame = FrameOf(context, scale);
  record->originOffsetX = frame.originOffsetX;
  record->originOffsetY = frame.originOffsetY;

  GeometryInputs in{};
  in.startPoint = controls.startPoint;
  in.endPoint = controls.endPoint;
  in.frameWidth = frame.size.width;
  in.frameHeight = frame.size.height;
  in.travel = controls.travel;
  in.mode = controls.mode;
  in.halfBandAngle = record->halfBandAngle;
  in.layerWidth = layer.width;
  in.layerHeight = layer.height;
  in.layerAspect = layerAspect;
  in.downsampleX = static_cast<double>(inData.downsample_x.num) / inData.downsample_x.den;
  in.downsampleY = static_cast<double>(inData.downsample_y.num) / inData.downsample_y.den;
  ComputePlacementGeometry(in, inData.utils->ansi, record);
}

// ---- Kernel ----

template <class Depth>
PF_Err IteratePixels(PF_InData* inData, A_long progressBase, A_long progressFinal,
                     PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                     PF_IteratePixelFn<typename Depth::Pixel> pixelFn, PF_EffectWorld* dst) {
  const ScopedSuite<typename Depth::IterateSuite> suite(Require(Require(inData).pica_basicP));
  return Require(suite.Get())
      .iterate(inData, progressBase, progressFinal, src, area, refcon, pixelFn, dst);
}

template <class Depth>
PF_Err Iterate(RenderContext* context, const Controls& controls, PlacementRecord* record) {
  const auto* sampling = context->suites.Acquire<typename Depth::SamplingSuite>();
  if (controls.filtering) {
    record->areaSample = reinterpret_cast<AnySampleFn>(sampling->*Depth::kArea);
  } else {
    record->subpixelSample = reinterpret_cast<AnySampleFn>(sampling->*Depth::kSubpixel);
  }
  const PF_LRect& extent = context->output->extent_hint;
  const A_long rows = numerics::WrappingSubtract(extent.bottom, extent.top);
  TabledRecord tabled(*record, std::min(extent.right, context->output->width),
                      std::min(extent.bottom, context->output->height));
  return IteratePixels<Depth>(
      context->inData, 0, rows, nullptr, &extent, static_cast<PlacementRecord*>(&tabled),
      controls.filtering ? Depth::kPlacePixelFiltered : Depth::kPlacePixel, context->output);
}

template <class Depth>
PF_Err RenderPlacement(RenderContext* context) {
  const ScaleFactors scale = ComputeScaleFactors(*context->inData);
  const Controls controls = ReadControls(*context->inData);
  ParamCheckout layerScope(context, kParamLayer);
  PF_Err err = PrepareOutput(*context, controls.composite);
  if (err != PF_Err_NONE) {
    return err;
  }

  // Zeroed whole: the samplers get the parameter block as it stands, and zero there means that
  // everything outside the layer is transparent.
  PlacementRecord record{};
  record.opacity = static_cast<float>(controls.opacity);
  record.halfBandAngle = HalfBandAngle(controls.sizeDegrees);
  if (!(record.opacity > 0.0F) || !(record.halfBandAngle > 0.0)) {
    return PF_Err_NONE;
  }

  PF_LayerDef* layer = nullptr;
  err = layerScope.CheckoutWorld(&layer);
  if (err != PF_Err_NONE || !HasPixels(layer)) {
    return err;
  }
  if (controls.mode == kSolo) {
    record.halfBandAngle =
        SoloHalfBandAngle(controls.sizeDegrees, layer->width, layer->height, scale);
    if (!(record.halfBandAngle > 0.0)) {
      return PF_Err_NONE;
    }
  }

  double layerAspect = 1.0;
  err = ReadLayerAspect(*context, *layer, &layerAspect);
  if (err != PF_Err_NONE) {
    return err;
  }
  FillGeometry(*context, controls, *layer, layerAspect, scale, &record);
  record.effectRef = context->inData->effect_ref;
  record.samplingParams.src = layer;
  record.inData = context->inData;
  return Iterate<Depth>(context, controls, &record);
}

}  // namespace

PF_Err IteratePixels8(PF_InData* inData, A_long progressBase, A_long progressFinal,
                      PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                      PF_IteratePixelFn<PF_Pixel8> pixelFn, PF_EffectWorld* dst) {
  return IteratePixels<Depth8>(inData, progressBase, progressFinal, src, area, refcon, pixelFn,
                               dst);
}

PF_Err IteratePixels16(PF_InData* inData, A_long progressBase, A_long progressFinal,
                       PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                       PF_IteratePixelFn<PF_Pixel16> pixelFn, PF_EffectWorld* dst) {
  return IteratePixels<Depth16>(inData, progressBase, progressFinal, src, area, refcon, pixelFn,
                                dst);
}

PF_Err IteratePixelsFloat(PF_InData* inData, A_long progressBase, A_long progressFinal,
                          PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                          PF_IteratePixelFn<PF_PixelFloat> pixelFn, PF_EffectWorld* dst) {
  return IteratePixels<DepthFloat>(inData, progressBase, progressFinal, src, area, refcon, pixelFn,
                                   dst);
}

PF_Err RenderPlacement8(RenderContext* context) {
  return RenderPlacement<Depth8>(context);
}

PF_Err RenderPlacement16(RenderContext* context) {
  return RenderPlacement<Depth16>(context);
}

PF_Err RenderPlacementFloat(RenderContext* context) {
  return RenderPlacement<DepthFloat>(context);
}

}  // namespace veltra
