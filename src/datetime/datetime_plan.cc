#include "datetime/datetime_plan.h"

#include <bit>

#include "datetime/date_model.h"
#include "datetime/date_names.h"
#include "datetime/date_read.h"
#include "datetime/datetime_model.h"
#include "datetime/datetime_text.h"

namespace kestra::datetime {
namespace {

static_assert(std::endian::native == std::endian::little, "digits are taken eight at a time");

constexpr std::size_t kTailSize = 8;
constexpr std::uint64_t kHighBits = 0x8080808080808080;
constexpr std::uint64_t kEveryByte = 0x0101010101010101;

// Which bits the two signs differ by.
constexpr std::uint8_t SignBits(Basis basis) noexcept {
  return static_cast<std::uint8_t>(InBasis('+', basis) ^ InBasis('-', basis));
}

// Puts items into a plan as long as they go.
class PlanMaker {
 public:
  PlanMaker(DatetimePlan& plan, ldxctx& ctx) noexcept
      : plan_(plan), ctx_(ctx), state_(StateOf(ctx)) {}

  bool Add(const LdiFormatItem& item) noexcept {
    const bool literal = item.code == KES_DATETIME_LITERAL_ITEM;
    if (literal) return AddLiteral({item.literal, item.literal_length});
    const auto code = static_cast<std::uint8_t>(item.code);
    if (IsDatetimeElement(code)) return AddDatetimeElement(code);
    return in_head_ && AddElement(plan_.head, item.code, item.modifier, plan_.basis);
  }

 private:
  bool AddLiteral(std::span<const std::uint8_t> text) noexcept {
    if (in_head_) return AddText(plan_.head, text);
    if (plan_.tail_size + text.size() > kTailSize) return false;
    for (const std::uint8_t byte : text) AddTail(byte, kExact);
    return true;
  }

  bool AddDatetimeElement(std::uint8_t code) noexcept {
    if (code == kRadix && in_head_) {
      NeedNames(ctx_);
      const std::string_view character = TextOf(state_, state_.decimal_character);
      return AddText(plan_.head,
                     {reinterpret_cast<const std::uint8_t*>(character.data()), character.size()});
    }
    if (code == kFraction || (code >= kFraction1 && code <= kFraction9)) {
      if (!in_head_) return false;
      in_head_ = false;
      plan_.digits =
          code == kFraction ? kAnyDigits : static_cast<std::uint8_t>(code - kFraction1 + 1);
      return true;
    }
    const bool hour = code == kZoneHour;
    std::uint8_t& place = hour ? plan_.sign_at : plan_.minute_at;
    const std::size_t size = hour ? 3 : 2;
    if ((!hour && code != kZoneMinute) || place != kNoPlace || plan_.tail_size + size > kTailSize ||
        (!hour && plan_.sign_at == kNoPlace)) {
      return false;
    }
    in_head_ = false;
    place = plan_.tail_size;
    if (hour)
      AddTail(InBasis('+', plan_.basis), static_cast<std::uint8_t>(kExact - SignBits(plan_.basis)));
    for (int i = 0; i < 2; ++i) AddTail(InBasis('0', plan_.basis), kDigit);
    return true;
  }

  void AddTail(std::uint8_t byte, std::uint8_t limit) noexcept {
    plan_.tail |= std::uint64_t{byte} << (8 * plan_.tail_size);
    plan_.tail_limits |= std::uint64_t{limit} << (8 * plan_.tail_size);
    ++plan_.tail_size;
  }

  DatetimePlan& plan_;
  ldxctx& ctx_;
  const State& state_;
  bool in_head_ = true;
};

// Eight bytes of a text of at least as many; zeros behind its end.
std::uint64_t LoadAt(std::span<const std::uint8_t> text, std::size_t at) noexcept {
  std::uint64_t word;
  if (text.size() - at >= 8) {
    std::memcpy(&word, text.data() + at, 8);
    return word;
  }
  if (text.size() == at) return 0;
  std::memcpy(&word, text.data() + text.size() - 8, 8);
  return word >> (8 * (8 - (text.size() - at)));
}

constexpr std::uint64_t LowBytes(std::size_t count) noexcept {
  return count >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << 8 * count) - 1;
}

// A fraction at a place: its digits are passed over. False: there are too few.
bool ReadFraction(std::span<const std::uint8_t> text, std::uint8_t zero, std::uint32_t wanted,
                  PlannedFields& fields) noexcept {
  const std::uint64_t digits = LoadAt(text, fields.used) ^ (kEveryByte * zero);
  const std::uint64_t others = (digits | ((digits & ~kHighBits) + kEveryByte * kDigit)) & kHighBits;
  const std::size_t found = others == 0 ? 8 : static_cast<std::size_t>(__builtin_ctzll(others)) / 8;
  const std::size_t most = wanted == kAnyDigits ? 9 : wanted;
  const std::size_t taken = found < most ? found : most < 8 ? most : 8;
  std::uint32_t last = 0;
  const std::size_t first = fields.used;
  fields.used += taken;
  if (most == 9 && taken == 8 && fields.used < text.size()) {
    const auto digit = static_cast<std::uint8_t>(text[fields.used] ^ zero);
    if (digit <= 9) {
      last = digit;
      ++fields.used;
    } else if (wanted == 9) {
      return false;
    }
  } else if (taken == 0 || (wanted != kAnyDigits && taken != wanted)) {
    return false;
  }
  fields.fraction = 10 * ValueOfDigits(digits & LowBytes(taken)) + last;
  fields.digits = static_cast<std::uint32_t>(fields.used - first);
  return true;
}

bool ReadTail(const DatetimePlan& plan, std::span<const std::uint8_t> text,
              PlannedFields& fields) noexcept {
  if (text.size() - fields.used < plan.tail_size) return false;
  const std::uint64_t difference =
      (LoadAt(text, fields.used) ^ plan.tail) & LowBytes(plan.tail_size);
  if (((difference | ((difference & ~kHighBits) + plan.tail_limits)) & kHighBits) != 0)
    return false;
  fields.used += plan.tail_size;
  if (plan.sign_at == kNoPlace) return true;
  const auto at = [difference](std::size_t place) {
    return static_cast<std::int32_t>(difference >> (8 * place) & 0xFF);
  };
  const std::int32_t sign = at(plan.sign_at);
  const std::int32_t hour = 10 * at(plan.sign_at + 1u) + at(plan.sign_at + 2u);
  std::int32_t minute = 0;
  if (plan.minute_at != kNoPlace) minute = 10 * at(plan.minute_at) + at(plan.minute_at + 1u);
  fields.zone_minutes = 60 * hour + minute;
  fields.zone_negative = sign != 0;
  return (sign == 0 || sign == SignBits(plan.basis)) && minute <= 59 &&
         fields.zone_minutes <= kMaxZoneMinutes;
}

}  // namespace

const DatetimePlan* MakeDatetimePlan(ldxctx& ctx, std::span<const std::uint8_t> format) noexcept {
  if (format.size() > kDatetimePlanFormat) return nullptr;
  DatetimePlan& plan = StateOf(ctx).datetime_plan;
  plan = {};
  memset(plan.head.place, kNoPlace, sizeof plan.head.place);
  plan.sign_at = plan.minute_at = kNoPlace;
  memcpy(plan.format, format.data(), format.size());
  plan.format_length = static_cast<std::uint8_t>(format.size());
  plan.types = 0xFF;
  plan.basis = StateOf(ctx).basis;
  plan.whole_readable = plan.readable = !CheckReadable(format, true);
  PlanMaker maker(plan, ctx);
  bool going = true;
  for (std::span<const std::uint8_t> left = format; !left.empty();) {
    const bool of_dates = left[0] != kDatetimeEscape && left[0] < kLiteralBase;
    LdiFormatItem item;
    if (!NextItem(left, item)) {
      plan.covered = plan.types = 0;
      break;
    }
    for (std::uint32_t type = 0; type < 8; ++type) {
      if (!TypeHasElement(type, item.code)) plan.types &= static_cast<std::uint8_t>(~(1u << type));
    }
    going = going && maker.Add(item);
    if (going) plan.covered = static_cast<std::uint8_t>(format.size() - left.size());
    if (!going && (of_dates || item.code == kHour25)) plan.readable = false;
  }
  plan.readable = plan.readable && plan.head.readable;
  return &plan;
}

bool PutDatetimePlan(const DatetimePlan& plan, const LdiDate& date, std::uint32_t precision,
                     std::span<std::uint8_t> out, std::size_t& used) noexcept {
  const std::size_t digits = plan.digits == kAnyDigits ? precision : plan.digits;
  const std::size_t head = plan.head.text_length;
  if (head + digits + plan.tail_size > out.size()) return false;
  ldxdate parts;
  std::memcpy(&parts, &date, sizeof parts);
  PutPlan(plan.head, parts, plan.basis, out.data());
  std::uint8_t* at = out.data() + head;
  if (digits != 0) {
    const std::uint64_t zeros = kEveryByte * InBasis('0', plan.basis);
    const std::uint32_t first = date.fraction / 100'000'000;
    const std::uint64_t more = EightDigits(date.fraction - first * 100'000'000) | zeros;
    PutBytes(at, (more << 8 | (zeros & 0xFF)) + first, digits < 9 ? digits : 8);
    if (digits == 9) at[8] = static_cast<std::uint8_t>(more >> 56);
    at += digits;
  }
  std::uint64_t tail = plan.tail;
  if (plan.sign_at != kNoPlace) {
    const std::int32_t zone = ZoneMinutes(date);
    const auto minutes = static_cast<std::uint32_t>(zone < 0 ? -zone : zone);
    const auto pair = [](std::uint32_t value, std::size_t place) {
      return std::uint64_t{value / 10 | value % 10 << 8} << 8 * place;
    };
    if (zone < 0) tail ^= std::uint64_t{SignBits(plan.basis)} << 8 * plan.sign_at;
    tail |= pair(minutes / 60, plan.sign_at + 1u);
    if (plan.minute_at != kNoPlace) tail |= pair(minutes % 60, plan.minute_at);
  }
  PutBytes(at, tail, plan.tail_size);
  used = head + digits + plan.tail_size;
  return true;
}

bool ReadDatetimePlan(const DatetimePlan& plan, std::span<const std::uint8_t> text,
                      PlannedFields& fields) noexcept {
  const std::size_t head = plan.head.text_length;
  if (text.size() < head || !ReadPlan(plan.head, text.first(head), fields.parts)) return false;
  fields.used = head;
  const std::uint8_t zero = InBasis('0', plan.basis);
  if (plan.digits != 0 && !ReadFraction(text, zero, plan.digits, fields)) return false;
  return plan.tail_size == 0 || ReadTail(plan, text, fields);
}

}  // namespace kestra::datetime
