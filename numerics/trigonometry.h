// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sine, cosine and arc cosine in double precision with the same bits on every platform.
#pragma once

namespace veltra::numerics {

/// Radians, any finite value; NaN for infinities and NaN. Below 1 ulp of error. Sin(-0) is -0,
/// Sin(0) is 0, Cos(0) is 1.
double Sin(double radians);
double Cos(double radians);

/// In [0, pi], below 1 ulp of error; NaN outside [-1, 1]. Acos(1) is 0, Acos(0) the double nearest
/// to pi / 2, Acos(-1) the one nearest to pi.
double Acos(double cosine);

struct SinCosResult {
  double sine;
  double cosine;
};

/// Both at once, the same bits as Sin and Cos.
SinCosResult SinCos(double radians);

}  // namespace veltra::numerics
