// Date contexts for tests: errors are thrown as numbers.
#pragma once

#include <cstdint>
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
  DateContext() { ldxbegin(&ctx_, nullptr, ThrowDateError, nullptr); }
  DateContext(const lxhandle* handle, lxcontext* nls) {
    ldxcbeg(&ctx_, handle, nls, ThrowDateError, nullptr);
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
