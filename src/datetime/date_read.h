// Texts read by compiled formats: the walk gathers fields, which are then brought together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/date_model.h"

namespace kestra::datetime {

// What a text said in the elements of datetime_model.h. Names are in ASCII.
struct DatetimeFields {
  std::uint64_t seen = 0;  // bits of DatetimeBit; FF with any number of digits is that of FF
  std::uint32_t fraction = 0;
  std::uint32_t hour25 = 0;
  std::int32_t zone_hour = 0;
  std::int32_t zone_minute = 0;
  bool zone_negative = false;
  bool zone_positive = false;
  bool zone_hour_said = false;
  bool zone_minute_said = false;
  char region[64] = {};
  char abbreviation[16] = {};
};

// What a text said. A value is there when its element was seen.
struct ReadFields {
  std::uint64_t seen = 0;  // elements, by code
  std::int32_t value[kCodes];
  std::uint32_t where[kCodes];          // offset in the text
  std::uint32_t weekdays = 0;           // DAY, DY: bit n: it may be this one, 0 Sunday
  std::uint32_t short_year_digits = 0;  // RR, RRRR: how many digits there were
  std::size_t text_length = 0;
  DatetimeFields* datetime = nullptr;  // null: formats have no such elements

  bool has(std::uint32_t code) const noexcept { return (seen & Bit(code)) != 0; }
  bool any(std::uint64_t codes) const noexcept { return (seen & codes) != 0; }
  // The element among these that was seen, of which groups allow one; 0: none.
  std::uint32_t which(std::uint64_t codes) const noexcept {
    const std::uint64_t found = seen & codes;
    return found == 0 ? 0 : static_cast<std::uint32_t>(__builtin_ctzll(found));
  }
};

// Whether a format can be read with: 1820, or the groups' and repeats' errors for one that was
// compiled for writing, 1821 when it is damaged. Its offset is in the format.
Fault CheckReadable(std::span<const std::uint8_t> format, bool datetime = false) noexcept;

// Walks a checked format along a text. full_years: the first YY or RR reads four digits.
Fault ReadText(ldxctx& ctx, std::span<const std::uint8_t> text,
               std::span<const std::uint8_t> format, bool full_years, ReadFields& fields) noexcept;

// The date that fields make, in their context's calendar.
Fault CombineFields(const ldxctx& ctx, const ReadFields& fields, ldxdate& out) noexcept;

// The text of a date in a format, with the second try with full years.
Fault ReadDate(ldxctx& ctx, std::span<const std::uint8_t> text,
               std::span<const std::uint8_t> format, bool retry, ldxdate& out) noexcept;

// What a second try goes by: a YY or RR, and no FX.
struct RetryFacts {
  bool short_year;
  bool exact;
};
RetryFacts FactsOf(std::span<const std::uint8_t> format) noexcept;

}  // namespace kestra::datetime
