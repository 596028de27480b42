// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Registration, set-up commands, the About text and what becomes of exceptions.
#include <cstring>
#include <stdexcept>

#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Registration {
  int calls = 0;
  void* hostPointer = nullptr;
  std::string name, matchName, category, entryPoint, url;
  A_long kind = 0, major = 0, minor = 0, reserved = 0;
  PF_Err answer = PF_Err_NONE;
};

PF_Err Register(void* hostPointer, const A_u_char* name, const A_u_char* matchName,
                const A_u_char* category, const A_u_char* entryPoint, A_long kind, A_long major,
                A_long minor, A_long reserved, const A_u_char* url) {
  const auto text = [](const A_u_char* t) {
    return std::string(static_cast<const char*>(static_cast<const void*>(t)));
  };
  auto* r = static_cast<Registration*>(hostPointer);
  ++r->calls;
  r->hostPointer = hostPointer;
  r->name = text(name);
  r->matchName = text(matchName);
  r->category = text(category);
  r->entryPoint = text(entryPoint);
  r->url = text(url);
  r->kind = kind;
  r->major = major;
  r->minor = minor;
  r->reserved = reserved;
  return r->answer;
}

TEST(Registration, CallsTheHostOnceWithTheEffectsIdentity) {
  Registration r;
  EXPECT_EQ(Effect().registration(&r, Register, nullptr, "host", "1.0"), PF_Err_NONE);
  EXPECT_EQ(r.calls, 1);
  EXPECT_EQ(r.hostPointer, &r);
  EXPECT_EQ(r.name, "NVT Veltra");
  EXPECT_EQ(r.matchName, "NSVeltra");
  EXPECT_EQ(r.category, "Norvik Systems FX");
  EXPECT_EQ(r.entryPoint, "MainEntry");
  EXPECT_EQ(r.kind, 0x65464B54);
  EXPECT_EQ(r.major, 13);
  EXPECT_EQ(r.minor, 28);
  EXPECT_EQ(r.reserved, 8);
  // The resource keeps the address in 24 bytes, as a Pascal string.
  EXPECT_GE(r.url.size(), 20U);
  EXPECT_LE(r.url.size(), 23U);
  EXPECT_EQ(r.url.rfind("https://", 0), 0U);
}

TEST(Registration, ReturnsWhatTheHostAnswers) {
  Registration r;
  r.answer = PF_Err_INVALID_CALLBACK;
  EXPECT_EQ(Effect().registration(&r, Register, nullptr, nullptr, nullptr),
            PF_Err_INVALID_CALLBACK);
}

class VersionGate : public ::testing::TestWithParam<std::pair<PF_SpecVersion, bool>> {};

TEST_P(VersionGate, AdmitsHostsFromTwelveTwelve) {
  const auto& [version, admitted] = GetParam();
  TestHost host(Effect().mainEntry);
  host.inData.version = version;
  host.outData.out_flags = 1 << 3;
  host.outData.out_flags2 = 1 << 5;
  if (admitted) {
    EXPECT_EQ(host.Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    EXPECT_EQ(host.outData.my_version, 0x000A8600U);
    EXPECT_EQ(host.outData.out_flags, 0x02000040 | 1 << 3) << "bits already set stay";
    EXPECT_EQ(host.outData.out_flags2, 0x08001400 | 1 << 5);
    EXPECT_STREQ(host.outData.return_msg, "");
  } else {
    EXPECT_EQ(host.Send(PF_Cmd_GLOBAL_SETUP), PF_Interrupt_CANCEL);
    EXPECT_STREQ(host.outData.return_msg, "NVT Veltra require Adobe After Effects 7.0 or later");
    EXPECT_EQ(host.outData.my_version, 0U);
    EXPECT_EQ(host.outData.out_flags, 1 << 3);
    EXPECT_EQ(host.outData.out_flags2, 1 << 5);
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, VersionGate,
                         ::testing::Values(std::pair{PF_SpecVersion{12, 11}, false},
                                           std::pair{PF_SpecVersion{12, 0}, false},
                                           std::pair{PF_SpecVersion{11, 99}, false},
                                           std::pair{PF_SpecVersion{-1, 28}, false},
                                           std::pair{PF_SpecVersion{12, -1}, false},
                                           std::pair{PF_SpecVersion{12, 12}, true},
                                           std::pair{PF_SpecVersion{12, 13}, true},
                                           std::pair{PF_SpecVersion{13, 0}, true},
                                           std::pair{PF_SpecVersion{13, 28}, true},
                                           std::pair{PF_SpecVersion{32767, 0}, true}));

TEST(GlobalSetup, LeavesTheHostsHandlesAlone) {
  TestHost host(Effect().mainEntry);
  void* handle = nullptr;
  host.outData.global_data = &handle;
  host.outData.sequence_data = &handle;
  host.outData.frame_data = &handle;
  EXPECT_EQ(host.Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
  EXPECT_EQ(host.outData.global_data, &handle);
  EXPECT_EQ(host.outData.sequence_data, &handle);
  EXPECT_EQ(host.outData.frame_data, &handle);
  EXPECT_THAT(host.log, IsEmpty());
}

TEST(About, NamesFamilyVersionPlatformAndPurpose) {
  TestHost host(Effect().mainEntry);
  EXPECT_EQ(host.Send(PF_Cmd_ABOUT), PF_Err_NONE);
  EXPECT_STREQ(host.outData.return_msg,
               "Orbelle 1.3.3\rNVT Veltra, v1.5  (Win x64)\r"
               "Place selected layer along spherical line.");
  EXPECT_THAT(host.log, ElementsAre("sprintf %s\r%s, v%d.%d  (%s)\r%s%s", "sprintf %s"))
      << "the text is formatted by the host";
}

A_char* firstAboutBuffer = nullptr;
int LongSprintf(A_char* buffer, const A_char* format, ...) {
  if (firstAboutBuffer == nullptr) {
    firstAboutBuffer = buffer;
    std::memset(buffer, 'x', kHostMessageCapacity);  // no room for the zero
    return kHostMessageCapacity;
  }
  static_cast<void>(format);
  std::strcpy(buffer, firstAboutBuffer);
  return static_cast<int>(std::strlen(buffer));
}

TEST(About, IsCutTo255Characters) {
  TestHost host(Effect().mainEntry);
  host.utils.ansi.sprintf = LongSprintf;
  firstAboutBuffer = nullptr;
  EXPECT_EQ(host.Send(PF_Cmd_ABOUT), PF_Err_NONE);
  EXPECT_EQ(std::string(host.outData.return_msg), std::string(255, 'x'));
}

/// All of a record, padding included, which a copy of it need not have.
template <class Record>
std::vector<unsigned char> BytesOf(const Record& record) {
  std::vector<unsigned char> bytes(sizeof(record));
  std::memcpy(bytes.data(), &record, sizeof(record));
  return bytes;
}

TEST(OtherCommands, SucceedAndTouchNothing) {
  for (PF_Cmd cmd = -3; cmd < 60; ++cmd) {
    if (cmd == PF_Cmd_ABOUT || cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_PARAMS_SETUP ||
        cmd == PF_Cmd_RENDER || cmd == PF_Cmd_SMART_PRE_RENDER || cmd == PF_Cmd_SMART_RENDER) {
      continue;
    }
    TestHost host(Effect().mainEntry);
    std::memset(&host.outData, 0x5A, sizeof(host.outData));
    const std::vector<unsigned char> inBefore = BytesOf(host.inData);
    const std::vector<unsigned char> outBefore = BytesOf(host.outData);
    EXPECT_EQ(host.Send(cmd), PF_Err_NONE) << cmd;
    EXPECT_EQ(BytesOf(host.inData), inBefore) << cmd;
    EXPECT_EQ(BytesOf(host.outData), outBefore) << cmd;
    EXPECT_THAT(host.log, IsEmpty()) << cmd;
  }
}

TEST(OtherCommands, NeedNoRecordsAtAll) {
  EXPECT_EQ(Effect().mainEntry(PF_Cmd_SEQUENCE_SETUP, nullptr, nullptr, nullptr, nullptr, nullptr),
            PF_Err_NONE);
  EXPECT_EQ(Effect().mainEntry(1 << 30, nullptr, nullptr, nullptr, nullptr, nullptr), PF_Err_NONE);
}

TEST(HandledCommands, RefuseMissingRecords) {
  for (const PF_Cmd cmd : {PF_Cmd_ABOUT, PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_RENDER,
                           PF_Cmd_SMART_PRE_RENDER, PF_Cmd_SMART_RENDER}) {
    EXPECT_EQ(Effect().mainEntry(cmd, nullptr, nullptr, nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM)
        << cmd;
  }
}

// What a callback throws reaches the host as a code, whichever command it was.
struct Thrown {
  const char* name;
  std::function<void()> act;
  PF_Err code;
};

class ThrowingHost : public ::testing::TestWithParam<Thrown> {};

TEST_P(ThrowingHost, GetsACodeFromEveryCommand) {
  const Thrown& thrown = GetParam();
  {
    Stage stage(Depth::k8);
    stage.host.DoAt("add_param", 3, thrown.act);
    EXPECT_EQ(stage.host.Send(PF_Cmd_PARAMS_SETUP), thrown.code);
    ExpectClean(stage);
  }
  for (const char* callback : {"copy", "iterate", "get_pixel_format"}) {
    for (const bool smart : {false, true}) {
      Stage stage(Depth::k16);
      stage.host.DoAt(callback, 1, thrown.act);
      EXPECT_EQ(stage.host.Render(smart), thrown.code) << callback;
      ExpectClean(stage);
    }
  }
  {
    Stage stage(Depth::kFloat);
    stage.host.DoAt("checkout_layer", 2, thrown.act);
    EXPECT_EQ(stage.host.PreRender(), thrown.code);
    ExpectClean(stage);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Exceptions, ThrowingHost,
    ::testing::Values(Thrown{"Code", [] { throw PF_Err{42}; }, 42},
                      Thrown{"NoMemory", [] { throw std::bad_alloc(); }, PF_Err_OUT_OF_MEMORY},
                      Thrown{"Standard", [] { throw std::runtime_error("host"); },
                             PF_Err_BAD_CALLBACK_PARAM},
                      Thrown{"Foreign", [] { throw "text"; }, PF_Err_BAD_CALLBACK_PARAM}),
    [](const ::testing::TestParamInfo<Thrown>& thrown) { return std::string(thrown.param.name); });

}  // namespace
}  // namespace veltra::conformance
