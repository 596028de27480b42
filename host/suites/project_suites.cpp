// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The project suites that effects ask for at set-up and while they render, answered by a host
// without a project: one layer that covers one composition, no camera, no masks, no scripting.
// Results are written even where a function refuses, since effects use them at once.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <utility>

#include "host/suites/callback.h"
#include "host/suites/suite_list.h"
#include "host_api/suites.h"

namespace veltra::host {
namespace {

/// An opaque handle: any stable address that this host knows again.
using Token = void*;

char layerToken;
char compToken;
char itemToken;

/// Notes what was called in vain, so that an effect which cannot do without it is not blamed. The
/// text is made where a lack of memory does not end the program.
template <class MakeText>
A_Err Refused(MakeText makeText) noexcept {
  Guarded([&]() -> PF_Err {
    if (Session* session = Session::Current()) {
      session->accounts.Missing(makeText());
    }
    return PF_Err_NONE;
  });
  return A_Err_GENERIC;
}

A_Err NotHere(const char* what) noexcept {
  return Refused([&] { return std::string(what); });
}

/// A suite as effects ask for it; a template's argument.
template <std::size_t kLength>
struct SuiteName {
  char text[kLength] = {};
  A_long version = 0;
  // NOLINTNEXTLINE(google-explicit-constructor): a literal stands for it
  constexpr SuiteName(const char (&name)[kLength], A_long asked) : version(asked) {
    std::copy_n(name, kLength, text);
  }
};

A_Err RefusedSlot(const char* suite, A_long version, std::size_t slot) noexcept {
  return Refused([&] {
    return "slot " + std::to_string(slot) + " of the suite \"" + suite + "\" version " +
           std::to_string(version);
  });
}

template <SuiteName kSuite, std::size_t kSlot>
A_Err Refuse() noexcept {
  return RefusedSlot(kSuite.text, kSuite.version, kSlot);
}

template <class Value>
A_Err Give(Value* out, const Value& value) {
  if (out == nullptr) {
    return A_Err_PARAMETER;
  }
  *out = value;
  return A_Err_NONE;
}

template <class Function>
PF_AnyFn Any(Function function) {
  return reinterpret_cast<PF_AnyFn>(function);
}

/// A table whose slots all return A_Err; what is not filled refuses by its number.
template <SuiteName kSuite, std::size_t kSlots>
struct ErrTable {
  std::array<PF_AnyFn, kSlots> slots = Refusing(std::make_index_sequence<kSlots>());

 private:
  template <std::size_t... kSlot>
  static std::array<PF_AnyFn, kSlots> Refusing(std::index_sequence<kSlot...>) {
    return {Any(&Refuse<kSuite, kSlot>)...};
  }
};

/// The frame of the session at work; null outside of a render.
const RenderSettings* CurrentFrame() {
  const Session* session = Session::Current();
  return session != nullptr ? session->Settings() : nullptr;
}

// ---- Utility ----

A_Err RegisterWithAEGP(void*, const A_char*, A_long* id) noexcept {
  static std::atomic<A_long> registered{0};
  return Give(id, ++registered);
}

A_Err NoWindow(void* window) noexcept {
  if (window != nullptr) {
    std::memset(window, 0, sizeof(void*));
  }
  return A_Err_NONE;
}

A_Err SayYes(PF_Boolean* out) noexcept {
  return Give(out, PF_Boolean{1});
}

A_Err SayNo(PF_Boolean* out) noexcept {
  return Give(out, PF_Boolean{0});
}

A_Err TakeText(const A_char*) noexcept {
  return A_Err_NONE;
}

A_Err Accept() noexcept {
  return A_Err_NONE;
}

A_Err StartQuietErrors(void*) noexcept {
  return A_Err_NONE;
}

A_Err EndQuietErrors(PF_Boolean, void*) noexcept {
  return A_Err_NONE;
}

/// Versions of the driver: there is none.
A_Err NoVersion(A_short* major, A_short* minor) noexcept {
  Give(major, A_short{0});
  Give(minor, A_short{0});
  return A_Err_GENERIC;
}

A_Err TakeThreeTexts(const A_char*, const A_char*, const A_char*) noexcept {
  return A_Err_NONE;
}

/// Reports are for a user, of whom there is none.
A_Err TakeReport(A_long, const A_char*) noexcept {
  return A_Err_NONE;
}

A_Err TakeUnicodeReport(A_long, const A_u_short*) noexcept {
  return A_Err_NONE;
}

A_Err NoLastError(A_long size, A_char* text, A_long* number) noexcept {
  if (text != nullptr && size > 0) {
    *text = '\0';
  }
  return Give(number, 0);
}

constexpr ProjectColor kBlack{1, 0, 0, 0};

/// Colours of palettes that there are none of.
A_Err NoColor(ProjectColor* color) noexcept {
  Give(color, kBlack);
  return A_Err_GENERIC;
}

A_Err NoTextColor(PF_Boolean* defined, ProjectColor* color) noexcept {
  Give(defined, PF_Boolean{0});
  return NoColor(color);
}

A_Err RunNoScript(A_long, const A_char*, PF_Boolean, PF_Handle* result, PF_Handle* error) noexcept {
  Give<PF_Handle>(result, nullptr);
  Give<PF_Handle>(error, nullptr);
  return NotHere("AEGP_ExecuteScript");
}

A_Err NoPlatformRef(A_long, void** out) noexcept {
  Give<void*>(out, nullptr);
  return NotHere("AEGP_GetPluginPlatformRef");
}

A_Err NoPaths(A_long, A_u_long, PF_Handle* out) noexcept {
  Give<PF_Handle>(out, nullptr);
  return NotHere("AEGP_GetPluginPaths");
}

/// Where the functions of the utility suite begin that both versions have in one order.
struct UtilitySlots {
  std::size_t versions;
  std::size_t quietErrors;
  std::size_t undo;
};

/// From the undo group on the versions do not differ.
template <std::size_t kSlots>
void FillUtility(std::array<PF_AnyFn, kSlots>& slots, const UtilitySlots& at) {
  slots[0] = Any(&TakeReport);
  slots[at.versions] = slots[at.versions + 1] = Any(&NoVersion);
  slots[at.quietErrors] = Any(&StartQuietErrors);
  slots[at.quietErrors + 1] = Any(&EndQuietErrors);
  slots[at.undo] = Any(&TakeText);
  slots[at.undo + 1] = Any(&Accept);
  slots[at.undo + 2] = Any(&RegisterWithAEGP);
  slots[at.undo + 3] = Any(&NoWindow);
  slots[at.undo + 5] = slots[at.undo + 6] = Any(&NoColor);       // the paint palette's, read
  slots[at.undo + 9] = slots[at.undo + 10] = Any(&NoTextColor);  // the character palette's, read
  slots[at.undo + 13] = Any(&SayNo);                             // IsFillColorUIFrontmost
  slots[at.undo + 16] = Any(&Accept);                            // CauseIdleRoutinesToBeCalled
  slots[at.undo + 17] = Any(&SayYes);                            // GetSuppressInteractiveUI
  slots[at.undo + 18] = Any(&TakeText);
  slots[at.undo + 19] = Any(&TakeThreeTexts);
}

const void* Utility7() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Utility Suite", 7}, 25>;
    FillUtility(made->slots, {1, 3, 5});
    return made;
  }();
  return table->slots.data();
}

const void* Utility13() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Utility Suite", 13}, 33>;
    FillUtility(made->slots, {2, 4, 7});
    made->slots[1] = Any(&TakeUnicodeReport);
    made->slots[6] = Any(&NoLastError);
    made->slots[27] = Any(&SayNo);  // IsScriptingAvailable
    made->slots[28] = Any(&RunNoScript);
    made->slots[29] = Any(&SayNo);  // HostIsActivated
    made->slots[30] = Any(&NoPlatformRef);
    made->slots[31] = Any(&Accept);  // UpdateFontList
    made->slots[32] = Any(&NoPaths);
    return made;
  }();
  return table->slots.data();
}

// ---- The effect's place in a project ----

A_Err GetEffectLayer(PF_ProgPtr, Token* layer) noexcept {
  return Give<Token>(layer, &layerToken);
}

A_Err GetNewEffect(A_long, PF_ProgPtr, Token* effect) noexcept {
  Give<Token>(effect, nullptr);
  return NotHere("AEGP_GetNewEffectForEffect");
}

A_Err EffectToCompTime(PF_ProgPtr, A_long time, A_u_long scale, A_Time* out) noexcept {
  return Give(out, A_Time{time, scale});
}

A_Err GetEffectCamera(PF_ProgPtr, const A_Time*, Token* layer) noexcept {
  return Give<Token>(layer, nullptr);
}

struct Matrix4 {
  A_FpLong mat[4][4];
};

constexpr Matrix4 kIdentity{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

A_Err GetEffectCameraMatrix(PF_ProgPtr, const A_Time*, Matrix4* matrix, A_FpLong* distance,
                            A_short* width, A_short* height) noexcept {
  const RenderSettings* frame = CurrentFrame();
  Give(matrix, kIdentity);
  Give(distance, 0.0);
  Give(width, static_cast<A_short>(frame != nullptr ? frame->width : 0));
  Give(height, static_cast<A_short>(frame != nullptr ? frame->height : 0));
  return NotHere("AEGP_GetEffectCameraMatrix");
}

const void* PfInterface() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP PF Interface Suite", 1}, 5>;
    made->slots = {Any(&GetEffectLayer), Any(&GetNewEffect), Any(&EffectToCompTime),
                   Any(&GetEffectCamera), Any(&GetEffectCameraMatrix)};
    return made;
  }();
  return table->slots.data();
}

// ---- Layers ----

A_Err GetCompNumLayers(Token, A_long* count) noexcept {
  return Give(count, 1);
}

A_Err GetCompLayerByIndex(Token, A_long index, Token* layer) noexcept {
  Give<Token>(layer, index == 0 ? &layerToken : nullptr);
  return index == 0 ? A_Err_NONE : A_Err_PARAMETER;
}

A_Err GetLayerParentComp(Token, Token* comp) noexcept {
  return Give<Token>(comp, &compToken);
}

A_Err GetLayerObjectType(Token, A_long* type) noexcept {
  return Give(type, 0);  // a layer with picture and sound
}

A_Err GetLayerToWorld(Token, const A_Time*, Matrix4* matrix) noexcept {
  return Give(matrix, kIdentity);
}

template <A_long kVersion, std::size_t kSlots>
const void* LayerTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Layer Suite", kVersion}, kSlots>;
    made->slots[0] = Any(&GetCompNumLayers);
    made->slots[1] = Any(&GetCompLayerByIndex);
    made->slots[6] = Any(&GetLayerParentComp);
    made->slots[28] = Any(&GetLayerObjectType);
    made->slots[38] = Any(&GetLayerToWorld);
    return made;
  }();
  return table->slots.data();
}

// ---- Compositions and items ----

A_Err GetItemFromComp(Token, Token* item) noexcept {
  return Give<Token>(item, &itemToken);
}

A_Err GetCompBackground(Token, ProjectColor* color) noexcept {
  return Give(color, kBlack);
}

A_Err GetCompFramerate(Token, A_FpLong* rate) noexcept {
  const RenderSettings* frame = CurrentFrame();
  const double step = frame != nullptr && frame->timeStep > 0 ? frame->timeStep : 1;
  return Give(rate, frame != nullptr ? frame->timeScale / step : 24.0);
}

A_Err GetItemDimensions(Token, A_long* width, A_long* height) noexcept {
  const RenderSettings* frame = CurrentFrame();
  Give(width, frame != nullptr ? frame->width : 0);
  return Give(height, frame != nullptr ? frame->height : 0);
}

template <A_long kVersion, std::size_t kSlots, std::size_t kFramerateSlot>
const void* CompTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Comp Suite", kVersion}, kSlots>;
    made->slots[1] = Any(&GetItemFromComp);
    made->slots[4] = Any(&GetCompBackground);
    made->slots[kFramerateSlot] = Any(&GetCompFramerate);
    return made;
  }();
  return table->slots.data();
}

const void* ItemTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Item Suite", 10}, 26>;
    made->slots[16] = Any(&GetItemDimensions);
    return made;
  }();
  return table->slots.data();
}

// ---- Memory ----

A_Err NewMemHandle(A_long, const A_char*, A_u_long size, A_long, PF_Handle* out) noexcept {
  if (out == nullptr) {
    return A_Err_PARAMETER;
  }
  const Session* session = Session::Current();
  *out = nullptr;
  Guarded([&]() -> PF_Err {
    *out = NewHandle(size, session != nullptr ? session->Holdings() : nullptr);
    return PF_Err_NONE;
  });
  return *out != nullptr ? A_Err_NONE : A_Err_ALLOC;
}

A_Err FreeMemHandle(PF_Handle handle) noexcept {
  return DisposeHandle(handle) ? A_Err_NONE : A_Err_PARAMETER;
}

A_Err LockMemHandle(PF_Handle handle, void** block) noexcept {
  return Give(block, HandleData(handle));
}

A_Err UnlockMemHandle(PF_Handle) noexcept {
  return A_Err_NONE;
}

A_Err GetMemHandleSize(PF_Handle handle, A_u_long* size) noexcept {
  return Give(size, static_cast<A_u_long>(HandleSize(handle)));
}

A_Err ResizeMemHandle(const A_char*, A_u_long size, PF_Handle handle) noexcept {
  const PF_Err error = ResizeHandle(handle, size);
  return error == PF_Err_NONE            ? A_Err_NONE
         : error == PF_Err_OUT_OF_MEMORY ? A_Err_ALLOC
                                         : A_Err_PARAMETER;
}

A_Err SetMemReporting(PF_Boolean) noexcept {
  return A_Err_NONE;
}

A_Err GetMemStats(A_long, A_long* count, A_long* bytes) noexcept {
  Give(count, 0);
  return Give(bytes, 0);
}

const void* MemoryTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Memory Suite", 1}, 8>;
    made->slots = {Any(&NewMemHandle),    Any(&FreeMemHandle),    Any(&LockMemHandle),
                   Any(&UnlockMemHandle), Any(&GetMemHandleSize), Any(&ResizeMemHandle),
                   Any(&SetMemReporting), Any(&GetMemStats)};
    return made;
  }();
  return table->slots.data();
}

// ---- Masks ----

A_Err GetLayerNumMasks(Token, A_long* count) noexcept {
  return Give(count, 0);
}

A_Err DisposeMask(Token) noexcept {
  return A_Err_NONE;
}

A_Err GetLayerMask(Token, A_long, Token* mask) noexcept {
  Give<Token>(mask, nullptr);
  return A_Err_PARAMETER;
}

template <A_long kVersion, std::size_t kSlots>
const void* MaskTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Layer Mask Suite", kVersion}, kSlots>;
    made->slots[0] = Any(&GetLayerNumMasks);
    made->slots[1] = Any(&GetLayerMask);
    made->slots[2] = Any(&DisposeMask);
    return made;
  }();
  return table->slots.data();
}

// ---- Hashes ----

struct Hash {
  A_u_long word[4];
};

void MixInto(Hash& hash, std::uint64_t size, const void* data) {
  std::uint64_t low = hash.word[0] | std::uint64_t{hash.word[1]} << 32;
  std::uint64_t high = hash.word[2] | std::uint64_t{hash.word[3]} << 32;
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (std::uint64_t i = 0; i < size; ++i) {
    low = (low ^ bytes[i]) * 0x100000001B3U;
    high = (high + bytes[i]) * 0x9E3779B97F4A7C15U;
    high ^= high >> 29;
  }
  hash = {{static_cast<A_u_long>(low), static_cast<A_u_long>(low >> 32),
           static_cast<A_u_long>(high), static_cast<A_u_long>(high >> 32)}};
}

A_Err HashMixIn(std::uint64_t size, const void* data, Hash* hash) noexcept {
  if (hash == nullptr || (data == nullptr && size > 0)) {
    return A_Err_PARAMETER;
  }
  MixInto(*hash, size, data);
  return A_Err_NONE;
}

A_Err HashCreate(std::uint64_t size, const void* data, Hash* hash) noexcept {
  if (hash != nullptr) {
    *hash = {{0x84222325U, 0xCBF29CE4U, 0x4F6CDD1DU, 0x2545F491U}};
  }
  return HashMixIn(size, data, hash);
}

const void* HashTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Hash Suite", 1}, 2>;
    made->slots = {Any(&HashCreate), Any(&HashMixIn)};
    return made;
  }();
  return table->slots.data();
}

// ---- Streams, lights, images and masks of a project: tables that effects acquire and can use for
// nothing here ----

A_Err GetLightType(Token, A_long* type) noexcept {
  Give(type, 0);
  return NotHere("AEGP_GetLightType");
}

template <SuiteName kSuite, std::size_t kSlots>
const void* RefusingTable() {
  static const auto* table = new ErrTable<kSuite, kSlots>;
  return table->slots.data();
}

const void* LightTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<SuiteName{"AEGP Light Suite", 2}, 2>;
    made->slots[0] = Any(&GetLightType);
    return made;
  }();
  return table->slots.data();
}

constexpr SuiteName kWorldSuite{"AEGP World Suite", 3};

template <std::size_t kSlot>
A_Err NewNoWorld(A_long, A_long, A_long, A_long, Token* world) noexcept {
  Give<Token>(world, nullptr);
  return Refuse<kWorldSuite, kSlot>();
}

template <std::size_t kSlot, class Number>
A_Err NoNumber(Token, Number* number) noexcept {
  Give(number, Number{});
  return Refuse<kWorldSuite, kSlot>();
}

A_Err NoSize(Token, A_long* width, A_long* height) noexcept {
  Give(height, 0);
  return NoNumber<3>(nullptr, width);
}

A_Err FillOutNoWorld(Token, PF_EffectWorld* world) noexcept {
  return NoNumber<8>(nullptr, world);
}

A_Err NewNoReference(A_long, Token, Token* world) noexcept {
  return NoNumber<12>(nullptr, world);
}

const void* WorldTable() {
  static const auto* table = [] {
    auto* made = new ErrTable<kWorldSuite, 13>;
    auto& slots = made->slots;
    slots[0] = Any(&NewNoWorld<0>);
    slots[2] = Any(&NoNumber<2, A_long>);
    slots[3] = Any(&NoSize);
    slots[4] = Any(&NoNumber<4, A_u_long>);
    slots[5] = Any(&NoNumber<5, Token>);  // base addresses at the three depths
    slots[6] = Any(&NoNumber<6, Token>);
    slots[7] = Any(&NoNumber<7, Token>);
    slots[8] = Any(&FillOutNoWorld);
    slots[10] = Any(&NewNoWorld<10>);
    slots[12] = Any(&NewNoReference);
    return made;
  }();
  return table->slots.data();
}

/// The mask suite's only function, which effects with a chosen path call.
A_Err MaskWorldWithPath() noexcept {
  NotHere("PF_MaskWorldWithPath");
  return PF_Err_INVALID_CALLBACK;
}

const void* MaskWorldTable() {
  static const std::array<PF_AnyFn, 1> table{Any(&MaskWorldWithPath)};
  return table.data();
}

constexpr OfferedSuite kSuites[] = {
    {"AEGP Utility Suite", 7, &Utility7},
    {"AEGP Utility Suite", 13, &Utility13, Age::kNewer},
    {"AEGP PF Interface Suite", 1, &PfInterface},
    {"AEGP Layer Suite", 11, &LayerTable<11, 46>},
    {"AEGP Layer Suite", 14, &LayerTable<14, 50>, Age::kNewer},
    {"AEGP Layer Suite", 15, &LayerTable<15, 53>, Age::kNewer},
    {"AEGP Comp Suite", 9, &CompTable<9, 28, 6>},
    {"AEGP Comp Suite", 21, &CompTable<21, 43, 11>, Age::kNewer},
    {"AEGP Comp Suite", 25, &CompTable<25, 44, 11>, Age::kNewer},
    {"AEGP Item Suite", 10, &ItemTable},
    {"AEGP Stream Suite", 7, &RefusingTable<SuiteName{"AEGP Stream Suite", 7}, 22>},
    {"AEGP Light Suite", 2, &LightTable},
    {"AEGP Memory Suite", 1, &MemoryTable},
    {"AEGP World Suite", 3, &WorldTable},
    {"AEGP Mask Suite", 1, &MaskWorldTable},
    {"AEGP Layer Mask Suite", 6, &MaskTable<6, 19>},
    {"AEGP Layer Mask Suite", 7, &MaskTable<7, 21>, Age::kNewer},
    {"AEGP Hash Suite", 1, &HashTable},
};

}  // namespace

std::span<const OfferedSuite> ProjectSuites() {
  return kSuites;
}

}  // namespace veltra::host
