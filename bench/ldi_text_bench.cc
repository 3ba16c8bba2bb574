// Texts of timestamps beside Abseil, date (libhowardhinnant-date) and ICU.
#include <string>
#include <vector>

#include "bench/datetime_values.h"
#include "kestra/datetime_text.h"

#ifdef KESTRA_HAVE_DATE
#include <sstream>
#endif
#ifdef KESTRA_HAVE_ICU
#include <unicode/smpdtfmt.h>
#endif

namespace {

using namespace kestra::bench;

constexpr std::size_t kRoom = 64;

struct Model {
  const char* text;
  std::uint32_t type;
};
constexpr Model kModels[] = {
    {"YYYY-MM-DD HH24:MI:SS.FF6", KES_DATETIME_TIMESTAMP},
    {"YYYY-MM-DD\"T\"HH24:MI:SS.FF3\"Z\"", KES_DATETIME_TIMESTAMP},
    {"YYYY-MM-DD HH24:MI:SS.FF6 TZH:TZM", KES_DATETIME_TIMESTAMP_TZ},
    {"DD-MON-YYYY HH24:MI:SS.FF", KES_DATETIME_TIMESTAMP},
};

// A model in a context, with values of its type and their texts.
struct Texts {
  explicit Texts(const Model& model) : type(model.type), dates(Random().dates) {
    const std::string text = model.text;
    LdiParseContextInit(&ctx, nullptr, nullptr, nullptr);
    LdiParseForInput(format, sizeof format, &length,
                     reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), &ctx);
    std::uint8_t out[kRoom];
    for (std::size_t i = 0; i < kCount; ++i) {
      LdiDate& date = dates[i];
      date.type = static_cast<std::uint8_t>(type);
      if (type == KES_DATETIME_TIMESTAMP_TZ) date.zone_hour = static_cast<std::int8_t>(i % 24 - 11);
      LdiDateToString(out, kRoom, &lengths[i], &date, format, length, 6, &ctx);
      texts.emplace_back(out, out + lengths[i]);
    }
  }

  LdiParseContext ctx;
  std::uint8_t format[kRoom];
  std::size_t length = 0;
  std::uint32_t type;
  std::vector<LdiDate> dates;
  std::vector<std::string> texts;
  std::vector<std::size_t> lengths = std::vector<std::size_t>(kCount);
};

const std::uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

void BM_LdiDateToString(benchmark::State& state) {
  Texts t(kModels[state.range(0)]);
  state.SetLabel(kModels[state.range(0)].text);
  std::size_t i = 0;
  for (auto _ : state) {
    std::uint8_t text[kRoom];
    std::size_t length = 0;
    LdiDateToString(text, kRoom, &length, &t.dates[i & kMask], t.format, t.length, 6, &t.ctx);
    benchmark::DoNotOptimize(text);
    ++i;
  }
}
BENCHMARK(BM_LdiDateToString)->DenseRange(0, 3);

void BM_LdiDateFromString(benchmark::State& state) {
  Texts t(kModels[state.range(0)]);
  state.SetLabel(kModels[state.range(0)].text);
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = t.texts[i & kMask];
    LdiDate out;
    LdiDateFromString(&out, Bytes(text), text.size(), t.format, t.length, t.type, 9, &t.ctx);
    benchmark::DoNotOptimize(out);
    ++i;
  }
}
BENCHMARK(BM_LdiDateFromString)->DenseRange(0, 3);

void BM_LdiDateToStringarr(benchmark::State& state) {
  Texts t(kModels[0]);
  std::vector<std::uint8_t> room(kCount * kRoom);
  std::vector<std::uint8_t*> out;
  for (std::size_t i = 0; i < kCount; ++i) out.push_back(&room[i * kRoom]);
  const std::vector<LdiDate*> dates = Addresses(t.dates);
  const std::size_t size = kRoom;
  RunColumn(state, [&] {
    return LdiDateToStringarr(out.data(), dates.data(), kCount, &size, t.lengths.data(), t.format,
                              t.length, 6, &t.ctx, KES_DATETIME_SHARED, nullptr);
  });
}
BENCHMARK(BM_LdiDateToStringarr);

void BM_LdiDateFromStringarr(benchmark::State& state) {
  Texts t(kModels[0]);
  std::vector<const std::uint8_t*> texts;
  for (const std::string& text : t.texts) texts.push_back(Bytes(text));
  const std::vector<LdiDate*> dates = Addresses(t.dates);
  RunColumn(state, [&] {
    return LdiDateFromStringarr(dates.data(), texts.data(), kCount, t.lengths.data(), t.format,
                                t.length, t.type, 9, &t.ctx, 0, nullptr);
  });
}
BENCHMARK(BM_LdiDateFromStringarr);

void BM_LdiDateToLiteral(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    std::uint8_t text[kRoom];
    std::size_t length = 0;
    LdiDateToLiteral(text, kRoom, &length, &v.dates[i & kMask], 6, nullptr, nullptr);
    benchmark::DoNotOptimize(text);
    ++i;
  }
}
BENCHMARK(BM_LdiDateToLiteral);

// TIMESTAMP '2024-02-29 10:20:30.123456', or 2024-02-29T10:20:30.123456.
void BM_LdiDateFromLiteral(benchmark::State& state) {
  Texts t(kModels[0]);
  for (std::string& text : t.texts) {
    if (state.range(0) == 0) {
      text = "TIMESTAMP '" + text + "'";
    } else {
      text[10] = 'T';
    }
  }
  state.SetLabel(state.range(0) == 0 ? "SQL" : "ISO 8601");
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = t.texts[i & kMask];
    LdiDate out;
    LdiDateFromLiteral(&out, Bytes(text), text.size(), 0, nullptr, nullptr);
    benchmark::DoNotOptimize(out);
    ++i;
  }
}
BENCHMARK(BM_LdiDateFromLiteral)->DenseRange(0, 1);

#ifdef KESTRA_HAVE_ABSL
void BM_AbslFormat(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        absl::FormatTime("%Y-%m-%d %H:%M:%E6S", AbslOf(v.dates[i & kMask]), absl::UTCTimeZone()));
    ++i;
  }
}
BENCHMARK(BM_AbslFormat);
void BM_AbslParse(benchmark::State& state) {
  const std::vector<std::string> texts = Texts(kModels[0]).texts;
  std::size_t i = 0;
  for (auto _ : state) {
    absl::Time time;
    std::string error;
    absl::ParseTime("%Y-%m-%d %H:%M:%E6S", texts[i & kMask], &time, &error);
    benchmark::DoNotOptimize(time);
    ++i;
  }
}
BENCHMARK(BM_AbslParse);
#endif

#ifdef KESTRA_HAVE_DATE
void BM_DateFormat(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(date::format(
        "%F %T",
        std::chrono::time_point_cast<std::chrono::microseconds>(DateOf(v.dates[i & kMask]))));
    ++i;
  }
}
BENCHMARK(BM_DateFormat);
void BM_DateParse(benchmark::State& state) {
  const std::vector<std::string> texts = Texts(kModels[0]).texts;
  std::size_t i = 0;
  for (auto _ : state) {
    std::istringstream in(texts[i & kMask]);
    date::sys_time<std::chrono::microseconds> time;
    in >> date::parse("%F %T", time);
    benchmark::DoNotOptimize(time);
    ++i;
  }
}
BENCHMARK(BM_DateParse);
#endif

#ifdef KESTRA_HAVE_ICU
void BM_IcuFormat(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString("yyyy-MM-dd HH:mm:ss.SSS"), status);
  format.setTimeZone(*icu::TimeZone::getGMT());
  double at = 0;
  for (auto _ : state) {
    icu::UnicodeString text;
    format.format(at, text);
    benchmark::DoNotOptimize(text);
    at += 123456789.0;
  }
}
BENCHMARK(BM_IcuFormat);
#endif

}  // namespace

BENCHMARK_MAIN();
