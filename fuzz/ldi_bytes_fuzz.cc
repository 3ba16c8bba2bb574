// Stored forms of datetimes and intervals: what is accepted is valid and comes back as the same
// value, and as the same bytes where there is one form only. Values with regions keep theirs.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz/region_session.h"
#include "kestra/datetime_arithmetic.h"
#include "tests/support/record_laws.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void TryDatetime(const std::uint8_t* data, std::size_t size, std::uint32_t type) {
  const LdiSession& session = RegionSession();
  static kestra::test::RecordLaws laws(session);
  LdiDate date;
  std::memset(&date, 0xA5, sizeof date);
  const LdiDate before = date;
  if (LdiDateFromArray(&date, data, size, type, &session) != 0) {
    Require(std::memcmp(&date, &before, sizeof date) == 0);
    return;
  }
  Require(laws.Broken(date) == nullptr);
  std::uint8_t bytes[KES_DATETIME_BYTES];
  std::size_t length = 0;
  Require(LdiDateToArray(bytes, sizeof bytes, &length, &date) == 0);
  if (length == size) Require(std::memcmp(bytes, data, size) == 0);
}

void TryInterval(const std::uint8_t* data, std::size_t size, std::uint32_t type) {
  LdiInter inter;
  if (LdiInterFromArray(&inter, data, size, type) != 0) return;
  Require(LdiInterCheck(&inter) == 0);
  std::uint8_t bytes[KES_INTERVAL_BYTES];
  std::size_t length = 0;
  Require(LdiInterToArray(bytes, sizeof bytes, &length, &inter) == 0);
  LdiInter again;
  Require(LdiInterFromArray(&again, bytes, length, type) == 0);
  Require(std::memcmp(&again, &inter, sizeof inter) == 0);
}

// Array forms answer for a record in a vector what the scalar ones do.
void TryArrays(const LdiDate& x, const LdiDate& y, const LdiInter& inter) {
  constexpr std::size_t kCount = 9;
  const LdiDate* dates[kCount];
  const LdiInter* inters[kCount];
  LdiDate sums[kCount], sum;
  LdiInter differences[kCount], difference;
  LdiDate* to_sums[kCount];
  LdiInter* to_differences[kCount];
  for (std::size_t i = 0; i < kCount; ++i) {
    dates[i] = &x;
    inters[i] = &inter;
    to_sums[i] = &sums[i];
    to_differences[i] = &differences[i];
  }
  const LdiDate* const other = &y;
  std::int8_t orders[kCount];
  int order = 0;
  std::size_t done = 0;
  std::uint32_t error = LdiDateInterAdd(&sum, &x, &inter);
  Require(LdiDateInterAddarr(to_sums, dates, kCount, inters, 0, &done) == error);
  Require(error != 0 || std::memcmp(&sums[7], &sum, sizeof sum) == 0);
  error = LdiDateDateSubtract(&difference, &x, &y, KES_INTERVAL_DAY_TO_SECOND);
  Require(LdiDateDateSubtractarr(to_differences, dates, kCount, &other, KES_INTERVAL_DAY_TO_SECOND,
                                 KES_DATETIME_SHARED, &done) == error);
  Require(error != 0 || std::memcmp(&differences[7], &difference, sizeof difference) == 0);
  error = LdiDateCompare(&x, &y, nullptr, &order);
  Require(LdiDateComparearr(orders, dates, kCount, &other, nullptr, KES_DATETIME_SHARED, &done) ==
          error);
  Require(error != 0 || orders[7] == order);
}

// Records of any bytes do no harm.
void TryRecords(const std::uint8_t* data, std::size_t size) {
  LdiDate x{};
  LdiDate y{};
  LdiInter inter{};
  std::memcpy(&x, data, size < sizeof x ? size : sizeof x);
  if (size > sizeof x) {
    const std::size_t rest = size - sizeof x;
    std::memcpy(&inter, data + sizeof x, rest < sizeof inter ? rest : sizeof inter);
    std::memcpy(&y, data + sizeof x, rest < sizeof y ? rest : sizeof y);
  }
  LdiDate out;
  LdiInter difference;
  int order = 0;
  const bool valid = LdiDateCheck(&x) == 0 && LdiInterCheck(&inter) == 0;
  if (LdiDateInterAddTZISO(&out, &x, &inter, nullptr) == 0 && valid) {
    Require(LdiDateCheck(&out) == 0);
  }
  LdiDateInterSubtract(&out, &x, &inter);
  LdiDateIntertimeAdd(&out, &x, &inter, nullptr);
  LdiDateDateSubtract(&difference, &x, &y, KES_INTERVAL_DAY_TO_SECOND);
  LdiDateDateSubtractWithTZ(&difference, &x, &y, KES_INTERVAL_MONTH, nullptr);
  LdiDateCompare(&x, &y, nullptr, &order);
  LdiDateDateConvert(&out, &x, KES_DATETIME_TIMESTAMP_LTZ, 9, nullptr);
  LdiRound(&out, &x, size > 2 ? data[2] : 0, 0, nullptr);
  LdiInterInterAdd(&difference, &inter, &inter);
  LdiIIntMult(&difference, &inter, order + 7);
  TryArrays(x, y, inter);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::uint32_t type = data[0];
  TryDatetime(data + 1, size - 1, type & 7);
  TryInterval(data + 1, size - 1, type & 15);
  TryRecords(data + 1, size - 1);
  return 0;
}
