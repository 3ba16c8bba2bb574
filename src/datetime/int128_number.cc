#include "datetime/int128_number.h"

#include "kestra/number.h"
#include "kestra/number_native.h"

namespace kestra::datetime {
namespace {

struct Number {
  std::uint8_t bytes[KES_NUMBER_PREFIXED_BYTES];
  std::size_t length;
};

Number FromInteger(Int128 value) noexcept {
  Number number;
  if (value >= INT64_MIN && value <= INT64_MAX) {
    lnxmin(static_cast<std::int64_t>(value), number.bytes, &number.length);
  } else {
    lnxmiq(static_cast<std::int64_t>(value >> 64), static_cast<std::uint64_t>(value), number.bytes,
           &number.length);
  }
  return number;
}

bool ToInteger(const Number& number, Int128& value) noexcept {
  Int128 read = 0;
  if (lnxgin(number.bytes, number.length, &read, sizeof read) < 0) return false;
  value = read;
  return true;
}

}  // namespace

void StoreQuotient(Int128 value, std::int64_t by, std::uint8_t* out, std::size_t* outlen) noexcept {
  const Number x = FromInteger(value);
  if (by == 1) {
    lnxcopy(x.bytes, x.length, out, outlen);
    return;
  }
  const Number y = FromInteger(by);
  lnxdiv(x.bytes, x.length, y.bytes, y.length, out, outlen);
}

bool ReadProduct(const std::uint8_t* x, std::size_t xlen, Int128 by, Int128& value) noexcept {
  const Number y = FromInteger(by);
  Number product;
  lnxmul(x, xlen, y.bytes, y.length, product.bytes, &product.length);
  return ToInteger(product, value);
}

bool DivideByNumber(Int128 value, const std::uint8_t* x, std::size_t xlen,
                    Int128& quotient) noexcept {
  const Number dividend = FromInteger(value);
  Number result;
  lnxdiv(dividend.bytes, dividend.length, x, xlen, result.bytes, &result.length);
  return ToInteger(result, quotient);
}

}  // namespace kestra::datetime
