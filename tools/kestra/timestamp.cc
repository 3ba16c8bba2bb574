// kestra timestamp: timestamps with fractions and zones, intervals, their sums and differences.
#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "date_tool.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"
#include "support/terminal.h"
#include "zones.h"

namespace kestra::tools {
namespace {

struct Options {
  std::string value, minus, zone, to, format, file;
  std::vector<std::string> add, subtract;
};

const std::uint8_t* BytesOf(const std::string& text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

const char* ErrorText(std::uint32_t number) {
  switch (number) {
    case KES_DATETIME_ZONE_FILE:
      return "there is no usable time-zone file";
    case KES_DATETIME_NOT_COMPARABLE:
      return "values of kinds that do not go together";
    case KES_DATETIME_BAD_INTERVAL:
      return "not an interval";
    case KES_DATETIME_INTERVAL_RANGE:
      return "the leading field is too large";
    case KES_DATETIME_BAD_ZONE_HOUR:
    case KES_DATETIME_BAD_ZONE_MINUTE:
      return "an offset beyond +-15:00";
    case KES_DATETIME_NO_FIELD:
      return "the value has no such field";
    case KES_DATETIME_BAD_FRACTION:
      return "a fraction of more than nine digits";
    case KES_DATETIME_NO_REGION:
      return "no such time zone";
    case 1861:
      return "not a datetime such as 2026-07-01 12:00:00.5 +02:00";
    default:
      return DateErrorText(number);
  }
}

void Check(std::uint32_t error, const std::string& text) {
  if (error == 0) return;
  throw ToolError(kUsage, fmt::format("'{}': {} ({})", text, ErrorText(error), error));
}

class Calculation {
 public:
  explicit Calculation(const Options& options) : zones_(options.file) {
    Check(LdiSessionInit(&session_, zones_.file()), "");
    if (options.zone.empty()) return;
    RequireZone(options.zone);
    Check(LdiSessionSetZone(&session_, BytesOf(options.zone), options.zone.size(), nullptr),
          options.zone);
  }

  LdiDate Read(const std::string& text) const {
    LdiDate date;
    if (text == "now") {
      Check(LdiDateCurrent(&date, KES_DATETIME_TIMESTAMP_TZ, 6, &session_), text);
    } else {
      Check(LdiDateFromLiteral(&date, BytesOf(text), text.size(), 0, &session_, nullptr), text);
    }
    return date;
  }

  // An interval of either family.
  static LdiInter ReadInterval(const std::string& text) {
    LdiInter inter;
    std::uint32_t error = 0;
    for (const std::uint32_t type : {KES_INTERVAL_DAY_TO_SECOND, KES_INTERVAL_YEAR_TO_MONTH}) {
      error = LdiInterFromString(&inter, BytesOf(text), text.size(), type, nullptr);
      if (error == 0) return inter;
      if (error != KES_DATETIME_NOT_COMPARABLE && error != KES_DATETIME_BAD_INTERVAL) break;
    }
    Check(error, text);
    return inter;
  }

  void Add(LdiDate& date, const std::string& text, bool subtract) const {
    const LdiInter inter = ReadInterval(text);
    const auto operation = subtract ? LdiDateInterSubtractTZ : LdiDateInterAddTZ;
    Check(operation(&date, &date, &inter, &session_), text);
  }

  void Move(LdiDate& date, const std::string& text) const {
    RequireZone(text);
    LdiZone zone;
    Check(LdiZoneFromText(&zone, BytesOf(text), text.size(), nullptr, zones_.file()), text);
    Check(LdiTimeZoneAdjust(&date, &date, zone, &session_), text);
  }

  LdiInter Difference(const LdiDate& x, const LdiDate& y, std::uint32_t type) const {
    LdiInter inter;
    Check(LdiDateDateSubtractWithTZ(&inter, &x, &y, type, &session_), "difference");
    return inter;
  }

  std::string Write(const LdiDate& date, const std::string& model) const {
    std::uint8_t text[4096];
    std::size_t length = 0;
    if (model.empty()) {
      Check(LdiDateToLiteral(text, sizeof text, &length, &date, date.fraction != 0 ? 9 : 0,
                             &session_, nullptr),
            "value");
      return std::string(text, text + length);
    }
    const auto context = std::make_unique<LdiParseContext>();
    Check(LdiParseContextInit(context.get(), nullptr, nullptr, &session_), model);
    std::uint8_t format[1024];
    std::size_t size = 0;
    std::uint32_t error = LdiParseForOutput(format, sizeof format, &size, BytesOf(model),
                                            model.size(), context.get());
    if (error == 0) {
      error = LdiDateToString(text, sizeof text, &length, &date, format, size, 9, context.get());
    }
    LdiParseContextTerm(context.get());
    Check(error, model);
    return std::string(text, text + length);
  }

 private:
  // Names of zones get their own message, with the nearest ones.
  void RequireZone(const std::string& text) const {
    const char first = text.empty() ? '+' : text[0];
    const bool offset = first == '+' || first == '-' || (first >= '0' && first <= '9');
    if (!offset && text != "Z" && text != "UTC" && text != "GMT" && text != "LOCAL") {
      static_cast<void>(zones_.Require(text));
    }
  }

  Zones zones_;
  LdiSession session_;
};

std::string Fields(const LdiInter& inter) {
  std::uint8_t text[KES_INTERVAL_TEXT];
  std::size_t length = 0;
  Check(LdiInterToString(text, sizeof text, &length, &inter, 9, inter.field[4] != 0 ? 9u : 0u,
                         nullptr),
        "interval");
  std::string out(text, text + length);
  while (out.size() > 2 && out[1] == '0' && out[2] >= '0' && out[2] <= '9') out.erase(1, 1);
  return out;
}

std::string Iso(const LdiInter& inter) {
  std::uint8_t text[KES_INTERVAL_TEXT];
  std::size_t length = 0;
  Check(LdiInterToStringISO(text, sizeof text, &length, &inter, nullptr), "interval");
  return std::string(text, text + length);
}

int Run(const Options& options, bool json) {
  const Calculation calculation(options);
  LdiDate date = calculation.Read(options.value);
  for (const std::string& text : options.add) calculation.Add(date, text, false);
  for (const std::string& text : options.subtract) calculation.Add(date, text, true);
  if (!options.to.empty()) calculation.Move(date, options.to);
  if (options.minus.empty()) {
    const std::string text = calculation.Write(date, options.format);
    fmt::print("{}\n", json ? fmt::format("{{\"value\": \"{}\"}}", text) : Printable(text));
    return kDone;
  }
  const LdiDate other = calculation.Read(options.minus);
  const LdiInter exact = calculation.Difference(date, other, KES_INTERVAL_DAY_TO_SECOND);
  if (json) {
    fmt::print("{{\"fields\": \"{}\", \"iso\": \"{}\"}}\n", Fields(exact), Iso(exact));
  } else {
    fmt::print("{}  {}\n", Fields(exact), Iso(exact));
  }
  return kDone;
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<Options>();
  app.add_option("value", options->value,
                 "'now', an SQL literal or ISO 8601: 2026-07-01T12:00:00.5+02:00")
      ->required();
  app.add_option("-a,--add", options->add, "Adds an interval: P1DT2H, '3 04:05:06.5', '1-6'")
      ->allow_extra_args(false);
  app.add_option("-s,--subtract", options->subtract, "Takes an interval away, after --add")
      ->allow_extra_args(false);
  app.add_option("-t,--to", options->to, "Shows the instant in this zone: a region or +hh:mm");
  app.add_option("-m,--minus", options->minus, "The interval from this datetime to the value");
  app.add_option("-z,--zone", options->zone, "The zone of values without one (default: UTC)");
  app.add_option("-f,--format", options->format,
                 "A model, such as 'Day, DD Month YYYY HH24:MI:SSXFF3 TZR'");
  app.add_option("--file", options->file, "A zone file in place of the installed one");
  app.footer(Examples({"kestra timestamp '2026-03-07 02:30 America/New_York' --add P1D",
                       "kestra timestamp now --to Asia/Kathmandu --format 'HH24:MI TZD'",
                       "kestra timestamp 2026-07-01T12:00Z --minus 2024-02-29T00:00:00.5+02:00"}));
  return [options, &globals] { return Run(*options, globals.json); };
}

}  // namespace

const Command kTimestampCommand = {
    "timestamp", "Timestamps with fractions and zones, and intervals: sums, differences, formats",
    Setup};

}  // namespace kestra::tools
