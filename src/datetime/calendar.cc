#include "datetime/calendar.h"

#include <string.h>

#include <limits>

#include "datetime/calendar_rules.h"
#include "datetime/day_number.h"
#include "nls/nlb_format.h"
#include "nls/object_view.h"

namespace kestra::datetime {

namespace layout = nls::nlb::calendar;
namespace common = nls::nlb::common;
using nls::Load16;
using nls::Load32;
using nls::Load8;

namespace {

constexpr std::uint32_t kNoDay = 1839;
constexpr std::uint32_t kNoMonth = 1843;
constexpr std::uint32_t kYearOutside = 1863;
constexpr std::uint32_t kDateOutside = 1864;
constexpr std::uint32_t kEraOutside = 1865;
constexpr std::uint32_t kNoCalendar = 1822;

constexpr std::uint32_t kEnglish = 1;           // id of AMERICAN, which every calendar has
constexpr std::int32_t kAmeteAlemYears = 5500;  // years of the Ethiopic era before the current one

const std::uint8_t* Table(const lxobject* object, std::size_t index) noexcept {
  return reinterpret_cast<const std::uint8_t*>(object) + common::kBase +
         Load32(object, common::kOffsetsAt + 4 * index);
}

Calendar::Kind KindOf(std::uint32_t id) noexcept {
  switch (id) {
    case 1:
    case 6:
    case 7:
    case 8:
    case 9:
    case 10:
    case 11:
      return static_cast<Calendar::Kind>(id);
    default:
      return Calendar::Kind::kNone;
  }
}

}  // namespace

Calendar::Calendar(const lxobject* object) noexcept : object_(object) {
  if (object == nullptr) return;
  kind_ = KindOf(Load16(object, layout::kKindAt));
  months_ = Load16(object, layout::kMonthsAt);
  year_offset_ = static_cast<std::int16_t>(Load16(object, layout::kYearOffsetAt));
  eras_ = Load16(object, layout::kErasAt);
  named_eras_ = Load16(object, layout::kNamedErasAt);
  if (named_eras_ > eras_) named_eras_ = eras_;
}

Calendar Calendar::Of(const ldxctx& context) noexcept {
  if (context.calendar == 0 || context.nls == nullptr) return Calendar(nullptr);
  return Calendar(lxdgetobj(context.calendar, KES_OBJECT_CALENDAR, context.nls));
}

// Calendars whose eras begin on days of their own, as the Japanese ones.
bool Calendar::counts_reigns() const noexcept {
  return kind_ == Kind::kGregorian && year_offset_ == 0 && eras_ > 0;
}

std::int32_t Calendar::EraStartYear(std::int32_t era) const noexcept {
  const std::size_t at = static_cast<std::size_t>(era) * layout::kEraSize;
  return static_cast<std::int16_t>(Load16(Table(object_, layout::kEraTable), at));
}

std::int32_t Calendar::EraStart(std::int32_t era) const noexcept {
  if (era >= eras_) return std::numeric_limits<std::int32_t>::max();
  const std::uint8_t* entry =
      Table(object_, layout::kEraTable) + static_cast<std::size_t>(era) * layout::kEraSize;
  if (Load8(entry, 2) == 0) return std::numeric_limits<std::int32_t>::min();  // unknown
  return DateOrder(EraStartYear(era), Load8(entry, 2), Load8(entry, 3));
}

std::int32_t Calendar::ReignOf(std::int32_t order) const noexcept {
  std::int32_t low = 0;
  std::int32_t high = eras_;
  while (high - low > 1) {
    const std::int32_t middle = low + (high - low) / 2;
    (EraStart(middle) <= order ? low : high) = middle;
  }
  return low;
}

// Puts a year that counts through into its era.
void Calendar::IntoEra(std::int32_t year, CalendarDate& out) const noexcept {
  out.era = eras_ < 2 ? 0 : eras_ - 1;
  out.year = year;
  if (out.era == 0 || year > 0) return;
  --out.era;
  out.year = kind_ == Kind::kEthiopic ? year + kAmeteAlemYears : 1 - year;
}

bool Calendar::OutOfEra(const CalendarDate& date, std::int32_t& year) const noexcept {
  year = date.year;
  if (eras_ < 2 || date.era == eras_ - 1) return eras_ < 2 || year > 0;
  year = kind_ == Kind::kEthiopic ? year - kAmeteAlemYears : 1 - year;
  return year <= 0 && date.era == eras_ - 2;
}

bool Calendar::FromDate(const ldxdate& date, CalendarDate& out) const noexcept {
  if (gregorian() || !has_arithmetic()) return false;
  if (kind_ != Kind::kGregorian) {
    const std::int32_t number = DayNumber(date);
    if (number < 1 || number > kMaxDay) return false;
    const PlainDate plain = PlainDateOf(kind_, number);
    IntoEra(plain.year, out);
    out.month = plain.month;
    out.day = plain.day;
    return true;
  }
  out.month = date.month;
  out.day = date.day;
  if (counts_reigns()) {
    out.era = ReignOf(DateOrder(date.year, date.month, date.day));
    out.year = date.year - EraStartYear(out.era) + 1;
  } else {
    IntoEra(date.year + year_offset_, out);
  }
  return true;
}

std::uint32_t Calendar::GregorianToDate(const CalendarDate& date, ldxdate& out) const noexcept {
  std::int32_t year = 0;
  if (counts_reigns()) {
    if (date.era != 0 && date.year < 1) return kYearOutside;
    year = EraStartYear(date.era) + date.year - 1;
  } else {
    if (!OutOfEra(date, year)) return kYearOutside;
    year -= year_offset_;
  }
  if (date.month < 1 || date.month > 12) return kNoMonth;
  if (date.day < 1 || date.day > datetime::MonthLength(year, date.month)) return kNoDay;
  if (year < kMinYear || year > kMaxYear || year == 0) return kDateOutside;
  if (IsSkipped(year, date.month, date.day)) return kDateOutside;
  const std::int32_t order = DateOrder(year, date.month, date.day);
  if (counts_reigns() && ReignOf(order) != date.era) return kEraOutside;
  out.year = static_cast<std::int16_t>(year);
  out.month = static_cast<std::uint8_t>(date.month);
  out.day = static_cast<std::uint8_t>(date.day);
  return 0;
}

std::uint32_t Calendar::ToDate(const CalendarDate& date, ldxdate& out) const noexcept {
  if (gregorian() || !has_arithmetic()) return kNoCalendar;
  if (date.era < 0 || date.era >= (eras_ == 0 ? 1 : eras_)) return kEraOutside;
  if (date.year < kFirstPlainYear || date.year > kLastPlainYear) return kYearOutside;
  if (kind_ == Kind::kGregorian) return GregorianToDate(date, out);
  std::int32_t year = 0;
  if (!OutOfEra(date, year) || year < kFirstPlainYear) return kYearOutside;
  const std::uint32_t length = MonthLengthOf(kind_, year, date.month);
  if (length == 0) return kNoMonth;
  if (date.day < 1 || date.day > length) return kNoDay;
  const std::int32_t number = DayNumberOf(kind_, {year, date.month, date.day});
  if (number < 1 || number > kMaxDay) return kDateOutside;
  const CivilDate civil = SplitDay(number);
  if (civil.year == 0) return kDateOutside;
  out.year = static_cast<std::int16_t>(civil.year);
  out.month = static_cast<std::uint8_t>(civil.month);
  out.day = static_cast<std::uint8_t>(civil.day);
  return 0;
}

std::uint32_t Calendar::MonthLength(std::int32_t era, std::int32_t year,
                                    std::uint32_t month) const noexcept {
  const CalendarDate date = {era, year, month, 1};
  std::int32_t plain = 0;
  if (gregorian() || !has_arithmetic() || era < 0 || era >= (eras_ == 0 ? 1 : eras_)) return 0;
  if (year < kFirstPlainYear || year > kLastPlainYear) return 0;
  if (kind_ != Kind::kGregorian) {
    return OutOfEra(date, plain) ? MonthLengthOf(kind_, plain, month) : 0;
  }
  if (month < 1 || month > 12) return 0;
  if (counts_reigns()) {
    plain = EraStartYear(era) + year - 1;
  } else {
    if (!OutOfEra(date, plain)) return 0;
    plain -= year_offset_;
  }
  return datetime::MonthLength(plain, month);
}

std::string_view Calendar::String(std::uint32_t language, std::size_t index) const noexcept {
  const std::uint8_t* languages = Table(object_, layout::kLanguageTable);
  const std::size_t count = Load16(object_, layout::kLanguagesAt);
  for (std::size_t i = 0; i < count; ++i) {
    if (Load16(languages, 2 * i) != language) continue;
    const std::size_t entry = 4 * (i * layout::kStringsPerLanguage + index);
    return reinterpret_cast<const char*>(Table(object_, layout::kStrings)) +
           Load32(Table(object_, layout::kStringIndex), entry);
  }
  return {};
}

std::string_view Calendar::Name(std::uint32_t language, std::size_t index) const noexcept {
  const std::string_view name = String(language, index);
  return name.empty() ? String(kEnglish, index) : name;
}

std::string_view Calendar::MonthName(std::uint32_t language, std::uint32_t month,
                                     bool abbreviated) const noexcept {
  if (gregorian() || gregorian_months() || month < 1 || month > months_ || month > 13) return {};
  return Name(language, (abbreviated ? layout::kShortMonthName : layout::kMonthName) + (month - 1));
}

std::string_view Calendar::EraName(std::uint32_t language, std::int32_t era,
                                   bool abbreviated) const noexcept {
  if (gregorian() || era < first_named_era() || era >= eras_) return {};
  const auto place = static_cast<std::size_t>(era - first_named_era());
  return Name(language, (abbreviated ? layout::kShortEraName : layout::kEraName) + place);
}

}  // namespace kestra::datetime
