// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Smart render's callbacks: layers are promised in pre-render and fetched in render.

#include "host/pixels/transfer.h"
#include "host/pixels/world_view.h"
#include "host/suites/tables.h"

namespace veltra::host {
namespace {

/// The layer's whole extent in its own coordinates, at the current downsampling; empty for none.
PF_LRect LayerBounds(const Session& session, bool isFrame, const World* world) {
  if (isFrame) {
    return session.FrameRect();
  }
  return world != nullptr ? PF_LRect{0, 0, world->Width(), world->Height()} : PF_LRect{0, 0, 0, 0};
}

void DescribeLayer(const Session& session, bool isFrame, const World* world,
                   const PF_LRect& granted, PF_CheckoutResult& result) {
  result = PF_CheckoutResult{};
  const RenderSettings& settings = *session.Settings();
  const PF_LRect bounds = LayerBounds(session, isFrame, world);
  result.result_rect = granted;
  result.max_result_rect = bounds;
  result.par = world != nullptr && !isFrame ? world->PixelAspect() : settings.pixelAspect;
  result.ref_width = isFrame ? settings.width : bounds.right * settings.downsample;
  result.ref_height = isFrame ? settings.height : bounds.bottom * settings.downsample;
}

/// Whether a layer may be asked for now; notes the rule that speaks against it.
PF_Err CheckRequest(Session& session, PF_ParamIndex index) {
  if (session.phase != SmartPhase::kPreRender) {
    session.accounts.Broke(Rule::kLayerOutsidePreRender);
    return PF_Err_INVALID_CALLBACK;
  }
  if (index < 0 || index >= session.ParamCount()) {
    session.accounts.Broke(Rule::kLayerOfUnknownParameter);
    return PF_Err_INVALID_INDEX;
  }
  if (!session.IsLayer(index)) {
    session.accounts.Broke(Rule::kLayerOfOtherType);
    return PF_Err_UNRECOGNIZED_PARAM_TYPE;
  }
  return PF_Err_NONE;
}

PF_Err CheckoutLayer(PF_ProgPtr ref, PF_ParamIndex index, A_long checkoutId,
                     const PF_RenderRequest* request, A_long time, A_long /*step*/, A_u_long scale,
                     PF_CheckoutResult* result) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || request == nullptr || result == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kCheckoutLayer, index)) {
      return refused;
    }
    if (const PF_Err error = CheckRequest(*session, index)) {
      return error;
    }
    // The frame's size is known without its pixels, which are read when they are fetched.
    const World* world = nullptr;
    const bool isFrame = index == 0 || session->IsOfFrame(index, time, scale);
    if (!isFrame && !session->LayerWorldAt(index, time, scale, world)) {
      return PF_Err_OUT_OF_MEMORY;
    }
    const PF_LRect granted = Intersection(request->rect, LayerBounds(*session, isFrame, world));
    DescribeLayer(*session, isFrame, world, granted, *result);
    if (!session->checkouts.Request({checkoutId, index, granted, time, scale})) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (!IsEmpty(granted) && session->IsOfFrame(index, time, scale)) {
      session->accounts.NoteInputRequest();
    }
    return PF_Err_NONE;
  });
}

PF_Err MixInGuid(PF_ProgPtr ref, A_u_long size, const void* data) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || (data == nullptr && size > 0)) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err { return session->Ask(HostCall::kMixInGuid); });
}

/// The image behind a checkout: a borrowed one, or transparent pixels for a frame that has none.
/// Null, and the reason noted, where it cannot be had.
const World* ImageOf(Session& session, LayerCheckout& checkout) {
  const LayerRequest& request = checkout.request;
  const World* world = nullptr;
  if (!session.LayerWorldAt(request.index, request.time, request.scale, world) ||
      world != nullptr) {
    return world;
  }
  auto made = World::Create(request.rect.right - request.rect.left,
                            request.rect.bottom - request.rect.top, session.Settings()->depth);
  if (!made) {
    return nullptr;
  }
  checkout.transparent = std::move(*made);
  checkout.transparent.SetOrigin(request.rect.left, request.rect.top);
  checkout.transparent.SetPixelAspect(session.Settings()->pixelAspect);
  return &checkout.transparent;
}

/// Gives an effect that writes into its input pixels of its own.
bool CopyForWriting(Session& session, LayerCheckout& checkout) {
  if (checkout.transparent.Empty()) {
    auto made = World::Create(checkout.view.width, checkout.view.height, session.Settings()->depth);
    if (!made) {
      return false;
    }
    checkout.transparent = std::move(*made);
    PF_EffectWorld own = checkout.transparent.View();
    CopyWorld(checkout.view, nullptr, own, nullptr, true);
    own.origin_x = checkout.view.origin_x;
    own.origin_y = checkout.view.origin_y;
    own.extent_hint = checkout.view.extent_hint;
    checkout.view = own;
  }
  checkout.view.world_flags |= PF_WorldFlag_WRITEABLE;
  return true;
}

/// Makes the pixels ready; false where they cannot be had.
bool PreparePixels(Session& session, LayerCheckout& checkout) {
  const World* world = ImageOf(session, checkout);
  if (world == nullptr) {
    return false;
  }
  // A layer's coordinates start at its first pixel, wherever the image was cut from.
  const PF_LRect& rect = checkout.request.rect;
  PF_LRect part = rect;
  if (checkout.transparent.Empty()) {
    part = {part.left + world->OriginX(), part.top + world->OriginY(),
            part.right + world->OriginX(), part.bottom + world->OriginY()};
  }
  checkout.view = session.LayerView(*world, part);
  checkout.view.origin_x = rect.left;
  checkout.view.origin_y = rect.top;
  const bool writes = (session.Context().outFlags & PF_OutFlag_I_WRITE_INPUT_BUFFER) != 0;
  if (checkout.request.index == 0 && writes && !CopyForWriting(session, checkout)) {
    return false;
  }
  if (checkout.request.index == 0) {
    checkout.view.pix_aspect_ratio = session.Settings()->pixelAspect;
  }
  return true;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr ref, A_long checkoutId, PF_EffectWorld** world) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || world == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *world = nullptr;
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kCheckoutLayerPixels, checkoutId)) {
      return refused;
    }
    if (session->phase != SmartPhase::kRender) {
      return PF_Err_INVALID_CALLBACK;
    }
    Rule broken{};
    LayerCheckout* checkout = session->checkouts.Claim(checkoutId, broken);
    if (checkout == nullptr) {
      session->accounts.Broke(broken);
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    const bool ready = IsEmpty(checkout->request.rect) || PreparePixels(*session, *checkout);
    session->checkouts.Finish(*checkout, ready);
    if (!ready) {
      return PF_Err_OUT_OF_MEMORY;
    }
    *world = IsEmpty(checkout->request.rect) ? nullptr : &checkout->view;
    session->accounts.Count(&RenderDiagnostics::layerCheckouts);
    return PF_Err_NONE;
  });
}

PF_Err CheckinLayerPixels(PF_ProgPtr ref, A_long checkoutId) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (session->checkouts.Return(checkoutId)) {
      session->accounts.Count(&RenderDiagnostics::layerCheckins);
      return session->Ask(HostCall::kCheckinLayerPixels, checkoutId);
    }
    session->accounts.Broke(Rule::kLayerNotTaken);
    return PF_Err_BAD_CALLBACK_PARAM;
  });
}

PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** world) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || world == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *world = nullptr;
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kCheckoutOutput)) {
      return refused;
    }
    if (session->phase != SmartPhase::kRender) {
      return PF_Err_INVALID_CALLBACK;
    }
    // An effect that requested no layer at all has nothing it could fetch first.
    if (!session->checkouts.OutputMayFollow()) {
      session->accounts.Broke(Rule::kOutputBeforeInput);
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *world = &session->outputView;
    return PF_Err_NONE;
  });
}

}  // namespace

PF_PreRenderCallbacks& PreRenderCallbacks() {
  static PF_PreRenderCallbacks table{&CheckoutLayer, &MixInGuid};
  return table;
}

PF_SmartRenderCallbacks& SmartRenderCallbacks() {
  static PF_SmartRenderCallbacks table{&CheckoutLayerPixels, &CheckinLayerPixels, &CheckoutOutput};
  return table;
}

}  // namespace veltra::host
