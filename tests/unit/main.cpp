// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs the unit tests of the effect's own parts, which are linked in.
#include <gmock/gmock.h>

#include "tests/conformance/stage.h"

extern "C" veltra::PF_Err MainEntry(veltra::PF_Cmd cmd, veltra::PF_InData* inData,
                                    veltra::PF_OutData* outData, veltra::PF_ParamDef* params[],
                                    veltra::PF_LayerDef* output, void* extra);

namespace veltra::conformance {

const Library& Effect() {
  static const Library library{&MainEntry, nullptr};
  return library;
}

}  // namespace veltra::conformance

int main(int argc, char** argv) {
  ::testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
