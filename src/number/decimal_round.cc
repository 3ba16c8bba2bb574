#include <cstdint>
#include <cstring>

#include "number/decimal_arithmetic.h"

namespace kestra::number {
namespace {

// Which way the part that is cut off lies of one half of the last place kept.
enum class Cut { kNothing, kBelowHalf, kHalf, kAboveHalf };

Cut CutOf(int part, int half, bool more) noexcept {
  if (part == 0 && !more) return Cut::kNothing;
  if (part != half) return part < half ? Cut::kBelowHalf : Cut::kAboveHalf;
  return more ? Cut::kAboveHalf : Cut::kHalf;
}

bool RoundsUp(Cut cut, Rounding rounding, bool last_is_odd) noexcept {
  if (rounding == Rounding::kTruncate) return false;
  if (cut == Cut::kHalf) return rounding == Rounding::kHalfAway || last_is_odd;
  return cut == Cut::kAboveHalf;
}

}  // namespace

Decimal RoundAt(const Decimal& x, int places, Rounding rounding) noexcept {
  if (x.kind != Kind::kFinite) return x;
  // An even place ends with a digit; an odd one inside a digit, of which the tens are kept.
  const bool inside = (places & 1) != 0;
  const long long end = x.exponent + ((static_cast<long long>(places) + (inside ? 1 : 0)) >> 1);
  if (end > x.count) return x;
  if (end < (inside ? 1 : 0)) return {};  // the value is below 1/10 of the last place kept
  const auto keep = static_cast<int>(end);

  std::uint8_t digits[1 + kMaxDigits] = {};  // a place for the carry
  std::memcpy(digits + 1, x.digits, static_cast<std::size_t>(keep));
  int unit = 1;
  Cut cut;
  if (inside) {
    unit = 10;
    const int part = digits[keep] % 10;
    cut = CutOf(part, 5, keep < x.count);
    digits[keep] = static_cast<std::uint8_t>(digits[keep] - part);
  } else {
    cut = keep == x.count ? Cut::kNothing : CutOf(x.digits[keep], kBase / 2, keep + 1 < x.count);
  }
  if (RoundsUp(cut, rounding, (digits[keep] / unit) % 2 != 0)) {
    int i = keep;
    digits[i] = static_cast<std::uint8_t>(digits[i] + unit);
    for (; digits[i] == kBase; --i) {
      digits[i] = 0;
      ++digits[i - 1];
    }
  }
  return MakeDecimal(x.negative, x.exponent + 1, {digits, static_cast<std::size_t>(keep) + 1});
}

}  // namespace kestra::number
