// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Colour conversions, for the three suites and the utility table. They look at nothing but their
// arguments, since pixel functions call them from many threads.
#pragma once

#include "host_api/suites.h"

namespace veltra::host {

const PF_ColorSuite1& ColorFunctions8();
const PF_Color16Suite1& ColorFunctions16();
const PF_ColorFloatSuite1& ColorFunctionsFloat();

}  // namespace veltra::host
