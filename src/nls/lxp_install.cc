// Installing languages, territories, character sets and sorts into a handle; loading what a handle
// names.
#include <string.h>

#include "kestra/convert.h"
#include "nls/handle_parts.h"
#include "nls/lxl_builtin.h"
#include "nls/nlb_tables.h"

namespace kestra::nls {
namespace {

constexpr std::uint16_t Narrow(std::uint32_t slot) noexcept {
  return static_cast<std::uint16_t>(slot);
}

bool HasArea(const lxcontext* context) noexcept {
  return context != nullptr && context->area != nullptr;
}

std::uint32_t FindSlot(std::uint32_t id, std::uint32_t type, const lxcontext* context) noexcept {
  return lxpe2i(id, context->area, type, nullptr, 0);
}

// A set whose conversion is by tables has mappings; the sets that are computed or known by their id
// have flags of their own. Anything else is a name without content.
bool IsUsable(const lxobject* set) noexcept {
  return set != nullptr &&
         (Load32(set, nlb::charset::kMappingsAt) != 0 || CharsetView(set).handle_flags() != 0);
}

std::string_view StringAt(const lxobject* object, const OffsetTable& table,
                          std::size_t index) noexcept {
  if (object == nullptr || index >= table.count) return {};
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(object);
  const auto* text = reinterpret_cast<const char*>(bytes + table.base + table.offset(bytes, index));
  return {text, strnlen(text, table.size(bytes, index))};
}

// Carries the texts that were set over into another character set.
void ConvertTexts(lxhandle& handle, const lxobject* from, const lxobject* to,
                  lxcontext* context) noexcept {
  for (std::size_t i = 0; i < KES_TEXT_COUNT; ++i) {
    if ((handle.text_set >> i & 1u) == 0) continue;
    const lxtext old = handle.text[i];
    lxtext& text = handle.text[i];
    text.length = static_cast<std::uint8_t>(
        lxgcnv(text.bytes, to, sizeof text.bytes, old.bytes, from, old.length, context));
  }
}

// The id behind a slot of the directory.
std::uint16_t IdAt(const lxarea* area, std::uint32_t slot, std::uint32_t type) noexcept {
  const BootView boot = Boot(area);
  if (slot == 0 || slot >= boot.count() || boot.entry(slot).type() != type) return 0;
  return Narrow(boot.entry(slot).id());
}

}  // namespace

const lxobject* CharsetObject(std::uint32_t id, lxcontext* context) noexcept {
  if (id == builtin::kUtf16Id) return builtin::Utf16();
  if (id == builtin::kAl16Utf16LeId) return builtin::Al16Utf16Le();
  if (!HasArea(context)) return nullptr;
  const lxobject* set =
      lxdgetobj(FindSlot(id, KES_OBJECT_CHARSET, context), KES_OBJECT_CHARSET, context);
  return IsUsable(set) ? set : nullptr;
}

const lxobject* HandleCharset(const lxhandle& handle, lxcontext* context) noexcept {
  if (handle.charset_id == builtin::kUtf16Id || handle.charset_id == builtin::kAl16Utf16LeId) {
    return CharsetObject(handle.charset_id, context);
  }
  return lxdgetobj(handle.charset_slot, KES_OBJECT_CHARSET, context);
}

std::string_view LanguageString(const lxobject* object, std::size_t index) noexcept {
  return StringAt(object, kLanguageOffsets, index);
}

std::string_view TerritoryString(const lxobject* object, std::size_t index) noexcept {
  return StringAt(object, kTerritoryOffsets, index);
}

bool IsAscii(std::string_view text) noexcept {
  char seen = 0;
  for (const char c : text) seen = static_cast<char>(seen | c);
  return (static_cast<unsigned char>(seen) & 0x80u) == 0;
}

std::size_t IntoHandle(std::string_view text, const lxhandle& handle, std::uint8_t* buffer,
                       std::size_t room, lxcontext* context) noexcept {
  // ASCII text needs no data of its own, which the built-in area does not have.
  const lxobject* from = IsAscii(text) ? builtin::Us7Ascii() : CharsetObject(873, context);
  const lxobject* to = HandleCharset(handle, context);
  if (from == nullptr || to == nullptr) {
    context->error = KES_NLS_OBJECT_UNAVAILABLE;
    return 0;
  }
  return lxgcnv(buffer, to, room, reinterpret_cast<const std::uint8_t*>(text.data()), from,
                text.size(), context);
}

bool KeepsAscii(const lxhandle& handle, lxcontext* context) noexcept {
  const lxobject* set = HandleCharset(handle, context);
  return set != nullptr && CharsetView(set).ascii_runs();
}

HandleIds IdsOf(const lxhandle& handle, const lxarea* area) noexcept {
  return {IdAt(area, handle.language_slot, KES_OBJECT_LANGUAGE),
          IdAt(area, handle.date_language_slot, KES_OBJECT_LANGUAGE),
          IdAt(area, handle.territory_slot, KES_OBJECT_TERRITORY),
          IdAt(area, handle.charset_slot, KES_OBJECT_CHARSET),
          IdAt(area, handle.sort_slot, KES_OBJECT_SORT),
          IdAt(area, handle.calendar_slot, KES_OBJECT_CALENDAR),
          IdAt(area, handle.display_charset_slot, KES_OBJECT_CHARSET),
          IdAt(area, handle.default_territory_slot, KES_OBJECT_TERRITORY),
          IdAt(area, handle.supplement_slot, KES_OBJECT_SUPPLEMENT)};
}

bool lxpdload(const lxhandle& handle, lxcontext* context) noexcept {
  const struct {
    std::uint32_t slot;
    std::uint32_t type;
  } objects[] = {{handle.language_slot, KES_OBJECT_LANGUAGE},
                 {handle.date_language_slot, KES_OBJECT_LANGUAGE},
                 {handle.territory_slot, KES_OBJECT_TERRITORY},
                 {handle.charset_slot, KES_OBJECT_CHARSET},
                 {handle.sort_slot, KES_OBJECT_SORT},
                 {handle.calendar_slot, KES_OBJECT_CALENDAR},
                 {handle.display_charset_slot, KES_OBJECT_CHARSET},
                 {handle.supplement_slot, KES_OBJECT_SUPPLEMENT}};
  for (const auto& object : objects) {
    if (object.slot != 0 && lxdgetobj(object.slot, object.type, context) == nullptr) return false;
  }
  return true;
}

}  // namespace kestra::nls

using namespace kestra::nls;

extern "C" {

int lxplset(std::uint32_t id, lxhandle* handle, lxcontext* context) noexcept {
  if (handle == nullptr || !HasArea(context)) return 0;
  const BootView boot = Boot(context->area);
  const std::uint32_t slot = boot.FindId(KES_OBJECT_LANGUAGE, id);
  const lxobject* language = lxdgetobj(slot, KES_OBJECT_LANGUAGE, context);
  if (language == nullptr) return 0;
  // A data set may lack the defaults of one of its languages: the first of its kind then stands in.
  const std::uint32_t charset = Load16(language, nlb::language::kDefaultCharsetAt);
  const std::uint32_t territory =
      boot.FindId(KES_OBJECT_TERRITORY, Load16(language, nlb::language::kDefaultTerritoryAt));
  const std::uint32_t first_charset = boot.run(KES_OBJECT_CHARSET).first;
  const bool has_charset = boot.FindId(KES_OBJECT_CHARSET, charset) != 0;
  handle->language_slot = Narrow(slot);
  handle->date_language_slot = Narrow(slot);
  handle->default_charset_id = Narrow(has_charset ? charset : boot.entry(first_charset).id());
  handle->default_territory_slot =
      Narrow(territory != 0 ? territory : boot.run(KES_OBJECT_TERRITORY).first);
  return 1;
}

int lxptset(std::uint32_t id, lxhandle* handle, lxcontext* context) noexcept {
  if (handle == nullptr || !HasArea(context)) return 0;
  const std::uint32_t slot = FindSlot(id, KES_OBJECT_TERRITORY, context);
  if (lxdgetobj(slot, KES_OBJECT_TERRITORY, context) == nullptr) return 0;
  handle->territory_slot = Narrow(slot);
  handle->text_set = 0;
  return 1;
}

int lxpcset(std::uint32_t id, lxhandle* handle, lxcontext* context) noexcept {
  if (handle == nullptr || !HasArea(context)) return 0;
  const bool unlisted = id == builtin::kUtf16Id || id == builtin::kAl16Utf16LeId;
  const lxobject* set = CharsetObject(id, context);
  const std::uint32_t slot =
      FindSlot(unlisted ? builtin::kAl16Utf16Id : id, KES_OBJECT_CHARSET, context);
  if (set == nullptr || lxdgetobj(slot, KES_OBJECT_CHARSET, context) == nullptr) return 0;
  if (handle->text_set != 0) {
    const lxobject* old = HandleCharset(*handle, context);
    const std::uint32_t error = context->error;
    if (old != nullptr) ConvertTexts(*handle, old, set, context);
    context->error = error;
  }
  const CharsetView view(set);
  handle->charset_id = Narrow(id);
  handle->charset_slot = Narrow(slot);
  handle->flags = (handle->flags & KES_HANDLE_RTL) | (view.handle_flags() & ~1u);
  handle->class_table = nlb::charset::kClassTableAt;
  handle->shifted_width = Load8(set, nlb::charset::kShiftedWidthAt);
  handle->shift_in = Load8(set, nlb::charset::kShiftInAt);
  handle->shift_out = Load8(set, nlb::charset::kShiftOutAt);
  return 1;
}

int lxpdcset(std::uint32_t id, lxhandle* handle, lxcontext* context) noexcept {
  if (handle == nullptr || !HasArea(context)) return 0;
  const lxobject* set = CharsetObject(id, context);
  if (set == nullptr || (CharsetView(set).flags() & nlb::charset::kDisplayFlag) == 0) return 0;
  handle->display_charset_id = Narrow(id);
  handle->display_charset_slot = Narrow(FindSlot(id, KES_OBJECT_CHARSET, context));
  return 1;
}

int lxpsset(std::uint32_t id, std::uint32_t flags, lxhandle* handle, lxcontext* context) noexcept {
  if (handle == nullptr || !HasArea(context)) return 0;
  std::uint32_t slot = 0;
  if (id != 0 && id != kBinarySort) {
    slot = FindSlot(id, KES_OBJECT_SORT, context);
    if (lxdgetobj(slot, KES_OBJECT_SORT, context) == nullptr) return 0;
  }
  handle->sort_slot = Narrow(slot);
  handle->sort_flags = flags & ~nlb::kIdMask;
  handle->sort_parameter_length = 0;
  return 1;
}

const lxobject* lxpcobj(std::uint32_t id, lxcontext* context) noexcept {
  const lxobject* set = builtin::Iso2022(id);
  if (set == nullptr) set = CharsetObject(id, context);
  if (context != nullptr) context->error = set != nullptr ? KES_NLS_OK : KES_NLS_OBJECT_UNAVAILABLE;
  return set;
}

const lxobject* lxhcsobj(const lxhandle* handle, lxcontext* context) noexcept {
  const lxobject* set = handle == nullptr ? nullptr : HandleCharset(*handle, context);
  if (context != nullptr) context->error = set != nullptr ? KES_NLS_OK : KES_NLS_OBJECT_UNAVAILABLE;
  return set;
}

}  // extern "C"
