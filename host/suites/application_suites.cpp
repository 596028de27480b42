// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a host without a screen answers about itself: the application and user interface suites.

#include <algorithm>
#include <cstring>
#include <iterator>

#include "host/suites/callback.h"
#include "host/suites/suite_list.h"
#include "host_api/suites.h"

namespace veltra::host {
namespace {

/// Red, green and blue in 16 bits.
struct AppColor {
  A_u_short channel[3];
};

/// Name, organisation and serial text.
struct PersonalInfo {
  A_char text[3][64];
};

constexpr A_u_short kMidGrey = 0x7FFF;

template <class Value>
PF_Err Give(Value* out, const Value& value) {
  if (out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *out = value;
  return PF_Err_NONE;
}

// ---- The application ----

PF_Err BackgroundColor(AppColor* color) noexcept {
  return Give(color, {{kMidGrey, kMidGrey, kMidGrey}});
}

PF_Err ColorOf(A_short, AppColor* color) noexcept {
  return BackgroundColor(color);
}

PF_Err Language(A_char* text) noexcept {
  if (text == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  std::memcpy(text, "en_US", 6);
  return PF_Err_NONE;
}

PF_Err GetPersonalInfo(PersonalInfo* info) noexcept {
  return Give(info, PersonalInfo{});
}

PF_Err FontStyleSheet(A_long, A_char* name, A_short* a, A_short* b, A_short* c) noexcept {
  if (name != nullptr) {
    name[0] = '\0';
  }
  for (A_short* number : {a, b, c}) {
    if (number != nullptr) {
      *number = 0;
    }
  }
  return PF_Err_NONE;
}

PF_Err SetCursor(A_long) noexcept {
  return PF_Err_NONE;
}

/// True: nobody looks at this host.
PF_Err IsRenderEngine(PF_Boolean* out) noexcept {
  return Give(out, PF_Boolean{1});
}

PF_Err ColorPicker(const A_char*, const PF_PixelFloat*, PF_Boolean, PF_PixelFloat*) noexcept {
  return PF_Interrupt_CANCEL;
}

PF_Err Mouse(PF_Point* point) noexcept {
  return Give(point, PF_Point{0, 0});
}

PF_Err InvalidateRect(void*, const PF_LRect*) noexcept {
  return PF_Err_NONE;
}

PF_Err LocalToGlobal(const PF_Point* local, PF_Point* global) noexcept {
  return local != nullptr ? Give(global, *local) : PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err ColorAtPoint(const PF_Point*, A_short, A_short, PF_PixelFloat*) noexcept {
  return PF_Err_INVALID_CALLBACK;
}

char progressDialog;

PF_Err NewProgressDialog(const A_u_short*, const A_u_short*, PF_Boolean, void** out) noexcept {
  return Give<void*>(out, &progressDialog);
}

PF_Err UpdateProgressDialog(void*, A_long, A_long) noexcept {
  Session* session = Session::Current();
  return session != nullptr && session->Aborted() ? PF_Interrupt_CANCEL : PF_Err_NONE;
}

PF_Err DisposeProgressDialog(void*) noexcept {
  return PF_Err_NONE;
}

struct AppSuite4 {
  PF_Err (*backgroundColor)(AppColor*);
  PF_Err (*color)(A_short, AppColor*);
  PF_Err (*personalInfo)(PersonalInfo*);
  PF_Err (*fontStyleSheet)(A_long, A_char*, A_short*, A_short*, A_short*);
  PF_Err (*setCursor)(A_long);
  PF_Err (*isRenderEngine)(PF_Boolean*);
  PF_Err (*colorPicker)(const A_char*, const PF_PixelFloat*, PF_Boolean, PF_PixelFloat*);
  PF_Err (*mouse)(PF_Point*);
  PF_Err (*invalidate)(void*, const PF_LRect*);
  PF_Err (*localToGlobal)(const PF_Point*, PF_Point*);
  PF_Err (*colorAtPoint)(const PF_Point*, A_short, A_short, PF_PixelFloat*);
};
static_assert(sizeof(AppSuite4) == 11 * sizeof(void*));

/// The newest, which is asked for as version 1; version 7 is this without the dialogs.
struct AppSuite6 {
  PF_Err (*backgroundColor)(AppColor*);
  PF_Err (*color)(A_short, AppColor*);
  PF_Err (*language)(A_char*);
  PF_Err (*personalInfo)(PersonalInfo*);
  PF_Err (*fontStyleSheet)(A_long, A_char*, A_short*, A_short*, A_short*);
  PF_Err (*setCursor)(A_long);
  PF_Err (*isRenderEngine)(PF_Boolean*);
  PF_Err (*colorPicker)(const A_char*, const PF_PixelFloat*, PF_Boolean, PF_PixelFloat*);
  PF_Err (*mouse)(PF_Point*);
  PF_Err (*invalidate)(void*, const PF_LRect*);
  PF_Err (*localToGlobal)(const PF_Point*, PF_Point*);
  PF_Err (*colorAtPoint)(const PF_Point*, A_short, A_short, PF_PixelFloat*);
  PF_Err (*newDialog)(const A_u_short*, const A_u_short*, PF_Boolean, void**);
  PF_Err (*updateDialog)(void*, A_long, A_long);
  PF_Err (*disposeDialog)(void*);
};
static_assert(sizeof(AppSuite6) == 15 * sizeof(void*));

constexpr AppSuite4 kApp4{&BackgroundColor, &ColorOf,        &GetPersonalInfo, &FontStyleSheet,
                          &SetCursor,       &IsRenderEngine, &ColorPicker,     &Mouse,
                          &InvalidateRect,  &LocalToGlobal,  &ColorAtPoint};
constexpr AppSuite6 kApp6{&BackgroundColor,
                          &ColorOf,
                          &Language,
                          &GetPersonalInfo,
                          &FontStyleSheet,
                          &SetCursor,
                          &IsRenderEngine,
                          &ColorPicker,
                          &Mouse,
                          &InvalidateRect,
                          &LocalToGlobal,
                          &ColorAtPoint,
                          &NewProgressDialog,
                          &UpdateProgressDialog,
                          &DisposeProgressDialog};

// ---- Texts in the information panel, which there is none of ----

PF_Err Nothing() noexcept {
  return PF_Err_NONE;
}
PF_Err DrawText2(const A_char*, const A_char*) noexcept {
  return PF_Err_NONE;
}
PF_Err DrawColor(PF_Pixel8) noexcept {
  return PF_Err_NONE;
}
PF_Err DrawText3(const A_char*, const A_char*, const A_char*) noexcept {
  return PF_Err_NONE;
}
PF_Err DrawText5(const A_char*, const A_char*, const A_char*, const A_char*,
                 const A_char*) noexcept {
  return PF_Err_NONE;
}
PF_Err AppendText(const A_char*) noexcept {
  return PF_Err_NONE;
}

struct AdvAppSuite {
  PF_Err (*setProjectDirty)();
  PF_Err (*saveProject)();
  PF_Err (*saveBackgroundState)();
  PF_Err (*forceForeground)();
  PF_Err (*restoreBackgroundState)();
  PF_Err (*refreshAllWindows)();
  PF_Err (*infoDrawText)(const A_char*, const A_char*);
  PF_Err (*infoDrawColor)(PF_Pixel8);
  PF_Err (*infoDrawText3)(const A_char*, const A_char*, const A_char*);
  PF_Err (*infoDrawText3Plus)(const A_char*, const A_char*, const A_char*, const A_char*,
                              const A_char*);
  PF_Err (*appendInfoText)(const A_char*);  ///< version 2 only
};

constexpr AdvAppSuite kAdvApp{&Nothing,   &Nothing,   &Nothing,   &Nothing,   &Nothing,   &Nothing,
                              &DrawText2, &DrawColor, &DrawText3, &DrawText5, &AppendText};

// ---- One function each ----

PF_Err SetOptionsButtonName(PF_ProgPtr, const A_char*) noexcept {
  return PF_Err_NONE;
}
PF_Err SetNoCacheOnLoad(PF_ProgPtr, A_long) noexcept {
  return PF_Err_NONE;
}

struct EffectUiSuite {
  PF_Err (*setOptionsButtonName)(PF_ProgPtr, const A_char*);
};
struct CacheOnLoadSuite {
  PF_Err (*setNoCacheOnLoad)(PF_ProgPtr, A_long);
};
constexpr EffectUiSuite kEffectUi{&SetOptionsButtonName};
constexpr CacheOnLoadSuite kCacheOnLoad{&SetNoCacheOnLoad};

template <const auto& table>
const void* Constant() {
  return &table;
}

constexpr OfferedSuite kSuites[] = {
    {"PF AE App Suite", 6, &Constant<kApp4>},
    {"PF AE App Suite", 7, &Constant<kApp6>, Age::kNewer},
    {"PF AE App Suite", 1, &Constant<kApp6>, Age::kNewer},
    {"PF AE Adv App Suite", 1, &Constant<kAdvApp>},
    {"PF AE Adv App Suite", 2, &Constant<kAdvApp>, Age::kNewer},
    {"PF Effect UI Suite", 1, &Constant<kEffectUi>},
    {"PF Cache On Load Suite", 1, &Constant<kCacheOnLoad>},
};

}  // namespace

std::span<const OfferedSuite> ApplicationSuites() {
  return kSuites;
}

}  // namespace veltra::host
