#include "date_tool.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "command.h"
#include "kestra/datetime_arithmetic.h"
#include "suggest.h"

namespace kestra::tools {
namespace {

constexpr std::uint32_t kCalendarKind = KES_ITEM_CALENDAR;
constexpr std::uint32_t kNoDefaultFormat = 600;
constexpr std::uint32_t kNotALiteral = 1861;
constexpr std::size_t kModelRoom = 8192;

const std::uint8_t* Bytes(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::vector<std::string> NamesOf(Session& session, std::uint32_t kind) {
  std::vector<std::string> names;
  for (const Named& named : session.Names(kind)) names.push_back(named.name);
  return names;
}

// Names are unknown because there is no data.
void RequireData(Session& session) {
  if (!session.minimal()) return;
  throw ToolError(kBadData, "no locale data was found; set KESTRA_HOME, or install a data library");
}

// The region that the machine is in, as TZ or /etc/localtime name it; or what may be one.
std::string MachineZone() {
  if (const char* zone = std::getenv("TZ"); zone != nullptr && *zone != '\0') {
    return *zone == ':' ? zone + 1 : zone;
  }
  char target[1024];
  const ssize_t length = readlink("/etc/localtime", target, sizeof target);
  const std::string path(target, length < 0 ? 0 : static_cast<std::size_t>(length));
  constexpr std::string_view kFolder = "/zoneinfo/";
  const std::size_t at = path.find(kFolder);
  return at == std::string::npos ? "" : path.substr(at + kFolder.size());
}

// The least type that has all elements of a compiled format.
std::uint32_t TypeOf(std::string_view compiled) {
  std::uint32_t type = KES_DATETIME_DATE;
  LdiFormatItem item;
  std::size_t at = 0;
  while (at < compiled.size() &&
         LdiGetFormatItem(&item, Bytes(compiled), compiled.size(), &at) == 0) {
    const bool zone = item.code >= KES_DATETIME_TZH && item.code <= KES_DATETIME_TZR;
    const bool fraction = item.code == KES_DATETIME_FF || item.code == KES_DATETIME_X ||
                          (item.code >= KES_DATETIME_FF1 && item.code < KES_DATETIME_NYYYY);
    if (zone) return KES_DATETIME_TIMESTAMP_TZ;
    if (fraction) type = KES_DATETIME_TIMESTAMP;
  }
  return type;
}

}  // namespace

DateTool::DateTool(Session& session, const DateSettings& settings)
    : zone_file_(settings.zone_file) {
  SetLanguage(session, settings.language);
  if (!settings.calendar.empty()) SetCalendar(session, settings.calendar);
  default_format_ = session.Item(handle_, KES_ITEM_DATE_FORMAT);
  LdiSessionInit(&zone_session_, nullptr);
  Check(LdiParseContextInit(&ctx_, &handle_, session.context(), &zone_session_));
  if (!settings.zone.empty()) {
    const LdiZone zone = Zone(settings.zone);
    zone_session_.zone_hour = zone.hour;
    zone_session_.zone_minute = zone.minute;
    zone_session_.region = zone.region;
    Expect(KES_DATETIME_TIMESTAMP_TZ);
  } else if (!zone_file_.empty()) {
    NeedZones();
  }
}

void DateTool::SetLanguage(Session& session, const std::string& language) {
  lxcontext* nls = session.context();
  constexpr std::string_view kUtf8Name = "AL32UTF8";
  if (language.empty()) {
    if (lxhLangEnv(&handle_, 0, nls) == nullptr) {
      throw ToolError(kBadData, fmt::format("no handle can be built from the environment: {}",
                                            ErrorText(nls->error)));
    }
    lxhlmod(&handle_, kUtf8Name.data(), kUtf8Name.size(), KES_ITEM_CHARSET, 0, 0, nls);
    return;
  }
  const std::string specification = fmt::format("{}.{}", language, kUtf8Name);
  if (lxhLaToId(specification.data(), specification.size(), &handle_, 2, nls) != nullptr) return;
  RequireData(session);
  const std::size_t underscore = language.find('_');
  if (nls->error == KES_NLS_UNKNOWN_TERRITORY) {
    const std::string territory = language.substr(underscore + 1);
    throw ToolError(kUsage, fmt::format("unknown territory '{}'{}", territory,
                                        DidYouMean(territory, NamesOf(session, kTerritoryKind))));
  }
  const std::string name = language.substr(0, underscore);
  throw ToolError(kUsage, fmt::format("unknown language '{}'{}", name,
                                      DidYouMean(name, NamesOf(session, kLanguageKind))));
}

void DateTool::SetCalendar(Session& session, const std::string& calendar) {
  if (lxhlmod(&handle_, calendar.data(), calendar.size(), KES_ITEM_CALENDAR, 0, 0,
              session.context()) == 1) {
    return;
  }
  RequireData(session);
  throw ToolError(kUsage, fmt::format("unknown calendar '{}'{}", calendar,
                                      DidYouMean(calendar, NamesOf(session, kCalendarKind))));
}

void DateTool::NeedZones() {
  if (zones_ || !no_zones_.empty()) return;
  try {
    zones_.emplace(zone_file_);
  } catch (const ToolError& error) {
    if (!zone_file_.empty()) throw;
    no_zones_ = error.what();  // which offsets alone can do without
  }
  LdiSessionInit(&zone_session_, zones_ ? zones_->file() : nullptr);
  const std::string machine = MachineZone();
  for (const std::string_view zone : {std::string_view(machine), std::string_view("LOCAL")}) {
    if (LdiSessionSetZone(&zone_session_, Bytes(zone), zone.size(), nullptr) == 0) return;
  }
}

LdiZone DateTool::Zone(const std::string& text) {
  NeedZones();
  LdiZone zone;
  const std::uint32_t error =
      LdiZoneFromText(&zone, Bytes(text), text.size(), nullptr, zone_session_.zones);
  if (error == 0) return zone;
  if (error == KES_DATETIME_NO_REGION && zones_) zones_->Require(text);
  if (error == KES_DATETIME_ZONE_FILE) Check(error);
  throw ToolError(kUsage, fmt::format("'{}' is no time zone such as Europe/Berlin or +05:30: {}",
                                      text, DateErrorText(error)));
}

void DateTool::Check(std::uint32_t error, std::size_t offset) const {
  if (error == 0) return;
  if (error == KES_DATETIME_ZONE_FILE) throw ToolError(kBadData, no_zones_);
  throw DateFault(error, offset);
}

DateModel DateTool::Compile(std::string_view model, CompileFunction* compile) {
  DateModel out;
  out.compiled.resize(kModelRoom);
  std::size_t length = 0;
  ctx_.date.error_offset = 0;
  const std::uint32_t error = compile(reinterpret_cast<std::uint8_t*>(out.compiled.data()),
                                      kModelRoom, &length, Bytes(model), model.size(), &ctx_);
  Check(error, ctx_.date.error_offset);
  out.compiled.resize(length);
  out.type = TypeOf(out.compiled);
  if (out.type == KES_DATETIME_TIMESTAMP_TZ) NeedZones();
  return out;
}

DateModel DateTool::Compile(std::string_view model) {
  try {
    return Compile(model, LdiParseForInput);
  } catch (const DateFault& fault) {
    if (fault.number() != kOnlyWritten) throw;
  }
  ldxscan state = {};
  state.repeat = 1;
  std::size_t at = 0, begin = 0;
  ModelPiece piece;
  while (NextPiece(model, at, state, piece) && IsReadable(piece.text)) begin = at;
  throw DateFault(kOnlyWritten, begin);
}

DateModel DateTool::CompileForOutput(std::string_view model) {
  return Compile(model, LdiParseForOutput);
}

DateModel DateTool::DefaultFormat() {
  if (default_format_.empty()) throw DateFault(kNoDefaultFormat);
  return CompileForOutput(default_format_);
}

bool DateTool::IsReadable(std::string_view piece) {
  try {
    return Compile(piece, LdiParseForInput), true;
  } catch (const DateFault& fault) {
    return fault.number() != kOnlyWritten;
  }
}

bool DateTool::NextPiece(std::string_view model, std::size_t& at, ldxscan& state,
                         ModelPiece& piece) {
  std::string out(kModelRoom, '\0');
  const std::uint8_t* text = Bytes(model) + at;
  std::size_t remaining = model.size() - at;
  auto* to = reinterpret_cast<std::uint8_t*>(out.data());
  std::size_t space = out.size();
  ctx_.date.error = 0;
  piece.code = ldxsnf(&ctx_.date, &text, &remaining, &to, &space, &state);
  Check(ctx_.date.error, at + ctx_.date.error_offset);
  const std::size_t end = model.size() - remaining;
  piece.text = model.substr(at, end - at);
  out.resize(out.size() - space);
  // Dates count from NYYYY on in another way; a datetime's element begins with a byte of its own.
  const bool date = out.empty() || out[0] != KES_DATE_FM;
  if (date && piece.code >= KES_DATE_NYYYY)
    piece.code += std::uint32_t{KES_DATETIME_NYYYY} - std::uint32_t{KES_DATE_NYYYY};
  piece.model = {out, TypeOf(out)};
  at = end;
  return piece.code != 0;
}

void DateTool::Expect(std::uint32_t type) {
  least_type_ = std::max(least_type_, type);
  if (least_type_ == KES_DATETIME_TIMESTAMP_TZ) NeedZones();
}

void DateTool::ExpectToWrite(const DateModel& model) {
  Expect(model.type);
  now_has_fraction_ = model.type != KES_DATETIME_DATE;
}

// The machine's clock shows the time of its zone, whose rules are not needed for that.
LdiDate DateTool::Now() {
  LdiDate now;
  const bool zone = least_type_ == KES_DATETIME_TIMESTAMP_TZ;
  Check(LdiDateCurrent(&now, std::max<std::uint32_t>(least_type_, KES_DATETIME_TIMESTAMP), 6,
                       zone ? &zone_session_ : nullptr));
  if (!now_has_fraction_) now.fraction = 0;
  if (!zone && now.fraction == 0) now.type = KES_DATETIME_DATE;
  return now;
}

LdiDate DateTool::Read(std::string_view text) {
  if (text == "now") return Now();
  if (text == "today") {
    LdiDate today = Now();
    Check(LdiTruncate(&today, &today, KES_DATE_DD, 0, &zone_session_));
    return today;
  }
  LdiDate value{};
  const auto read = [&] {
    return LdiDateFromLiteral(&value, Bytes(text), text.size(), 0, &zone_session_, nullptr);
  };
  std::uint32_t error = read();
  if (error == KES_DATETIME_ZONE_FILE) {
    NeedZones();
    error = read();
  }
  if (error == KES_DATETIME_NO_REGION && zones_) {
    const std::size_t blank = text.find_last_of(' ');
    const std::size_t before =
        blank != std::string_view::npos ? blank : text.find_last_of("0123456789");
    const std::string_view name = text.substr(before + 1);
    throw DateFault(error, 0, zones_->Unknown(name.substr(0, name.find('\''))));
  }
  const bool time = value.type == KES_DATETIME_TIME || value.type == KES_DATETIME_TIME_TZ;
  if (time || error == kNotALiteral) throw DateFault(kNotALiteral, 0, "no date or timestamp");
  Check(error);
  if (value.type == KES_DATETIME_TIMESTAMP && value.fraction == 0) value.type = KES_DATETIME_DATE;
  return Lifted(value, least_type_);
}

LdiDate DateTool::Read(std::string_view text, const DateModel& model) {
  LdiDate value{};
  ctx_.date.error_offset = 0;
  const std::uint32_t error =
      LdiDateFromString(&value, Bytes(text), text.size(), Bytes(model.compiled),
                        model.compiled.size(), model.type, KES_DATETIME_MAX_PRECISION, &ctx_);
  Check(error, ctx_.date.error_offset);
  return Lifted(value, least_type_);
}

LdiDate DateTool::Lifted(const LdiDate& value, std::uint32_t type) {
  LdiDate lifted = value;
  if (value.type >= type) return lifted;
  if (type == KES_DATETIME_TIMESTAMP_TZ) NeedZones();
  Check(LdiDateDateConvert(&lifted, &value, type, KES_DATETIME_MAX_PRECISION, &zone_session_));
  return lifted;
}

std::string DateTool::Write(const LdiDate& value, const DateModel& model) {
  const LdiDate lifted = Lifted(value, model.type);
  std::size_t length = 0;
  Check(LdiDateToString(text_.data(), text_.size(), &length, &lifted, Bytes(model.compiled),
                        model.compiled.size(), KES_DATETIME_MAX_PRECISION, &ctx_));
  return {reinterpret_cast<const char*>(text_.data()), length};
}

std::string DateTool::Write(const LdiDate& value) {
  std::string model = "NYYYY-MM-DD HH24:MI:SS";
  std::uint32_t digits = KES_DATETIME_MAX_PRECISION;
  for (std::uint32_t rest = value.fraction; digits != 0 && rest % 10 == 0; rest /= 10) --digits;
  if (digits != 0) model += fmt::format(".FF{}", digits);
  if (value.type == KES_DATETIME_TIMESTAMP_TZ) model += " TZR";
  const auto [at, is_new] = plain_models_.try_emplace(model);
  if (is_new) at->second = CompileForOutput(model);
  return Write(value, at->second);
}

std::uint32_t UnitOf(DateTool& tool, std::string_view name) {
  try {
    const DateModel model = tool.CompileForOutput(name);
    const auto code = static_cast<std::uint8_t>(model.compiled.empty() ? 0 : model.compiled[0]);
    if (model.compiled.size() == 2 && code != KES_DATE_FM && code < KES_DATE_LITERAL) return code;
  } catch (const DateFault&) {
  }
  throw ToolError(kUsage,
                  fmt::format("'{}' is not a unit; units are CC, IYYY, YYYY, Q, MM, IW, WW, "
                              "W, D, DD, HH24 and MI",
                              name));
}

}  // namespace kestra::tools
