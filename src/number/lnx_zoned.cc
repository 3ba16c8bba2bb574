// Zoned decimal: a byte a digit. A table of each code tells what a byte means as an overpunched
// digit; everything else is a plain digit or a separate sign.
#include <array>

#include "number/lnx_field.h"

namespace kestra::number {
namespace {

constexpr std::uint8_t kNoDigit = 0xFF;
constexpr std::uint8_t kMinus = 0x10;  // added to the digit of a negative overpunch

// Byte to digit, plus kMinus; kNoDigit where the byte is neither.
using OverpunchTable = std::array<std::uint8_t, 256>;

struct Code {
  std::uint8_t zero;                                // the digit 0; the others follow
  std::uint8_t plus, minus;                         // separate signs
  std::array<std::uint8_t, 10> positive, negative;  // overpunched digits
  OverpunchTable overpunched;
};

constexpr std::array<std::uint8_t, 10> Run(std::uint8_t zero, std::uint8_t one) {
  std::array<std::uint8_t, 10> row{zero};
  for (std::uint8_t i = 1; i < 10; ++i) row[i] = static_cast<std::uint8_t>(one + i - 1);
  return row;
}

constexpr std::array<std::uint8_t, 10> ZoneRow(int zone) {
  return Run(static_cast<std::uint8_t>(zone), static_cast<std::uint8_t>(zone + 1));
}

constexpr void AddRow(OverpunchTable& table, const std::array<std::uint8_t, 10>& row,
                      std::uint8_t sign) {
  for (std::uint8_t i = 0; i < 10; ++i) table[row[i]] = static_cast<std::uint8_t>(i + sign);
}

constexpr auto kLettersPositive = Run('{', 'A');
constexpr auto kLettersNegative = Run('}', 'J');
constexpr auto kZonePositive = Run('0', '1');
constexpr auto kZoneNegative = Run('p', 'q');

constexpr OverpunchTable MakeAscii() {
  OverpunchTable table{};
  for (std::uint8_t& entry : table) entry = kNoDigit;
  AddRow(table, kLettersPositive, 0);
  AddRow(table, kLettersNegative, kMinus);
  AddRow(table, kZonePositive, 0);
  AddRow(table, kZoneNegative, kMinus);
  return table;
}

constexpr OverpunchTable MakeEbcdic() {
  OverpunchTable table{};
  for (std::uint8_t& entry : table) entry = kNoDigit;
  for (const int zone : {0xA0, 0xC0, 0xE0, 0xF0}) {
    AddRow(table, ZoneRow(zone), 0);
  }
  for (const int zone : {0xB0, 0xD0}) {
    AddRow(table, ZoneRow(zone), kMinus);
  }
  return table;
}

// In the order of LNX_ZONED_EBCDIC, LNX_ZONED_ASCII, LNX_ZONED_ASCII_ZONE.
constexpr Code kCodes[] = {
    {0xF0, 0x4E, 0x60, Run(0xC0, 0xC1), Run(0xD0, 0xD1), MakeEbcdic()},
    {'0', '+', '-', kLettersPositive, kLettersNegative, MakeAscii()},
    {'0', '+', '-', kZonePositive, kZoneNegative, MakeAscii()},
};

bool IsSeparate(const lnxfield& field) noexcept {
  return field.sign == LNX_SIGN_SEPARATE_LAST || field.sign == LNX_SIGN_SEPARATE_FIRST;
}

std::size_t ZonedSize(const lnxfield& field) noexcept {
  return field.digits + (IsSeparate(field) ? 1 : 0);
}

// Offset of the byte that carries the sign; of no byte in an unsigned field.
std::size_t SignOffset(const lnxfield& field) noexcept {
  switch (field.sign) {
    case LNX_SIGN_FIRST:
    case LNX_SIGN_SEPARATE_FIRST:
      return 0;
    case LNX_SIGN_NONE:
      return ZonedSize(field);
    default:
      return ZonedSize(field) - 1;
  }
}

void Write(const FieldDigits& value, const lnxfield& field, std::uint8_t* out) noexcept {
  const Code& code = kCodes[field.code];
  const std::size_t sign = SignOffset(field);
  const char* next = value.digits;
  for (std::size_t at = 0; at < ZonedSize(field); ++at) {
    if (at == sign && IsSeparate(field)) {
      out[at] = value.negative ? code.minus : code.plus;
      continue;
    }
    const auto digit = static_cast<std::uint8_t>(*next++ - '0');
    if (at == sign) {
      out[at] = value.negative ? code.negative[digit] : code.positive[digit];
    } else {
      out[at] = static_cast<std::uint8_t>(code.zero + digit);
    }
  }
}

// False: bad is the offset of the first byte that is not of the field.
bool Read(const std::uint8_t* zoned, const lnxfield& field, FieldDigits& value,
          std::size_t& bad) noexcept {
  const Code& code = kCodes[field.code];
  const std::size_t sign = SignOffset(field);
  char* next = value.digits;
  for (bad = 0; bad < ZonedSize(field); ++bad) {
    const std::uint8_t byte = zoned[bad];
    if (bad == sign && IsSeparate(field)) {
      if (byte != code.plus && byte != code.minus) return false;
      value.negative = byte == code.minus;
    } else if (bad == sign) {
      const std::uint8_t digit = code.overpunched[byte];
      if (digit == kNoDigit) return false;
      value.negative = (digit & kMinus) != 0;
      *next++ = static_cast<char>('0' + (digit & 0xF));
    } else {
      const auto digit = static_cast<std::uint8_t>(byte - code.zero);
      if (digit > 9) return false;
      *next++ = static_cast<char>('0' + digit);
    }
  }
  return true;
}

}  // namespace
}  // namespace kestra::number

int lnxtozoned(const uint8_t* x, size_t xlen, const lnxfield* field, uint8_t* out, size_t outsize,
               size_t* outlen) noexcept {
  using namespace kestra::number;
  *outlen = 0;
  if (!IsField(*field)) return LNX_BAD_ARGUMENT;
  FieldDigits value;
  const int status = ScaleToField(RawBytes(x, xlen), *field, value);
  if (status != LNX_OK) return status;
  *outlen = ZonedSize(*field);
  if (*outlen > outsize) return LNX_FULL;
  Write(value, *field, out);
  return LNX_OK;
}

int lnxfromzoned(const uint8_t* zoned, size_t size, const lnxfield* field, uint8_t* out,
                 size_t* outlen, size_t* bad) noexcept {
  using namespace kestra::number;
  if (!IsField(*field) || zoned == nullptr || size != ZonedSize(*field)) return LNX_BAD_ARGUMENT;
  FieldDigits value;
  std::size_t offset = 0;
  if (!Read(zoned, *field, value, offset)) {
    if (bad != nullptr) *bad = offset;
    return LNX_BAD_BYTE;
  }
  return StoreField(value, *field, out, outlen);
}
