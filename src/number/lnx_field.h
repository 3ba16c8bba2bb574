// What packed and zoned fields share: a value as the digits of a scaled integer, and back.
#pragma once

#include "kestra/number_decimal.h"
#include "number/lnx_plan.h"
#include "number/lnx_text_read.h"

namespace kestra::number {

inline constexpr std::int32_t kMinScale = -130;
inline constexpr std::int32_t kMaxScale = 200;

inline bool IsField(const lnxfield& field) noexcept {
  return field.digits >= 1 && field.digits <= LNX_FIELD_MAX_DIGITS && field.scale >= kMinScale &&
         field.scale <= kMaxScale && field.sign <= LNX_SIGN_NONE &&
         field.code <= LNX_ZONED_ASCII_ZONE && (field.flags & ~LNX_FIELD_EXACT) == 0;
}

// The integer of a field: its digits in ASCII, with leading zeros, and its sign.
struct FieldDigits {
  char digits[LNX_FIELD_MAX_DIGITS];
  bool negative = false;
};

// LNX_OK, or why the number does not become such a field.
inline int ScaleToField(std::span<const std::uint8_t> bytes, const lnxfield& field,
                        FieldDigits& result) noexcept {
  Figures value;
  if (!ReadFigures(bytes, value)) return LNX_BAD_NUMBER;
  if (value.kind == Kind::kInfinity) return LNX_RANGE;
  if (!value.IsZero()) value.point += field.scale;
  if ((field.flags & LNX_FIELD_EXACT) != 0 && value.FractionDigits() > 0) return LNX_INEXACT;
  RoundToPlaces(value, 0);
  if (value.IntegerDigits() > field.digits) return LNX_RANGE;
  if (value.negative && field.sign == LNX_SIGN_NONE) return LNX_RANGE;
  result.negative = value.negative;
  PutDigits(result.digits, value, value.point - field.digits, field.digits);
  return LNX_OK;
}

inline int StoreField(const FieldDigits& read, const lnxfield& field, std::uint8_t* out,
                      std::size_t* outlen) noexcept {
  DigitCollector collector;
  collector.AddIntegers({read.digits, field.digits});
  return StoreFigures(collector.Finish(read.negative, -std::int64_t{field.scale}), out, outlen);
}

}  // namespace kestra::number
