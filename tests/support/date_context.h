// Date contexts for tests: errors are thrown as numbers.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/date.h"
#include "kestra/date_format.h"

namespace kestra::test {

inline ldxdate MakeDate(int year, int month, int day, int hour = 0, int minute = 0,
                        int second = 0) {
  ldxdate date{};
  date.year = static_cast<std::int16_t>(year);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  date.hour = static_cast<std::uint8_t>(hour);
  date.minute = static_cast<std::uint8_t>(minute);
  date.second = static_cast<std::uint8_t>(second);
  return date;
}

struct DateError {
  std::uint32_t number;
};

inline void ThrowDateError(ldxctx*, std::uint32_t number) { throw DateError{number}; }

inline const std::uint8_t* TextData(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

// A context that throws; without a handle it is English ASCII.
class DateContext {
 public:
  // Today is 23 November 2026.
  DateContext() {
    ldxbegin(&ctx_, nullptr, ThrowDateError, nullptr);
    ctx_.today = MakeDate(2026, 11, 23);
  }
  DateContext(const lxhandle* handle, lxcontext* nls) {
    ldxcbeg(&ctx_, handle, nls, ThrowDateError, nullptr);
    ctx_.today = MakeDate(2026, 11, 23);
  }
  ~DateContext() { ldxend(&ctx_); }
  DateContext(const DateContext&) = delete;
  DateContext& operator=(const DateContext&) = delete;

  ldxctx* get() { return &ctx_; }

  std::string Compile(std::string_view model, std::size_t room = 4096) {
    std::string out(room, '\xEE');
    const std::size_t length = ldxsti(&ctx_, TextData(model), model.size(),
                                      reinterpret_cast<std::uint8_t*>(out.data()), room);
    out.resize(length);
    return out;
  }
  std::string CompileForOutput(std::string_view model) {
    std::string out(4096, '\xEE');
    const std::size_t length = ldxsto(&ctx_, TextData(model), model.size(),
                                      reinterpret_cast<std::uint8_t*>(out.data()), out.size());
    out.resize(length);
    return out;
  }
  // A date in a model, which is compiled for output.
  std::string Write(const ldxdate& date, std::string_view model) {
    const std::string format = CompileForOutput(model);
    std::string out(4096, '\xEE');
    out.resize(ldxdts(&ctx_, &date, TextData(format), format.size(),
                      reinterpret_cast<std::uint8_t*>(out.data()), out.size()));
    return out;
  }

  // "2019-03-05 19:04:09", or the number of the error and where it lies: "1843 at 5".
  std::string Read(std::string_view text, std::string_view model) {
    return ReadCompiled(text, CompileForOutput(model));
  }
  std::string ReadCompiled(std::string_view text, const std::string& format) {
    ldxdate date{};
    std::size_t bad = 0;
    const std::uint32_t number = ldxstdnew(&ctx_, TextData(text), text.size(), TextData(format),
                                           format.size(), &date, KES_DATE_QUIET, &bad);
    if (number != 0) return std::to_string(number) + " at " + std::to_string(bad);
    return Show(date);
  }
  static std::string Show(const ldxdate& date) {
    char text[64];
    snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", date.year, date.month, date.day,
             date.hour, date.minute, date.second);
    return text;
  }

  // The number raised by a call, 0 for none.
  template <typename Call>
  std::uint32_t ErrorOf(const Call& call) {
    try {
      call();
    } catch (const DateError& error) {
      return error.number;
    }
    return 0;
  }

 private:
  ldxctx ctx_;
};

}  // namespace kestra::test
