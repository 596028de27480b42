// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sine, cosine and arc cosine.

#include "numerics/trigonometry.h"

#include <cmath>

namespace veltra::numerics {

double Sin(double radians) { return std::sin(radians); }
double Cos(double radians) { return std::cos(radians); }
double Acos(double cosine) { return std::acos(cosine); }
SinCosResult SinCos(double radians) { return {Sin(radians), Cos(radians)}; }

}  // namespace veltra::numerics
