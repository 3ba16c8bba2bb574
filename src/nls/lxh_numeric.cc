// lxhninfo: the numeric items (docs/items.md).
#include "nls/ascii.h"
#include "nls/handle_parts.h"
#include "nls/lxh_items.h"
#include "nls/lxl_builtin.h"

namespace kestra::nls {
namespace {

constexpr std::uint32_t kGregorianId = 1;

// A number that an object of the handle holds.
struct Field {
  std::uint32_t slot;
  std::uint32_t type;
  std::size_t at;
  std::size_t width;
};

std::uint32_t ReadField(const Field& field, lxcontext* context) noexcept {
  const lxobject* object = lxdgetobj(field.slot, field.type, context);
  if (object == nullptr) {
    context->error = KES_NLS_OBJECT_UNAVAILABLE;
    return 0;
  }
  return field.width == 1 ? Load8(object, field.at) : Load16(object, field.at);
}

std::uint32_t CalendarField(std::size_t at, std::uint32_t gregorian, const lxhandle& handle,
                            lxcontext* context) noexcept {
  if (handle.calendar_slot == 0) return gregorian;
  return ReadField({handle.calendar_slot, KES_OBJECT_CALENDAR, at, 2}, context);
}

std::uint32_t CharsetByte(std::size_t at, const lxhandle& handle, lxcontext* context) noexcept {
  const lxobject* set = HandleCharset(handle, context);
  if (set == nullptr) context->error = KES_NLS_OBJECT_UNAVAILABLE;
  return set == nullptr ? 0 : Load8(set, at);
}

std::uint32_t Answer(std::uint32_t item, const lxhandle& handle, lxcontext* context) noexcept {
  using namespace nlb;
  const HandleIds ids = IdsOf(handle, context->area);
  const auto territory_field = [&](std::size_t at, std::size_t width) {
    return ReadField({handle.territory_slot, KES_OBJECT_TERRITORY, at, width}, context);
  };
  switch (item) {
    case KES_ITEM_DIRECTION:
      return ReadField({handle.language_slot, KES_OBJECT_LANGUAGE, language::kFlagsAt, 2},
                       context) &
             language::kRightToLeftFlag;
    case KES_ITEM_LANGUAGE:
    case kLanguageAgainItem:
      return ids.language;
    case KES_ITEM_LANGUAGE_CHARSET:
      return handle.default_charset_id;
    case KES_ITEM_LANGUAGE_TERRITORY:
      return ids.default_territory;
    case KES_ITEM_DATE_LANGUAGE:
      return ids.date_language;
    case KES_ITEM_TERRITORY:
      return ids.territory;
    case KES_ITEM_CHARSET:
      return handle.charset_id;
    case KES_ITEM_SORT:
      return ids.sort;
    case KES_ITEM_CALENDAR:
      return handle.calendar_slot == 0 ? kGregorianId : ids.calendar;
    case KES_ITEM_DISPLAY_DIRECTION:
      return handle.flags & KES_HANDLE_RTL;
    case KES_ITEM_DISPLAY_CHARSET:
      return handle.display_charset_id;
    case KES_ITEM_FIRST_DAY:
      return territory_field(territory::kFirstDayAt, 1);
    case KES_ITEM_FIRST_WEEK_DAYS:
      return territory_field(territory::kMinDaysAt, 1);
    case KES_ITEM_CURRENCY_DIGITS:
      return territory_field(territory::kCurrencyDigitsAt, 1);
    case KES_ITEM_ISO_NUMBER:
      return territory_field(territory::kIsoNumberAt, 2);
    case KES_ITEM_LONGEST_CHARACTER:
      return CharsetByte(charset::kMaxBytesAt, handle, context);
    case KES_ITEM_SHORTEST_CHARACTER:
      return CharsetByte(charset::kMinBytesAt, handle, context);
    case KES_ITEM_CALENDAR_KIND:
      return CalendarField(calendar::kKindAt, kGregorianId, handle, context);
    case KES_ITEM_CALENDAR_MONTHS:
      return CalendarField(calendar::kMonthsAt, 12, handle, context);
    case KES_ITEM_YEAR_OFFSET: {
      const std::uint32_t offset = CalendarField(calendar::kYearOffsetAt, 0, handle, context);
      return static_cast<std::uint32_t>(
          static_cast<std::int32_t>(static_cast<std::int16_t>(offset)));
    }
    case KES_ITEM_STORAGE_ORDER:
      return handle.flags2 >> 4 & 1u;
    case KES_ITEM_COMP:
      return handle.comparison;
    case KES_ITEM_LENGTH_SEMANTICS:
      return handle.length_semantics;
    case KES_ITEM_CONV_EXCP:
      return handle.conv_excp;
    case KES_ITEM_IMP_CONV:
      return handle.imp_conv;
    default:
      context->error = KES_NLS_UNKNOWN_ID;
      return 0;
  }
}

}  // namespace
}  // namespace kestra::nls

extern "C" std::uint32_t lxhninfo(const lxhandle* handle, std::uint32_t item,
                                  lxcontext* context) noexcept {
  if (handle == nullptr || context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  return kestra::nls::Answer(item, *handle, context);
}
