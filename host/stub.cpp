// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Proves that the public headers stand alone.

#include "host/renderer.h"
