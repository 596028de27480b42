// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Who the effect is: the one source of its names, versions and flags, for the code and, through
// the resource compiler, for the PiPL. Plain macros, since that compiler knows nothing else.
#ifndef VELTRA_ENTRY_IDENTITY_H
#define VELTRA_ENTRY_IDENTITY_H

#define VELTRA_DISPLAY_NAME "NVT Veltra"
#define VELTRA_MATCH_NAME "NSVeltra"
#define VELTRA_CATEGORY "Norvik Systems FX"
#define VELTRA_ENTRY_POINT "MainEntry"
#define VELTRA_SUPPORT_URL "https://veltra.example"

#define VELTRA_API_MAJOR 13
#define VELTRA_API_MINOR 28

/* PF_VERSION(1, 5, 0, PF_Stage_RELEASE, 0) */
#define VELTRA_EFFECT_VERSION 0x000A8600
#define VELTRA_VERSION_MAJOR 1
#define VELTRA_VERSION_MINOR 5

/* 16-bit colour, and only the output's extent has to be filled. */
#define VELTRA_OUT_FLAGS 0x02000040
/* Smart render, float colour, several frames at once. */
#define VELTRA_OUT_FLAGS2 0x08001400

#endif
