// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An example effect with arbitrary data and sequence data: a tone curve of five points, and a table
// of it that is kept from frame to frame. Classic render at 8 bit.

#include <algorithm>
#include <charconv>
#include <cstring>

#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace {

using namespace veltra;  // NOLINT(google-build-using-namespace): the interface's names

enum Control : PF_ParamIndex { kCurve = 1, kControlCount };

constexpr A_short kCurveId = 1;
constexpr int kPoints = 5;

/// What 0, 64, 128, 192 and 256 become. Flat already: it may be stored byte by byte.
struct Curve {
  A_u_char at[kPoints] = {0, 48, 128, 208, 255};
};

/// Built when the curve has changed since.
struct Table {
  Curve curve;
  A_u_char isBuilt = 0;
  A_u_char values[256] = {};
};

template <class Record>
Record* In(PF_Handle handle) {
  return handle != nullptr ? static_cast<Record*>(*handle) : nullptr;
}

template <class Record>
PF_Handle NewHandle(const PF_InData& in, const Record& record) {
  const PF_Handle handle = in.utils->host_new_handle(sizeof(Record));
  if (handle != nullptr) {
    *In<Record>(handle) = record;
  }
  return handle;
}

PF_Err Answer(PF_Handle made, PF_Handle* out) {
  *out = made;
  return made != nullptr ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
}

// ---- Arbitrary data ----

Curve Between(const Curve& a, const Curve& b, double t) {
  Curve curve;
  for (int i = 0; i < kPoints; ++i) {
    curve.at[i] = static_cast<A_u_char>(a.at[i] + (b.at[i] - a.at[i]) * t + 0.5);
  }
  return curve;
}

constexpr A_u_long kTextSize = kPoints * 4;  // three digits and a blank for each, the last a zero

void Print(const Curve& curve, char* text, A_u_long size) {
  char* place = text;
  char* const end = text + size;
  for (int i = 0; i < kPoints && place < end; ++i) {
    if (i > 0) {
      *place++ = ' ';
    }
    place = std::to_chars(place, end, int{curve.at[i]}).ptr;
  }
  *std::min(place, end - 1) = '\0';
}

bool Scan(const char* text, A_u_long length, Curve* curve) {
  const char* place = text;
  const char* const end = text + length;
  for (A_u_char& at : curve->at) {
    while (place < end && *place == ' ') {
      ++place;
    }
    const auto [next, error] = std::from_chars(place, end, at);
    if (error != std::errc()) {
      return false;
    }
    place = next;
  }
  return place == end;
}

PF_Err AboutCurves(const PF_InData& in, PF_ArbParamsExtra* extra) {
  auto& u = extra->u;
  switch (extra->which_function) {
    case PF_Arbitrary_NEW_FUNC:
      return Answer(NewHandle(in, Curve{}), u.new_func_params.arbPH);
    case PF_Arbitrary_DISPOSE_FUNC:
      in.utils->host_dispose_handle(u.dispose_func_params.arbH);
      return PF_Err_NONE;
    case PF_Arbitrary_COPY_FUNC: {
      const Curve* from = In<Curve>(u.copy_func_params.src_arbH);
      return Answer(NewHandle(in, from != nullptr ? *from : Curve{}), u.copy_func_params.dst_arbPH);
    }
    case PF_Arbitrary_FLAT_SIZE_FUNC:
      *u.flat_size_func_params.flat_data_sizePLu = sizeof(Curve);
      return PF_Err_NONE;
    case PF_Arbitrary_FLATTEN_FUNC:
      if (u.flatten_func_params.buf_sizeLu < sizeof(Curve)) {
        return PF_Err_BAD_CALLBACK_PARAM;
      }
      std::memcpy(u.flatten_func_params.flat_dataPV, *u.flatten_func_params.arbH, sizeof(Curve));
      return PF_Err_NONE;
    case PF_Arbitrary_UNFLATTEN_FUNC: {
      Curve curve;
      if (u.unflatten_func_params.buf_sizeLu != sizeof(Curve)) {
        return PF_Err_BAD_CALLBACK_PARAM;
      }
      std::memcpy(&curve, u.unflatten_func_params.flat_dataPV, sizeof(Curve));
      return Answer(NewHandle(in, curve), u.unflatten_func_params.arbPH);
    }
    case PF_Arbitrary_INTERP_FUNC: {
      const auto& ends = u.interp_func_params;
      return Answer(
          NewHandle(in, Between(*In<Curve>(ends.left_arbH), *In<Curve>(ends.right_arbH), ends.tF)),
          ends.interpPH);
    }
    case PF_Arbitrary_COMPARE_FUNC:
      *u.compare_func_params.compareP =
          std::memcmp(*u.compare_func_params.a_arbH, *u.compare_func_params.b_arbH,
                      sizeof(Curve)) == 0
              ? PF_ArbCompare_EQUAL
              : PF_ArbCompare_NOT_EQUAL;
      return PF_Err_NONE;
    case PF_Arbitrary_PRINT_SIZE_FUNC:
      *u.print_size_func_params.print_sizePLu = kTextSize;
      return PF_Err_NONE;
    case PF_Arbitrary_PRINT_FUNC:
      Print(*In<Curve>(u.print_func_params.arbH), u.print_func_params.print_bufferPC,
            u.print_func_params.print_sizeLu);
      return PF_Err_NONE;
    case PF_Arbitrary_SCAN_FUNC: {
      Curve curve;
      return Scan(u.scan_func_params.bufPC, u.scan_func_params.bytes_to_scanLu, &curve)
                 ? Answer(NewHandle(in, curve), u.scan_func_params.arbPH)
                 : PF_Err_CANNOT_PARSE_KEYFRAME_TEXT;
    }
    default:
      return PF_Err_NONE;
  }
}

// ---- Set-up ----

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
  PF_ParamDef curve{};
  curve.uu.id = kCurve;
  curve.param_type = PF_Param_ARBITRARY_DATA;
  std::strncpy(curve.name, "Curve", sizeof(curve.name) - 1);
  curve.u.arb_d.id = kCurveId;
  curve.u.arb_d.dephault = NewHandle(*in, Curve{});  // the host's from here on
  out->num_params = kControlCount;
  return curve.u.arb_d.dephault != nullptr ? in->inter.add_param(in->effect_ref, -1, &curve)
                                           : PF_Err_OUT_OF_MEMORY;
}

// ---- The picture ----

void BuildTable(const Curve& curve, Table* table) {
  constexpr int kStep = 64;
  for (int i = 0; i < 256; ++i) {
    const int left = curve.at[i / kStep];
    const int right = curve.at[i / kStep + 1];
    table->values[i] = static_cast<A_u_char>(
        (left * (kStep - i % kStep) + right * (i % kStep) + kStep / 2) / kStep);
  }
  table->curve = curve;
  table->isBuilt = 1;
}

PF_Err Render(PF_InData* in, PF_ParamDef* params[], PF_EffectWorld* output) {
  const Curve* curve = In<Curve>(params[kCurve]->u.arb_d.value);
  Table* table = In<Table>(in->sequence_data);
  if (curve == nullptr || table == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (table->isBuilt == 0 || std::memcmp(&table->curve, curve, sizeof(Curve)) != 0) {
    BuildTable(*curve, table);
  }
  return in->utils->iterate_lut(in, 0, output->height, &params[0]->u.ld, nullptr, nullptr,
                                table->values, table->values, table->values, output);
}

}  // namespace

extern "C" VELTRA_EXPORT PF_Err MainEntry(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData,
                                          PF_ParamDef* params[], PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      std::strcpy(outData->return_msg, "Curve 1.0: a tone curve of five points.");
      return PF_Err_NONE;
    case PF_Cmd_GLOBAL_SETUP:
      outData->my_version = PF_VERSION(1, 0, 0, PF_Stage_RELEASE, 0);
      outData->out_flags = PF_OutFlag_PIX_INDEPENDENT;
      return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
      return ParamsSetup(inData, outData);
    case PF_Cmd_SEQUENCE_SETUP:
      return Answer(NewHandle(*inData, Table{}), &outData->sequence_data);
    case PF_Cmd_SEQUENCE_RESETUP:  // a copy of the bytes, from a project: they are all there is
      return inData->sequence_data != nullptr
                 ? PF_Err_NONE
                 : Answer(NewHandle(*inData, Table{}), &outData->sequence_data);
    case PF_Cmd_SEQUENCE_SETDOWN:
      inData->utils->host_dispose_handle(inData->sequence_data);
      outData->sequence_data = nullptr;
      return PF_Err_NONE;
    case PF_Cmd_RENDER:
      return Render(inData, params, output);
    case PF_Cmd_ARBITRARY_CALLBACK:
      return AboutCurves(*inData, static_cast<PF_ArbParamsExtra*>(extra));
    default:
      return PF_Err_NONE;  // hosts send commands that are not meant for every effect
  }
}

extern "C" VELTRA_EXPORT PF_Err PluginDataEntryFunction2(void* host, PF_PluginDataCB callback,
                                                         SPBasicSuite* /*basicSuite*/,
                                                         const char* /*hostName*/,
                                                         const char* /*hostVersion*/) {
  const auto text = [](const char* bytes) { return reinterpret_cast<const A_u_char*>(bytes); };
  return callback(host, text("Curve"), text("Veltra Example Curve"), text("Veltra Examples"),
                  text(kMainEntryName), kEffectPluginKind, 13, 28, 8,
                  text("https://veltra.example"));
}
