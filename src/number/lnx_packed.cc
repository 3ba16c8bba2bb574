// Packed decimal: nibbles from the left, 0 before an even number of digits, the sign last.
//   123.45 with scale 2 is 12 34 5C in 5 digits, 00 12 34 5C in 6.
#include "number/lnx_field.h"

namespace kestra::number {
namespace {

constexpr unsigned kPositive = 0xC;
constexpr unsigned kNegative = 0xD;
constexpr unsigned kUnsigned = 0xF;
constexpr unsigned kAlternateNegative = 0xB;

std::size_t PackedSize(const lnxfield& field) noexcept { return field.digits / 2 + 1; }

void Pack(const FieldDigits& value, const lnxfield& field, std::uint8_t* out) noexcept {
  const std::size_t size = PackedSize(field);
  const unsigned sign = field.sign == LNX_SIGN_NONE ? kUnsigned
                        : value.negative            ? kNegative
                                                    : kPositive;
  const char* next = value.digits;
  std::size_t at = 0;
  if (field.digits % 2 == 0) out[at++] = static_cast<std::uint8_t>(*next++ - '0');
  for (; at + 1 < size; ++at, next += 2) {
    out[at] = static_cast<std::uint8_t>((next[0] - '0') << 4 | (next[1] - '0'));
  }
  out[at] = static_cast<std::uint8_t>(static_cast<unsigned>(*next - '0') << 4 | sign);
}

// False: bad is the offset of the first byte that is not of a packed field.
bool Unpack(const std::uint8_t* packed, const lnxfield& field, FieldDigits& value,
            std::size_t& bad) noexcept {
  const std::size_t size = PackedSize(field);
  char nibbles[LNX_FIELD_MAX_DIGITS + 1];  // the digits, after a 0 when their number is even
  std::size_t count = 0;
  for (bad = 0; bad < size; ++bad) {
    const unsigned high = packed[bad] >> 4;
    const unsigned low = packed[bad] & 0xF;
    const bool last = bad + 1 == size;
    if (high > 9 || (last ? low <= 9 : low > 9)) return false;
    nibbles[count++] = static_cast<char>('0' + high);
    if (!last) nibbles[count++] = static_cast<char>('0' + low);
  }
  const unsigned sign = packed[size - 1] & 0xF;
  value.negative = sign == kNegative || sign == kAlternateNegative;
  if (value.negative && field.sign == LNX_SIGN_NONE) {
    bad = size - 1;
    return false;
  }
  const std::size_t spare = count - field.digits;
  if (spare > 0 && nibbles[0] != '0') {
    bad = 0;
    return false;
  }
  std::memcpy(value.digits, nibbles + spare, field.digits);
  return true;
}

}  // namespace
}  // namespace kestra::number

static_assert(sizeof(lnxfield) == 16);

int lnxtopacked(const uint8_t* x, size_t xlen, const lnxfield* field, uint8_t* out, size_t outsize,
                size_t* outlen) noexcept {
  using namespace kestra::number;
  *outlen = 0;
  if (!IsField(*field)) return LNX_BAD_ARGUMENT;
  FieldDigits value;
  const int status = ScaleToField(RawBytes(x, xlen), *field, value);
  if (status != LNX_OK) return status;
  *outlen = PackedSize(*field);
  if (*outlen > outsize) return LNX_FULL;
  Pack(value, *field, out);
  return LNX_OK;
}

int lnxfrompacked(const uint8_t* packed, size_t size, const lnxfield* field, uint8_t* out,
                  size_t* outlen, size_t* bad) noexcept {
  using namespace kestra::number;
  if (!IsField(*field) || packed == nullptr || size != PackedSize(*field)) return LNX_BAD_ARGUMENT;
  FieldDigits value;
  std::size_t offset = 0;
  if (!Unpack(packed, *field, value, offset)) {
    if (bad != nullptr) *bad = offset;
    return LNX_BAD_BYTE;
  }
  return StoreField(value, *field, out, outlen);
}
