// Text of datetimes and intervals: literals, models and texts by models. What is read is valid, and
// what is written of it is read as the same value, with a region too.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz/region_session.h"
#include "kestra/datetime_text.h"
#include "tests/support/record_laws.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void TryInterval(const std::uint8_t* data, std::size_t size, std::uint32_t type) {
  LdiInter inter;
  if (LdiInterFromString(&inter, data, size, type, nullptr) != 0) return;
  Require(LdiInterCheck(&inter) == 0);
  std::uint8_t text[KES_INTERVAL_TEXT];
  std::size_t length = 0;
  LdiInter again;
  Require(LdiInterToString(text, sizeof text, &length, &inter, 9, 9, nullptr) == 0);
  Require(LdiInterFromString(&again, text, length, type, nullptr) == 0);
  Require(std::memcmp(&again, &inter, sizeof inter) == 0);
  Require(LdiInterToStringISO(text, sizeof text, &length, &inter, nullptr) == 0);
  Require(LdiInterFromString(&again, text, length, type, nullptr) == 0);
  Require(std::memcmp(&again, &inter, sizeof inter) == 0);
}

void RequireLaws(const LdiDate& date) {
  static kestra::test::RecordLaws laws(RegionSession());
  Require(laws.Broken(date) == nullptr);
}

// A literal has no offset beside a region: which one is meant is told where there is one only.
bool IsAmbiguous(const LdiDate& date) {
  if (date.region == 0) return false;
  LdiDate local = date;
  local.type = KES_DATETIME_TIMESTAMP;
  ltzlocal both{};
  Require(ltzGetLocalA(RegionSession().zones, date.region, &local, &both) == 0);
  return both.kind != KES_ZONE_ONCE;
}

void TryLiteral(const std::uint8_t* data, std::size_t size) {
  const LdiSession* session = &RegionSession();
  LdiDate date;
  if (LdiDateFromLiteral(&date, data, size, 0, session, nullptr) != 0) return;
  RequireLaws(date);
  std::uint8_t text[96];
  std::size_t length = 0;
  Require(LdiDateToLiteral(text, sizeof text, &length, &date, 9, session, nullptr) == 0);
  LdiDate again;
  Require(LdiDateFromLiteral(&again, text, length, date.type, session, nullptr) == 0);
  Require(std::memcmp(&again, &date, sizeof date) == 0 || IsAmbiguous(date));
}

// Whether a format that is read has every field that a type has, each once in digits of a fixed number,
// and between them nothing that a field could be taken for or end in.
bool SaysAll(const std::uint8_t* format, std::size_t length, std::uint32_t type) {
  constexpr std::uint32_t kFilled = 16;  // and without a suffix
  const bool dated = type != KES_DATETIME_TIME && type != KES_DATETIME_TIME_TZ;
  std::size_t offset = 0;
  std::uint64_t missing = std::uint64_t{1} << KES_DATE_HH24 | std::uint64_t{1} << KES_DATE_MI |
                          std::uint64_t{1} << KES_DATE_SS;
  if (dated) {
    missing |= std::uint64_t{1} << KES_DATE_SYYYY | std::uint64_t{1} << KES_DATE_MM |
               std::uint64_t{1} << KES_DATE_DD;
  }
  if (type != KES_DATETIME_DATE) missing |= std::uint64_t{1} << (KES_DATETIME_FF1 + 8);
  if (type >= KES_DATETIME_TIME_TZ) {
    missing |= std::uint64_t{1} << KES_DATETIME_TZH | std::uint64_t{1} << KES_DATETIME_TZM |
               std::uint64_t{1} << KES_DATETIME_TZR;
  }
  bool apart = true;
  LdiFormatItem item;
  while (LdiGetFormatItem(&item, format, length, &offset) == 0 && item.code != 0) {
    if (item.code == KES_DATETIME_LITERAL_ITEM) {
      for (std::size_t i = 0; i < item.literal_length; ++i) {
        if (std::memchr(" :;.", item.literal[i], 4) == nullptr) return false;
      }
      apart = true;
      continue;
    }
    const std::uint64_t bit = item.code < 64 ? std::uint64_t{1} << item.code : 0;
    if ((missing & bit) == 0 || (item.modifier & 0x13) != kFilled || !apart) return false;
    missing -= bit;
    apart = item.code != KES_DATETIME_TZR;
  }
  return missing == 0;
}

void RequireRead(LdiParseContext& ctx, const LdiDate& date, const std::uint8_t* format,
                 std::size_t length, const std::uint8_t* text, std::size_t text_length) {
  LdiDate again;
  Require(LdiDateFromString(&again, text, text_length, format, length, date.type, 9, &ctx) == 0);
  Require(std::memcmp(&again, &date, sizeof date) == 0);
  std::uint16_t units[1024];
  std::size_t count = 0;
  Require(LdiDateToStringU(units, 1024, &count, &date, format, length, 9, &ctx) == 0);
  Require(count == text_length);
  Require(LdiDateFromStringU(&again, units, count, format, length, date.type, 9, &ctx) == 0);
  Require(std::memcmp(&again, &date, sizeof date) == 0);
}

// The model, a zero byte, the text.
void TryModel(LdiParseContext& ctx, const std::uint8_t* data, std::size_t size,
              std::uint32_t type) {
  const void* zero = std::memchr(data, 0, size);
  const std::size_t model =
      zero == nullptr ? size
                      : static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - data);
  std::uint8_t format[512];
  std::size_t length = 0;
  if (LdiParseForOutput(format, sizeof format, &length, data, model, &ctx) != 0) return;
  std::size_t most = 0;
  Require(LdiMaxSize(&most, format, length, &ctx) == 0);
  std::uint8_t back[1024];
  std::size_t back_length = 0;
  Require(LdiUnparse(back, sizeof back, &back_length, format, length, &ctx) == 0);
  LdiDate date;
  const std::uint8_t* text = data + model + (model < size ? 1 : 0);
  const std::size_t text_length = model < size ? size - model - 1 : 0;
  if (LdiDateFromString(&date, text, text_length, format, length, type, 9, &ctx) != 0) return;
  RequireLaws(date);
  static std::uint8_t out[65536];
  std::size_t written = 0;
  const std::uint32_t error =
      LdiDateToString(out, sizeof out, &written, &date, format, length, 9, &ctx);
  Require(error == 0 && written <= most);
  if (SaysAll(format, length, type)) RequireRead(ctx, date, format, length, out, written);
}

void TryCompiled(LdiParseContext& ctx, const std::uint8_t* data, std::size_t size,
                 std::uint32_t type) {
  const std::size_t format = size < 32 ? size : 32;
  LdiDate date;
  if (LdiDateFromString(&date, data + format, size - format, data, format, type, 6, &ctx) == 0) {
    Require(LdiDateCheck(&date) == 0);
  }
  date = {};
  date.year = 2024;
  date.month = 2;
  date.day = 29;
  date.type = KES_DATETIME_TIMESTAMP;
  std::uint8_t out[128];
  std::size_t written = 0;
  LdiDateToString(out, sizeof out, &written, &date, data, format, 6, &ctx);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static LdiParseContext ctx;
  static const std::uint32_t started =
      LdiParseContextInit(&ctx, nullptr, nullptr, &RegionSession());
  if (size == 0 || started != 0) return 0;
  const std::uint32_t type = data[0];
  ctx.date.today = {2026, 5, 1, 0, 0, 0, 0};
  TryInterval(data + 1, size - 1, type & 15);
  TryLiteral(data + 1, size - 1);
  TryModel(ctx, data + 1, size - 1, type & 7);
  TryCompiled(ctx, data + 1, size - 1, type & 7);
  return 0;
}
