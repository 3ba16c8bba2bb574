// Queries on precisions, widths and single elements.
#include "number/ldsb_rules.h"

using namespace kestra::number::dsb;

int ldsbget_width(uint32_t precision) noexcept {
  return IsPrecision(precision) ? kWidths[precision] : KES_DSB_PRECISION;
}

int ldsbget_prec(size_t width) noexcept {
  const int precision = PrecisionOfWidth(width);
  return precision != 0 ? precision : KES_DSB_WIDTH;
}

int ldsbget_prec_ondigs(uint32_t digits) noexcept {
  if (digits > kestra::number::kMaxDigits) return KES_DSB_RANGE;
  return static_cast<int>(ldsbcpow100tab[digits][1]);
}

int ldsbget_valsigbits(const void* value, size_t width) noexcept {
  if (PrecisionOfWidth(width) == 0) return KES_DSB_WIDTH;
  return SignificantBits(LoadElement(value, width));
}

int ldsbget_minmaxsigbits(const void* min, const void* max, size_t width) noexcept {
  const int low = ldsbget_valsigbits(min, width);
  const int high = ldsbget_valsigbits(max, width);
  return low > high ? low : high;
}

int ldsbget_minprec(const void* value, size_t width) noexcept {
  if (PrecisionOfWidth(width) == 0) return KES_DSB_WIDTH;
  return PrecisionOf(LoadElement(value, width));
}

int ldsbget_buffer_size(const ldsbctx*, uint32_t precision, size_t count, size_t* size) noexcept {
  if (precision != KES_DSB_NARROWEST && !IsPrecision(precision)) return KES_DSB_PRECISION;
  const int known = precision == KES_DSB_NARROWEST ? kWidest : static_cast<int>(precision);
  std::size_t area = 0;
  if (!ElementArea(WidthOf(known), count, &area)) return KES_DSB_BUFFER;
  *size = kElementAlignment + area - 1;
  return KES_DSB_OK;
}
