// Dates and timestamps as the date command sees them: a context of a language, a calendar and a time
// zone in UTF-8; models and values as texts; the library's errors as exceptions with a message.
//
// A value is a date, a timestamp (it has a fraction of a second) or a timestamp with a zone, in the
// order of their type codes. Where more is asked for than a value has, it is lifted: the fraction
// is 0, the zone that of --zone or of the machine.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "date_words.h"
#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"
#include "session.h"
#include "zones.h"

namespace kestra::tools {

// A compiled model, and the least type that has all of its elements.
struct DateModel {
  std::string compiled;
  std::uint32_t type = KES_DATETIME_DATE;
};

// A piece of a model, as it stands, and what it compiles to; empty for FM.
struct ModelPiece {
  std::string_view text;
  std::uint32_t code;  // of kestra/datetime_text.h
  DateModel model;
};

struct DateSettings {
  std::string language;   // "GERMAN", "GERMAN_AUSTRIA"; empty: the environment's
  std::string calendar;   // empty: the environment's
  std::string zone;       // empty: the machine's
  std::string zone_file;  // empty: the one that the environment leads to
};

class DateTool {
 public:
  // Throws ToolError, for unknown names with the nearest ones.
  DateTool(Session& session, const DateSettings& settings);
  ~DateTool() { LdiParseContextTerm(&ctx_); }
  DateTool(const DateTool&) = delete;
  DateTool& operator=(const DateTool&) = delete;

  ldxctx* context() { return &ctx_.date; }
  const LdiSession* zone_session() const { return &zone_session_; }
  // For everything that may need a region or the zone of values without one: opens the zone file.
  void NeedZones();
  // Throws DateFault for what the library answered; without a zone file, ToolError. Calls it for
  // what was left in the context.
  void Check(std::uint32_t error, std::size_t offset = 0) const;
  void CheckContext() const { Check(ctx_.date.error, ctx_.date.error_offset); }

  // A model for reading and writing, or for writing alone. All of these throw DateFault.
  DateModel Compile(std::string_view model);
  DateModel CompileForOutput(std::string_view model);
  // The default format of the calendar or of the environment.
  DateModel DefaultFormat();
  // The pieces of a model that compiles for output, moving state from piece to piece.
  bool NextPiece(std::string_view model, std::size_t& at, ldxscan& state, ModelPiece& piece);
  bool IsReadable(std::string_view piece);

  // Every value that is read from now on is at least of a type, and the present time has a fraction
  // when the model writes more than a date.
  void Expect(std::uint32_t type);
  void ExpectToWrite(const DateModel& model);
  // "now", "today", an SQL literal, ISO 8601: kestra/datetime_text.h; then, when there is a model,
  // as that says.
  LdiDate Read(std::string_view text);
  LdiDate Read(std::string_view text, const DateModel& model);
  LdiDate Lifted(const LdiDate& value, std::uint32_t type);
  // As --to and --zone take it; throws ToolError.
  LdiZone Zone(const std::string& text);

  std::string Write(const LdiDate& value, const DateModel& model);
  // 2019-02-28 12:30:00, with a fraction and a zone where there is one.
  std::string Write(const LdiDate& value);

 private:
  using CompileFunction = decltype(LdiParseForInput);
  DateModel Compile(std::string_view model, CompileFunction* compile);
  void SetLanguage(Session& session, const std::string& language);
  void SetCalendar(Session& session, const std::string& calendar);
  LdiDate Now();

  lxhandle handle_{};
  LdiParseContext ctx_{};
  LdiSession zone_session_{};
  std::string zone_file_;
  std::optional<Zones> zones_;
  std::string no_zones_;  // why there are none
  std::string default_format_;
  std::uint32_t least_type_ = KES_DATETIME_DATE;
  bool now_has_fraction_ = false;
  std::map<std::string, DateModel> plain_models_;
  std::vector<std::uint8_t> text_ = std::vector<std::uint8_t>(std::size_t{64} << 10);
};

// The code of a unit's element, for rounding and truncating; throws ToolError.
std::uint32_t UnitOf(DateTool& tool, std::string_view name);

}  // namespace kestra::tools
