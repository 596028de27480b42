// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fuzzes whole frames through the two exported functions, classic and smart, with faults.

#include "fuzz/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  veltra::fuzz::ByteReader bytes({data, size});
  veltra::fuzz::FuzzHost host(bytes);
  host.Run();
  return 0;
}
