#include "tests/support/record_laws.h"

#include <cstdlib>
#include <cstring>

#include "datetime/zone_format.h"
#include "kestra/datetime_arithmetic.h"

namespace kestra::test {
namespace {

constexpr const char* kModels[8] = {nullptr,
                                    "SYYYY-MM-DD HH24:MI:SS",
                                    "HH24:MI:SS.FF9",
                                    "SYYYY-MM-DD HH24:MI:SS.FF9",
                                    "HH24:MI:SS.FF9 TZR TZH:TZM",
                                    "SYYYY-MM-DD HH24:MI:SS.FF9 TZR TZH:TZM",
                                    nullptr,
                                    "SYYYY-MM-DD HH24:MI:SS.FF9 TZR TZH:TZM"};

bool Same(const LdiDate& x, const LdiDate& y) { return std::memcmp(&x, &y, sizeof x) == 0; }

// A text has the name of a zone, not the id that the zone had before.
LdiDate WithPresentId(LdiDate date) {
  for (const std::uint16_t id : datetime::zone::kReplacedIds) {
    if (date.region == id) date.region = id & datetime::zone::kCanonicalMask;
  }
  return date;
}

const char* BrokenStored(const LdiDate& date, const LdiSession& session) {
  std::uint8_t bytes[KES_DATETIME_BYTES];
  std::uint8_t upgraded[KES_DATETIME_BYTES];
  std::size_t length = 0;
  LdiDate back;
  if (LdiDateToArray(bytes, sizeof bytes, &length, &date) != 0) return "storing";
  if (LdiDateFromArray(&back, bytes, length, date.type, &session) != 0) return "reading the stored";
  if (!Same(back, date)) return "the stored form";
  std::memcpy(upgraded, bytes, length);
  int changed = 9;
  if (LdiDateTimeUpgrade(&back, &date, session.zones, &changed) != 0) return "upgrading";
  if (changed != 0 || !Same(back, date)) return "the same release";
  // Without a session a timestamp with local zone is shown in UTC, whose year 0 no value has.
  const bool near_year_zero = date.year == 1 || date.year == -1;
  if (date.type == KES_DATETIME_TIMESTAMP_LTZ && near_year_zero) return nullptr;
  if (LdiDateTimeArrayUpgrade(upgraded, length, date.type, session.zones, session.zones,
                              &changed) != 0) {
    return "upgrading the stored";
  }
  if (changed != 0 || std::memcmp(upgraded, bytes, length) != 0) return "the same release, stored";
  return nullptr;
}

}  // namespace

RecordLaws::RecordLaws(const LdiSession& session) : session_(session) {
  if (LdiParseContextInit(&ctx_, nullptr, nullptr, &session) != 0) std::abort();
  for (std::size_t type = 0; type < 8; ++type) {
    if (kModels[type] == nullptr) continue;
    const auto* text = reinterpret_cast<const std::uint8_t*>(kModels[type]);
    Format& format = formats_[type];
    if (LdiParseForInput(format.bytes, sizeof format.bytes, &format.length, text,
                         std::strlen(kModels[type]), &ctx_) != 0) {
      std::abort();
    }
  }
}

const char* RecordLaws::BrokenText(const LdiDate& date, const Format& format) {
  std::uint8_t text[384];
  std::uint16_t units[384];
  std::size_t length = 0;
  const LdiDate present = WithPresentId(date);
  LdiDate back;
  if (LdiDateToString(text, sizeof text, &length, &date, format.bytes, format.length, 9, &ctx_) !=
      0) {
    return "writing";
  }
  if (LdiDateFromString(&back, text, length, format.bytes, format.length, date.type, 9, &ctx_) !=
      0) {
    return "reading what was written";
  }
  if (!Same(back, present)) return "the text";
  if (LdiDateToStringU(units, 384, &length, &date, format.bytes, format.length, 9, &ctx_) != 0) {
    return "writing units";
  }
  if (LdiDateFromStringU(&back, units, length, format.bytes, format.length, date.type, 9, &ctx_) !=
      0) {
    return "reading the units written";
  }
  return Same(back, present) ? nullptr : "the text in units";
}

const char* RecordLaws::Broken(const LdiDate& date) {
  if (LdiDateCheck(&date) != 0) return "validity";
  if (const char* law = BrokenStored(date, session_)) return law;
  if (date.type != KES_DATETIME_TIME && date.type != KES_DATETIME_TIME_TZ) {
    const LdiInter none{{0, 0, 0, 0, 0}, KES_INTERVAL_MONTH, 0, 0};
    LdiDate back;
    if (LdiDateInterAddTZ(&back, &date, &none, &session_) != 0) return "adding no months";
    if (!Same(back, date)) return "no months";
  }
  return BrokenText(date, formats_[date.type]);
}

}  // namespace kestra::test
