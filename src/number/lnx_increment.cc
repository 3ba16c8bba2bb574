// Counters: a step that changes nothing but the units digit is done on its byte; any other is an
// addition.
#include "kestra/number.h"
#include "number/number_view.h"

namespace kestra::number {
namespace {

constexpr std::uint8_t kLowestCounter = 193;   // exponent byte of 1..99
constexpr std::uint8_t kHighestCounter = 211;  // of numbers below 10^38

// The units byte of a positive number of at least 1 that goes down that far, else null.
std::uint8_t* UnitsByte(std::uint8_t* bytes, std::size_t length) noexcept {
  if (length == 0 || length > kMaxBytes) return nullptr;
  if (bytes[0] < kLowestCounter || bytes[0] > kHighestCounter) return nullptr;
  const std::size_t place = static_cast<std::size_t>(bytes[0]) - kExponentBias;
  return place < length ? bytes + place : nullptr;
}

}  // namespace
}  // namespace kestra::number

using kestra::number::UnitsByte;

void lnxinc(uint8_t* number, size_t* length) noexcept {
  uint8_t* bytes = length == nullptr ? number + 1 : number;
  const size_t size = length == nullptr ? *number : *length;
  uint8_t* units = UnitsByte(bytes, size);
  if (units != nullptr && *units >= 1 && *units < 100) {  // the digit is 0..98
    ++*units;
    return;
  }
  lnxadd(size == 0 ? nullptr : bytes, size, lnxqpos1, 0, number, length);
}

void lnxdec(uint8_t* number, size_t* length) noexcept {
  uint8_t* bytes = length == nullptr ? number + 1 : number;
  const size_t size = length == nullptr ? *number : *length;
  uint8_t* units = UnitsByte(bytes, size);
  if (units != nullptr && *units > 2 &&
      *units <= 100) {  // the digit is 2..99: 0 is not stored last
    --*units;
    return;
  }
  lnxsub(size == 0 ? nullptr : bytes, size, lnxqpos1, 0, number, length);
}
