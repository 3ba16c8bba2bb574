// Dates in tests: as text, random ones, columns of them.
#pragma once

#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/date.h"
#include "tests/support/date_context.h"

inline bool operator==(const ldxdate& a, const ldxdate& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.zero == b.zero;
}
std::ostream& operator<<(std::ostream& out, const ldxdate& date);

namespace kestra::test {

// A context without a language, which passes for its address. first_weekday: 0 Sunday.
class WeekContext {
 public:
  explicit WeekContext(unsigned first_weekday = 0) {
    context_.get()->first_weekday = static_cast<std::uint16_t>(first_weekday);
  }
  operator ldxctx*() { return context_.get(); }
  ldxctx* operator->() { return context_.get(); }

 private:
  DateContext context_;
};

// "2019-02-28" or "-4712-01-01 12:30:59"; ends the program on other text.
ldxdate Date(std::string_view text);
std::string Text(const ldxdate& date);

// The number of the error that a call raises, 0 when it returns.
template <typename Call>
std::uint32_t Raised(const Call& call) {
  try {
    call();
  } catch (const DateError& error) {
    return error.number;
  }
  return 0;
}

// Any date that there is, often at the ends of months, years and of the calendar.
ldxdate RandomDate(std::mt19937_64& random);
// Any eight bytes.
ldxdate RandomParts(std::mt19937_64& random);

template <typename T>
std::vector<T*> Addresses(std::vector<T>& values) {
  std::vector<T*> addresses;
  for (T& value : values) addresses.push_back(&value);
  return addresses;
}
template <typename T>
std::vector<const T*> Addresses(const std::vector<T>& values) {
  std::vector<const T*> addresses;
  for (const T& value : values) addresses.push_back(&value);
  return addresses;
}

}  // namespace kestra::test
