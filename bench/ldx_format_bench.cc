// Dates to and from text, beside the C library, fmt, a loop over std::from_chars and ICU. 4096 random
// instants from 1970 to 2037; every program converts all of them. Times are for one date (items).
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "kestra/date_format.h"

#ifdef KESTRA_HAVE_FMT
#define FMT_HEADER_ONLY
#include <fmt/chrono.h>
#endif
#ifdef KESTRA_HAVE_ICU
#include <unicode/smpdtfmt.h>
#endif

namespace {

constexpr std::size_t kDates = 4096;
constexpr const char* kIso = "YYYY-MM-DD HH24:MI:SS";
constexpr const char* kNames = "Day, DD Month YYYY";

const std::uint8_t* Data(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

struct Inputs {
  std::vector<ldxdate> dates;
  std::vector<std::tm> times;
  std::vector<std::int64_t> instants;
  std::vector<std::string> texts;  // in kIso
};

const Inputs& TheInputs() {
  static const Inputs inputs = [] {
    Inputs made;
    std::mt19937 random(20190305);
    for (std::size_t i = 0; i < kDates; ++i) {
      const auto instant = static_cast<std::time_t>(random() % 2145916800u);
      std::tm parts{};
      gmtime_r(&instant, &parts);
      ldxdate date{};
      date.year = static_cast<std::int16_t>(parts.tm_year + 1900);
      date.month = static_cast<std::uint8_t>(parts.tm_mon + 1);
      date.day = static_cast<std::uint8_t>(parts.tm_mday);
      date.hour = static_cast<std::uint8_t>(parts.tm_hour);
      date.minute = static_cast<std::uint8_t>(parts.tm_min);
      date.second = static_cast<std::uint8_t>(parts.tm_sec);
      char text[32];
      strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
      made.dates.push_back(date);
      made.times.push_back(parts);
      made.instants.push_back(instant);
      made.texts.emplace_back(text);
    }
    return made;
  }();
  return inputs;
}

// A context in German UTF-8, and a model.
class Model {
 public:
  explicit Model(const char* model) {
    setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 0);
    lxinitc(&nls_, lxlinit(nullptr, 0, nullptr), nullptr, 0);
    lxhLaToId("GERMAN_GERMANY.AL32UTF8", 23, &handle_, 2, &nls_);
    ldxcbeg(&ctx_, &handle_, &nls_, nullptr, nullptr);
    format_.resize(256);
    format_.resize(ldxsti(&ctx_, Data(model), strlen(model), format_.data(), format_.size()));
  }
  ldxctx* ctx() { return &ctx_; }
  const std::uint8_t* format() const { return format_.data(); }
  std::size_t length() const { return format_.size(); }

 private:
  lxcontext nls_;
  lxhandle handle_;
  ldxctx ctx_;
  std::vector<std::uint8_t> format_;
};

void Finish(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kDates));
}

void Write(benchmark::State& state, const char* text) {
  Model model(text);
  const Inputs& inputs = TheInputs();
  std::uint8_t out[128];
  for (auto _ : state) {
    for (const ldxdate& date : inputs.dates) {
      benchmark::DoNotOptimize(
          ldxdts(model.ctx(), &date, model.format(), model.length(), out, sizeof out));
      benchmark::ClobberMemory();
    }
  }
  Finish(state);
}
void BM_LdxWriteIso(benchmark::State& state) { Write(state, kIso); }
// The same text through the walk: a plan has no HH12 and no FX.
void BM_LdxWriteIsoWalk(benchmark::State& state) { Write(state, "FXYYYY-MM-DD HH24:MI:SS"); }
void BM_LdxWriteNamesGerman(benchmark::State& state) { Write(state, kNames); }
void BM_LdxWriteDefault(benchmark::State& state) { Write(state, "DD-MON-RR"); }
void BM_LdxWriteSpelled(benchmark::State& state) { Write(state, "Ddspth Month Year"); }
BENCHMARK(BM_LdxWriteIso);
BENCHMARK(BM_LdxWriteIsoWalk);
BENCHMARK(BM_LdxWriteNamesGerman);
BENCHMARK(BM_LdxWriteDefault);
BENCHMARK(BM_LdxWriteSpelled);

void WriteArray(benchmark::State& state, const char* text) {
  Model model(text);
  const Inputs& inputs = TheInputs();
  std::vector<std::uint8_t> bytes(kDates * 64);
  std::vector<std::uint8_t*> out;
  std::vector<const ldxdate*> in;
  for (std::size_t i = 0; i < kDates; ++i) {
    out.push_back(&bytes[i * 64]);
    in.push_back(&inputs.dates[i]);
  }
  std::vector<std::size_t> lengths(kDates);
  const std::size_t room = 64;
  for (auto _ : state) {
    ldxdtsarr(model.ctx(), out.data(), in.data(), kDates, &room, lengths.data(), model.format(),
              model.length(), KES_DATE_SHARED, nullptr);
    benchmark::ClobberMemory();
  }
  Finish(state);
}
void BM_LdxWriteIsoArray(benchmark::State& state) { WriteArray(state, kIso); }
void BM_LdxWriteNamesGermanArray(benchmark::State& state) { WriteArray(state, kNames); }
BENCHMARK(BM_LdxWriteIsoArray);
BENCHMARK(BM_LdxWriteNamesGermanArray);

void Read(benchmark::State& state, const char* text, const std::vector<std::string>& texts) {
  Model model(text);
  ldxdate date{};
  for (auto _ : state) {
    for (const std::string& one : texts) {
      if (ldxstd(model.ctx(), Data(one), one.size(), model.format(), model.length(), &date) != 0) {
        state.SkipWithError("not read");
      }
      benchmark::DoNotOptimize(date);
    }
  }
  Finish(state);
}
void BM_LdxReadIso(benchmark::State& state) { Read(state, kIso, TheInputs().texts); }
void BM_LdxReadIsoWalk(benchmark::State& state) {
  Read(state, "FXYYYY-MM-DD HH24:MI:SS", TheInputs().texts);
}
void BM_LdxReadNamesGerman(benchmark::State& state) {
  Model model(kNames);
  std::vector<std::string> texts;
  for (const ldxdate& date : TheInputs().dates) {
    std::uint8_t out[128];
    const std::size_t length =
        ldxdts(model.ctx(), &date, model.format(), model.length(), out, sizeof out);
    texts.emplace_back(reinterpret_cast<char*>(out), length);
  }
  Read(state, kNames, texts);
}
BENCHMARK(BM_LdxReadIso);
BENCHMARK(BM_LdxReadIsoWalk);
BENCHMARK(BM_LdxReadNamesGerman);

void BM_LdxReadIsoArray(benchmark::State& state) {
  Model model(kIso);
  const Inputs& inputs = TheInputs();
  std::vector<ldxdate> dates(kDates);
  std::vector<ldxdate*> out;
  std::vector<const std::uint8_t*> in;
  std::vector<std::size_t> lengths;
  for (std::size_t i = 0; i < kDates; ++i) {
    out.push_back(&dates[i]);
    in.push_back(Data(inputs.texts[i]));
    lengths.push_back(inputs.texts[i].size());
  }
  for (auto _ : state) {
    ldxstdarr(model.ctx(), out.data(), in.data(), kDates, lengths.data(), model.format(),
              model.length(), 0, nullptr);
    benchmark::ClobberMemory();
  }
  Finish(state);
}
BENCHMARK(BM_LdxReadIsoArray);

void BM_LdxCompile(benchmark::State& state) {
  Model model(kIso);
  std::uint8_t out[64];
  for (auto _ : state) {
    benchmark::DoNotOptimize(ldxsti(model.ctx(), Data(kIso), strlen(kIso), out, sizeof out));
  }
}
BENCHMARK(BM_LdxCompile);

// Peers.
void BM_StrftimeIso(benchmark::State& state) {
  char out[64];
  for (auto _ : state) {
    for (const std::tm& time : TheInputs().times) {
      benchmark::DoNotOptimize(strftime(out, sizeof out, "%Y-%m-%d %H:%M:%S", &time));
    }
  }
  Finish(state);
}
BENCHMARK(BM_StrftimeIso);

void BM_StrptimeIso(benchmark::State& state) {
  std::tm time{};
  for (auto _ : state) {
    for (const std::string& text : TheInputs().texts) {
      benchmark::DoNotOptimize(strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &time));
    }
  }
  Finish(state);
}
BENCHMARK(BM_StrptimeIso);

// Fields by hand, with every check of ranges that a careful program makes.
bool FromCharsDate(const std::string& text, ldxdate& date) {
  struct Field {
    std::size_t at, size;
    int low, high;
    char before;
  };
  constexpr Field kFields[] = {{0, 4, 1, 9999, 0},  {5, 2, 1, 12, '-'},  {8, 2, 1, 31, '-'},
                               {11, 2, 0, 23, ' '}, {14, 2, 0, 59, ':'}, {17, 2, 0, 59, ':'}};
  if (text.size() != 19) return false;
  int values[6];
  for (std::size_t i = 0; i < 6; ++i) {
    const Field& field = kFields[i];
    if (field.at != 0 && text[field.at - 1] != field.before) return false;
    const char* const from = text.data() + field.at;
    const auto [end, error] = std::from_chars(from, from + field.size, values[i]);
    if (error != std::errc() || end != from + field.size || values[i] < field.low ||
        values[i] > field.high) {
      return false;
    }
  }
  date.year = static_cast<std::int16_t>(values[0]);
  date.month = static_cast<std::uint8_t>(values[1]);
  date.day = static_cast<std::uint8_t>(values[2]);
  date.hour = static_cast<std::uint8_t>(values[3]);
  date.minute = static_cast<std::uint8_t>(values[4]);
  date.second = static_cast<std::uint8_t>(values[5]);
  return true;
}
void BM_FromCharsIso(benchmark::State& state) {
  ldxdate date{};
  for (auto _ : state) {
    for (const std::string& text : TheInputs().texts) {
      benchmark::DoNotOptimize(FromCharsDate(text, date));
      benchmark::DoNotOptimize(date);
    }
  }
  Finish(state);
}
BENCHMARK(BM_FromCharsIso);

#ifdef KESTRA_HAVE_FMT
void BM_FmtIso(benchmark::State& state) {
  char out[64];
  for (auto _ : state) {
    for (const std::tm& time : TheInputs().times) {
      benchmark::DoNotOptimize(fmt::format_to(out, "{:%Y-%m-%d %H:%M:%S}", time));
    }
  }
  Finish(state);
}
BENCHMARK(BM_FmtIso);
#endif

#ifdef KESTRA_HAVE_ICU
void IcuWrite(benchmark::State& state, const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(pattern, icu::Locale::getGerman(), status);
  format.setTimeZone(*icu::TimeZone::getGMT());
  for (auto _ : state) {
    for (const std::int64_t instant : TheInputs().instants) {
      icu::UnicodeString text;
      format.format(static_cast<UDate>(instant) * 1000, text);
      benchmark::DoNotOptimize(text);
    }
  }
  if (U_FAILURE(status)) state.SkipWithError("ICU");
  Finish(state);
}
void BM_IcuIso(benchmark::State& state) { IcuWrite(state, u"yyyy-MM-dd HH:mm:ss"); }
void BM_IcuNamesGerman(benchmark::State& state) { IcuWrite(state, u"EEEE, dd MMMM yyyy"); }
BENCHMARK(BM_IcuIso);
BENCHMARK(BM_IcuNamesGerman);

void BM_IcuReadIso(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(u"yyyy-MM-dd HH:mm:ss", icu::Locale::getGerman(), status);
  std::vector<icu::UnicodeString> texts;
  for (const std::string& text : TheInputs().texts) {
    texts.push_back(icu::UnicodeString::fromUTF8(text));
  }
  for (auto _ : state) {
    for (const icu::UnicodeString& text : texts) {
      benchmark::DoNotOptimize(format.parse(text, status));
    }
  }
  if (U_FAILURE(status)) state.SkipWithError("ICU");
  Finish(state);
}
BENCHMARK(BM_IcuReadIso);
#endif

}  // namespace

BENCHMARK_MAIN();
