// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The transfer modes, one pixel at a time. The mixing functions are those of public compositing
// (the separable and non-separable blend modes of the W3C's Compositing and Blending Level 1, and
// the linear, vivid and pin lights that image editors agree on).

#include <algorithm>
#include <cmath>

#include "host/pixels/composite.h"

namespace veltra::host {
namespace {

double Burn(double below, double above) {
  return below >= 1 ? 1 : above <= 0 ? 0 : 1 - std::min(1.0, (1 - below) / above);
}

double Dodge(double below, double above) {
  return below <= 0 ? 0 : above >= 1 ? 1 : std::min(1.0, below / (1 - above));
}

double HardLight(double below, double above) {
  return above <= 0.5 ? 2 * below * above : 1 - 2 * (1 - below) * (1 - above);
}

double SoftLight(double below, double above) {
  if (above <= 0.5) {
    return below - (1 - 2 * above) * below * (1 - below);
  }
  const double curve = below <= 0.25 ? ((16 * below - 12) * below + 4) * below : std::sqrt(below);
  return below + (2 * above - 1) * (curve - below);
}

double Divide(double below, double above) {
  return above > 0 ? std::min(1.0, below / above) : below > 0 ? 1 : 0;
}

/// The mix of one channel; modes that look at whole colours are not among them.
double MixChannel(PF_TransferMode mode, double below, double above) {
  switch (mode) {
    case PF_Xfer_ADD:
    case PF_Xfer_LINEAR_DODGE:
      return std::min(1.0, below + above);
    case PF_Xfer_MULTIPLY:
      return below * above;
    case PF_Xfer_SCREEN:
      return below + above - below * above;
    case PF_Xfer_OVERLAY:
      return HardLight(above, below);
    case PF_Xfer_SOFT_LIGHT:
      return SoftLight(below, above);
    case PF_Xfer_HARD_LIGHT:
      return HardLight(below, above);
    case PF_Xfer_DARKEN:
      return std::min(below, above);
    case PF_Xfer_LIGHTEN:
      return std::max(below, above);
    case PF_Xfer_DIFFERENCE:
    case PF_Xfer_DIFFERENCE2:
      return std::abs(below - above);
    case PF_Xfer_COLOR_DODGE:
    case PF_Xfer_COLOR_DODGE2:
      return Dodge(below, above);
    case PF_Xfer_COLOR_BURN:
    case PF_Xfer_COLOR_BURN2:
      return Burn(below, above);
    case PF_Xfer_EXCLUSION:
      return below + above - 2 * below * above;
    case PF_Xfer_LINEAR_BURN:
      return std::max(0.0, below + above - 1);
    case PF_Xfer_LINEAR_LIGHT:
      return std::clamp(below + 2 * above - 1, 0.0, 1.0);
    case PF_Xfer_VIVID_LIGHT:
      return above <= 0.5 ? Burn(below, 2 * above) : Dodge(below, 2 * above - 1);
    case PF_Xfer_PIN_LIGHT:
      return above <= 0.5 ? std::min(below, 2 * above) : std::max(below, 2 * above - 1);
    case PF_Xfer_HARD_MIX:
      return below + above >= 1 ? 1 : 0;
    case PF_Xfer_SUBTRACT:
      return std::max(0.0, below - above);
    case PF_Xfer_DIVIDE:
      return Divide(below, above);
    default:
      return above;
  }
}

// ---- Whole colours ----

double Luminosity(const UnitPixel& c) {
  return 0.3 * c.red + 0.59 * c.green + 0.11 * c.blue;
}

double Saturation(const UnitPixel& c) {
  return std::max({c.red, c.green, c.blue}) - std::min({c.red, c.green, c.blue});
}

/// Pulls channels into 0 to 1 without changing the luminosity.
UnitPixel ClipColor(UnitPixel c) {
  const double light = Luminosity(c);
  const double low = std::min({c.red, c.green, c.blue});
  const double high = std::max({c.red, c.green, c.blue});
  const auto pull = [&](double& channel) {
    if (low < 0 && light > low) {
      channel = light + (channel - light) * light / (light - low);
    }
    if (high > 1 && high > light) {
      channel = light + (channel - light) * (1 - light) / (high - light);
    }
  };
  pull(c.red);
  pull(c.green);
  pull(c.blue);
  return c;
}

UnitPixel WithLuminosity(UnitPixel c, double light) {
  const double shift = light - Luminosity(c);
  c.red += shift;
  c.green += shift;
  c.blue += shift;
  return ClipColor(c);
}

UnitPixel WithSaturation(UnitPixel c, double saturation) {
  const double low = std::min({c.red, c.green, c.blue});
  const double spread = Saturation(c);
  const auto scale = [&](double channel) {
    return spread > 0 ? (channel - low) * saturation / spread : 0;
  };
  return {c.alpha, scale(c.red), scale(c.green), scale(c.blue)};
}

UnitPixel Mix(PF_TransferMode mode, const UnitPixel& below, const UnitPixel& above) {
  switch (mode) {
    case PF_Xfer_HUE:
      return WithLuminosity(WithSaturation(above, Saturation(below)), Luminosity(below));
    case PF_Xfer_SATURATION:
      return WithLuminosity(WithSaturation(below, Saturation(above)), Luminosity(below));
    case PF_Xfer_COLOR:
      return WithLuminosity(above, Luminosity(below));
    case PF_Xfer_LUMINOSITY:
      return WithLuminosity(below, Luminosity(above));
    case PF_Xfer_LIGHTER_COLOR:
      return Luminosity(above) > Luminosity(below) ? above : below;
    case PF_Xfer_DARKER_COLOR:
      return Luminosity(above) < Luminosity(below) ? above : below;
    default:
      return {0, MixChannel(mode, below.red, above.red), MixChannel(mode, below.green, above.green),
              MixChannel(mode, below.blue, above.blue)};
  }
}

// ---- Coverage ----

/// The pixel whose colour is the sum of two premultiplied ones; black without alpha.
UnitPixel Sum(double alpha, const UnitPixel& a, double weightA, const UnitPixel& b,
              double weightB) {
  if (!(alpha > 0)) {
    return {};
  }
  const auto channel = [&](double x, double y) { return (weightA * x + weightB * y) / alpha; };
  return {alpha, channel(a.red, b.red), channel(a.green, b.green), channel(a.blue, b.blue)};
}

/// The source, `s` of it, over the destination, mixed where both are.
UnitPixel Blended(PF_TransferMode mode, const UnitPixel& source, const UnitPixel& destination,
                  double s) {
  const double d = destination.alpha;
  const double alpha = s + d - s * d;
  if (!(alpha > 0)) {
    return {};
  }
  const UnitPixel both = Mix(mode, destination, source);
  const auto channel = [&](double below, double above, double mixed) {
    return ((1 - s) * d * below + s * (1 - d) * above + s * d * mixed) / alpha;
  };
  return {alpha, channel(destination.red, source.red, both.red),
          channel(destination.green, source.green, both.green),
          channel(destination.blue, source.blue, both.blue)};
}

/// The same number for the same pixel and seed, spread evenly over 0 to 1.
double Grain(std::uint32_t seed, A_long x, A_long y) {
  std::uint64_t h = (static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32) |
                    static_cast<std::uint32_t>(y);
  h ^= seed * std::uint64_t{0x9E3779B97F4A7C15};
  h = (h ^ (h >> 30)) * std::uint64_t{0xBF58476D1CE4E5B9};
  h = (h ^ (h >> 27)) * std::uint64_t{0x94D049BB133111EB};
  return static_cast<double>((h ^ (h >> 31)) >> 11) / 9007199254740992.0;
}

/// Modes that only lower the destination's alpha, by a factor that full opacity applies wholly.
UnitPixel Matted(const UnitPixel& destination, double factor, double share) {
  UnitPixel out = destination;
  out.alpha *= 1 - share + share * factor;
  return out;
}

}  // namespace

bool IsTransferMode(PF_TransferMode mode) {
  return mode >= PF_Xfer_NONE && mode <= PF_Xfer_DIVIDE;
}

UnitPixel Composite(const TransferSettings& settings, const UnitPixel& source,
                    const UnitPixel& destination, double share, A_long x, A_long y) {
  const double k = settings.opacity * share;
  const double s = source.alpha * k;
  UnitPixel out;
  switch (settings.mode) {
    case PF_Xfer_NONE:
      return destination;
    case PF_Xfer_MULTIPLY_ALPHA:
      return Matted(destination, source.alpha, k);
    case PF_Xfer_MULTIPLY_ALPHA_LUMA:
      return Matted(destination, Luminosity(source), k);
    case PF_Xfer_MULTIPLY_NOT_ALPHA:
      return Matted(destination, 1 - source.alpha, k);
    case PF_Xfer_MULTIPLY_NOT_ALPHA_LUMA:
      return Matted(destination, 1 - Luminosity(source), k);
    case PF_Xfer_COPY:
      out =
          Sum(s + (1 - k) * destination.alpha, source, s, destination, (1 - k) * destination.alpha);
      // A full copy keeps the colour of what is transparent.
      if (k == 1) {
        out = source;
      }
      break;
    case PF_Xfer_BEHIND:
      out = Sum(s + destination.alpha - s * destination.alpha, source, s * (1 - destination.alpha),
                destination, destination.alpha);
      break;
    case PF_Xfer_DISSOLVE:
      if (Grain(settings.seed, x, y) >= s) {
        return destination;
      }
      out = source;
      out.alpha = 1;
      break;
    case PF_Xfer_ADDITIVE_PREMUL:
      out = Sum(s + destination.alpha - s * destination.alpha, source, k, destination,
                (1 - s) * destination.alpha);
      break;
    case PF_Xfer_ALPHA_ADD:
      out = Sum(s + destination.alpha, source, s, destination, destination.alpha);
      out.alpha = std::min(1.0, out.alpha);
      break;
    default:
      out = Blended(settings.mode, source, destination, s);
      break;
  }
  if (settings.rgbOnly) {
    out.alpha = destination.alpha;
  }
  return out;
}

}  // namespace veltra::host
