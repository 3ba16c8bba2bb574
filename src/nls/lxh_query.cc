// lxhlinfo: the text of an item, in the handle's character set.
#include <string.h>

#include <algorithm>

#include "kestra/convert.h"
#include "nls/ascii.h"
#include "nls/handle_parts.h"
#include "nls/lxh_items.h"
#include "nls/lxl_builtin.h"

namespace kestra::nls {
namespace {

// ASCII text put together from pieces; what does not fit is left out (the room is more than the
// longest names need).
class Composer {
 public:
  void Append(std::string_view text) noexcept {
    const std::string_view fits = text.substr(0, sizeof bytes_ - length_);
    CopyChars(bytes_ + length_, fits);
    length_ += fits.size();
  }
  std::string_view text() const noexcept { return {bytes_, length_}; }

 private:
  char bytes_[256];
  std::size_t length_ = 0;
};

std::string_view NameOfSlot(std::uint32_t slot, std::uint32_t type, const lxarea* area) noexcept {
  const BootView boot = Boot(area);
  if (slot == 0 || slot >= boot.count() || boot.entry(slot).type() != type) return {};
  return boot.entry(slot).name();
}

std::string_view NameOfCharset(std::uint32_t id, const lxarea* area) noexcept {
  if (id == builtin::kUtf16Id) return "UTF16";
  if (id == builtin::kAl16Utf16LeId) return "AL16UTF16LE";
  return NameOfSlot(Boot(area).FindId(KES_OBJECT_CHARSET, id), KES_OBJECT_CHARSET, area);
}

std::string_view DirectoryName(ItemName name, const lxhandle& handle, const lxarea* area) noexcept {
  switch (name) {
    case ItemName::kLanguage:
      return NameOfSlot(handle.language_slot, KES_OBJECT_LANGUAGE, area);
    case ItemName::kDefaultCharset:
      return NameOfCharset(handle.default_charset_id, area);
    case ItemName::kDefaultTerritory:
      return NameOfSlot(handle.default_territory_slot, KES_OBJECT_TERRITORY, area);
    case ItemName::kDateLanguage:
      return NameOfSlot(handle.date_language_slot, KES_OBJECT_LANGUAGE, area);
    case ItemName::kTerritory:
      return NameOfSlot(handle.territory_slot, KES_OBJECT_TERRITORY, area);
    case ItemName::kCharset:
      return NameOfCharset(handle.charset_id, area);
    case ItemName::kCalendar:
      return handle.calendar_slot == 0
                 ? std::string_view("GREGORIAN")
                 : NameOfSlot(handle.calendar_slot, KES_OBJECT_CALENDAR, area);
    case ItemName::kDisplayCharset:
      return handle.display_charset_id == 0 ? std::string_view()
                                            : NameOfCharset(handle.display_charset_id, area);
  }
  return {};
}

std::string_view Keyword(std::uint32_t item, const lxhandle& handle) noexcept {
  switch (item) {
    case KES_ITEM_DISPLAY_DIRECTION:
      return (handle.flags & KES_HANDLE_RTL) != 0 ? "RTL" : "LTR";
    case KES_ITEM_STORAGE_ORDER:
      return (handle.flags2 >> 4 & 1u) != 0 ? "VISUAL" : "LOGICAL";
    case KES_ITEM_COMP:
      if ((handle.comparison & 2u) != 0) return "LINGUISTIC";
      return (handle.comparison & 1u) != 0 ? "ANSI" : "BINARY";
    case KES_ITEM_LENGTH_SEMANTICS:
      return handle.length_semantics != 0 ? "CHAR" : "BYTE";
    case KES_ITEM_CONV_EXCP:
      return handle.conv_excp != 0 ? "TRUE" : "FALSE";
    case KES_ITEM_IMP_CONV:
      return handle.imp_conv != 0 ? "TRUE" : "FALSE";
    default:
      return {};
  }
}

std::string_view CalendarDateFormat(const lxhandle& handle, lxcontext* context) noexcept {
  using namespace nlb::calendar;
  if (handle.calendar_slot == 0) return {};
  const lxobject* object = lxdgetobj(handle.calendar_slot, KES_OBJECT_CALENDAR, context);
  if (object == nullptr) return {};
  const std::size_t at = nlb::common::kOffsetsAt + 4 * kDateFormat;
  const std::size_t begin = Load32(object, at);
  const auto* text = reinterpret_cast<const char*>(object) + nlb::common::kBase + begin;
  return {text, strnlen(text, Load32(object, at + 4) - begin)};
}

void ComposeSort(const lxhandle& handle, const lxarea* area, Composer& out) noexcept {
  out.Append(handle.sort_slot == 0 ? std::string_view("BINARY")
                                   : NameOfSlot(handle.sort_slot, KES_OBJECT_SORT, area));
  const std::size_t length =
      std::min<std::size_t>(handle.sort_parameter_length, sizeof handle.sort_parameters);
  if (length != 0) {
    out.Append({reinterpret_cast<const char*>(handle.sort_parameters), length});
  } else if ((handle.sort_flags & kLevelMask) == kAccentInsensitive) {
    out.Append("_AI");
  } else if ((handle.sort_flags & kLevelMask) == kCaseInsensitive) {
    out.Append("_CI");
  }
}

// The language's tag with the territory's code, unless the tag names a territory already.
void ComposeTag(const lxhandle& handle, lxcontext* context, Composer& out) noexcept {
  const std::string_view tag =
      LanguageString(lxdgetobj(handle.language_slot, KES_OBJECT_LANGUAGE, context), KES_ITEM_TAG);
  const std::string_view code = TerritoryString(
      lxdgetobj(handle.territory_slot, KES_OBJECT_TERRITORY, context), nlb::territory::kIsoCode);
  out.Append(tag);
  const std::size_t last = tag.rfind('-');
  const bool has_territory = last != std::string_view::npos && tag.size() - last == 3;
  if (has_territory || code.empty()) return;
  out.Append("-");
  out.Append(code);
}

std::string_view Compose(std::uint32_t item, const lxhandle& handle, lxcontext* context,
                         Composer& out) noexcept {
  const lxarea* area = context->area;
  switch (item) {
    case KES_ITEM_SORT:
      ComposeSort(handle, area, out);
      break;
    case KES_ITEM_NLS_LANG:
      out.Append(DirectoryName(ItemName::kLanguage, handle, area));
      out.Append("_");
      out.Append(DirectoryName(ItemName::kTerritory, handle, area));
      out.Append(".");
      out.Append(DirectoryName(ItemName::kCharset, handle, area));
      break;
    case KES_ITEM_LOCALE_TAG:
      ComposeTag(handle, context, out);
      break;
    case KES_ITEM_CALENDAR_DATE_FORMAT:
      return CalendarDateFormat(handle, context);
    default:
      break;
  }
  return out.text();
}

// An object of the handle that a query needs, or null with error 34.
const lxobject* Needed(std::uint32_t slot, std::uint32_t type, lxcontext* context) noexcept {
  const lxobject* object = lxdgetobj(slot, type, context);
  if (object == nullptr) context->error = KES_NLS_OBJECT_UNAVAILABLE;
  return object;
}

// A text of the handle that was given by the caller, and so is in the handle's set already. It is
// converted into its own set only where it has to be cut at a character.
std::size_t CopyOwnText(std::string_view text, const lxhandle& handle, std::uint8_t* buffer,
                        std::size_t room, lxcontext* context) noexcept {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  if (text.size() > room) {
    const lxobject* set = HandleCharset(handle, context);
    return lxgcnv(buffer, set, room, bytes, set, text.size(), context);
  }
  memcpy(buffer, bytes, text.size());
  return text.size();
}

std::size_t Answer(std::uint32_t code, const lxhandle& handle, std::uint8_t* buffer,
                   std::size_t room, lxcontext* context) noexcept {
  const Item item = kItemTable.items[code];
  std::string_view text;
  Composer composed;
  switch (item.source) {
    case ItemSource::kNone:
      context->error = KES_NLS_UNKNOWN_ID;
      return 0;
    case ItemSource::kLanguage:
      text = LanguageString(Needed(handle.language_slot, KES_OBJECT_LANGUAGE, context), item.index);
      break;
    case ItemSource::kDateLanguage:
      text = LanguageString(Needed(handle.date_language_slot, KES_OBJECT_LANGUAGE, context),
                            item.index);
      break;
    case ItemSource::kText:
      if ((handle.text_set >> item.index & 1u) != 0) {
        const lxtext& own = handle.text[item.index];
        return CopyOwnText({reinterpret_cast<const char*>(own.bytes), own.length}, handle, buffer,
                           room, context);
      }
      if (item.index == KES_TEXT_DATE_FORMAT) text = CalendarDateFormat(handle, context);
      if (!text.empty()) break;
      [[fallthrough]];
    case ItemSource::kTerritory:
      text =
          TerritoryString(Needed(handle.territory_slot, KES_OBJECT_TERRITORY, context), item.index);
      break;
    case ItemSource::kName:
      text = DirectoryName(static_cast<ItemName>(item.index), handle, context->area);
      break;
    case ItemSource::kKeyword:
      text = Keyword(code, handle);
      break;
    case ItemSource::kDisplayName:
      text = {reinterpret_cast<const char*>(handle.display_name),
              std::min<std::size_t>(handle.display_length, sizeof handle.display_name)};
      // As the environment's texts: in the handle's set where that contains ASCII.
      if (KeepsAscii(handle, context)) return CopyOwnText(text, handle, buffer, room, context);
      break;
    case ItemSource::kComposed:
      text = Compose(code, handle, context, composed);
      break;
  }
  return text.empty() ? 0 : IntoHandle(text, handle, buffer, room, context);
}

}  // namespace
}  // namespace kestra::nls

extern "C" std::size_t lxhlinfo(const lxhandle* handle, std::uint32_t item, std::uint8_t* buffer,
                                std::size_t room, lxcontext* context) noexcept {
  using namespace kestra::nls;
  if (handle == nullptr || context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  if (buffer == nullptr || room == 0) return 0;
  if (handle->charset_id == builtin::kUtf16Id || handle->charset_id == builtin::kAl16Utf16LeId) {
    memset(buffer, 0, room >= 2 ? 2 : 1);
    context->error = KES_NLS_UTF16_QUERY;
    return 0;
  }
  if (item >= kItemCount) {
    context->error = KES_NLS_UNKNOWN_ID;
    return 0;
  }
  const std::size_t needed = (handle->flags & KES_CHARSET_UTF16) != 0 ? 4 : 2;
  if (room < needed) {
    context->error = KES_NLS_DESTINATION_FULL;
    return 0;
  }
  return Answer(item, *handle, buffer, room, context);
}
