// Datetimes and intervals in tests: written as text by a reading and writing of their own, and drawn
// at random.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "kestra/datetime.h"
#include "kestra/interval.h"

namespace kestra::test {

// "2020-02-29", "13:45:06.5", "2020-02-29 13:45:06", with " +05:30" behind. The type is the one that
// has these parts, unless it is given; anything else ends the program. "-4712-01-01" is a date too.
LdiDate Datetime(std::string_view text, std::uint32_t type = 0);

// "2020-02-29 13:45:06.500000000 +05:30 #12": all fields that the type has; the region after #.
std::string Show(const LdiDate& date);

// Fields as they stand: "3 4 5 6 7 /10".
std::string Show(const LdiInter& inter);

LdiInter Interval(std::uint32_t type, std::int32_t a, std::int32_t b = 0, std::int32_t c = 0,
                  std::int32_t d = 0, std::int32_t nanos = 0);

// Well-formed values. Dates crowd at the ends of months, years and of the calendar; fractions are
// often short; zones are offsets.
class DatetimeSource {
 public:
  explicit DatetimeSource(std::uint64_t seed) : random_(seed) {}
  std::uint64_t Below(std::uint64_t limit) { return random_() % limit; }
  LdiDate Date(std::uint32_t type);
  LdiDate Date();  // of any type
  LdiInter Inter(std::uint32_t type);
  LdiInter Inter();
  std::uint32_t DateType();
  std::uint32_t InterType() { return static_cast<std::uint32_t>(1 + Below(13)); }

 private:
  std::int32_t Magnitude(std::int32_t limit);
  std::mt19937_64 random_;
};

// How many random values the laws are tried on: KESTRA_DATETIME_LAWS, else the default.
std::size_t LawCount(std::size_t by_default);

}  // namespace kestra::test
