// Packed and zoned fields: five bytes describe the field, the rest is its content. Law: a field
// that reads becomes a number that makes a field that reads as the same number.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "kestra/number.h"
#include "kestra/number_decimal.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::test::Require;

using ToField = int(const std::uint8_t*, std::size_t, const lnxfield*, std::uint8_t*, std::size_t,
                    std::size_t*);
using FromField = int(const std::uint8_t*, std::size_t, const lnxfield*, std::uint8_t*,
                      std::size_t*, std::size_t*);

void CheckField(ToField* to, FromField* from, const lnxfield& field, const std::uint8_t* bytes,
                std::size_t size) {
  std::uint8_t number[21];
  std::size_t length = 0, bad = 0;
  const int status = from(bytes, size, &field, number, &length, &bad);
  if (status == LNX_BAD_BYTE) Require(bad < size);
  if (status != LNX_OK) return;
  Require(lnxchk(number, length) == 1);
  std::size_t needed = 0;
  const int full = to(number, length, &field, nullptr, 0, &needed);
  if (full == LNX_RANGE) {
    Require(field.digits > 38);  // rounding to 20 base-100 digits added a digit
    return;
  }
  Require(full == LNX_FULL && needed == size);
  const auto exact = std::make_unique<std::uint8_t[]>(needed);
  Require(to(number, length, &field, exact.get(), needed, &needed) == LNX_OK);
  std::uint8_t again[22];
  Require(from(exact.get(), needed, &field, again, nullptr, nullptr) == LNX_OK);
  Require(again[0] == length && std::memcmp(again + 1, number, length) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  lnxfield field = {};
  field.scale = static_cast<std::int8_t>(data[1]);
  field.sign = data[2] % 6;
  field.code = data[3] % 4;
  field.flags = data[4] % 3;
  data += 5;
  size -= 5;
  // The field that the content would fill.
  field.digits = static_cast<std::uint32_t>(2 * size) - (data[-5] % 2 == 0 ? 1 : 2);
  CheckField(lnxtopacked, lnxfrompacked, field, data, size);
  field.digits = static_cast<std::uint32_t>(size) - (data[-5] % 2 == 0 ? 0 : 1);
  CheckField(lnxtozoned, lnxfromzoned, field, data, size);
  std::uint8_t out[128];
  std::size_t length = 0;
  lnxtopacked(data, size, &field, out, sizeof out, &length);
  lnxtozoned(data, size, &field, out, sizeof out, &length);
  return 0;
}
