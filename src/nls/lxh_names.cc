// Ids and names of languages, territories, character sets, sorts and calendars.
#include "nls/ascii.h"
#include "nls/handle_parts.h"
#include "nls/lxl_builtin.h"

namespace kestra::nls {
namespace {

// Object type of a name kind; false for an unknown kind.
bool TypeOf(std::uint32_t kind, std::uint32_t& type) noexcept {
  switch (kind) {
    case KES_ITEM_LANGUAGE:
      type = KES_OBJECT_LANGUAGE;
      return true;
    case KES_ITEM_TERRITORY:
      type = KES_OBJECT_TERRITORY;
      return true;
    case KES_ITEM_CHARSET:
      type = KES_OBJECT_CHARSET;
      return true;
    case KES_ITEM_SORT:
      type = KES_OBJECT_SORT;
      return true;
    case KES_ITEM_CALENDAR:
      type = KES_OBJECT_CALENDAR;
      return true;
    default:
      return false;
  }
}

// Name of a character set without a directory entry: the one in its built-in object.
const char* UnlistedName(std::uint32_t id) noexcept {
  const lxobject* set = builtin::Iso2022(id);
  if (id == builtin::kUtf16Id) set = builtin::Utf16();
  if (id == builtin::kAl16Utf16LeId) set = builtin::Al16Utf16Le();
  return set == nullptr ? nullptr : reinterpret_cast<const char*>(set) + nlb::kNameAt;
}

// The ISO-2022 sets have no place in a handle, so only here they have ids.
std::uint32_t Iso2022Id(std::string_view name) noexcept {
  for (std::uint32_t id = builtin::kIso2022FirstId; id <= builtin::kIso2022LastId; ++id) {
    if (EqualIgnoringCase(UnlistedName(id), name)) return id;
  }
  return 0;
}

}  // namespace
}  // namespace kestra::nls

using namespace kestra::nls;

extern "C" {

const char* lxphid2name(std::uint32_t kind, std::uint32_t id, std::uint32_t* flags,
                        lxcontext* context) noexcept {
  if (flags != nullptr) *flags = 0;
  if (context == nullptr || context->area == nullptr) return nullptr;
  context->error = KES_NLS_OK;
  if (kind == KES_ITEM_CHARSET) {
    if (const char* name = UnlistedName(id)) return name;
  }
  std::uint32_t type = 0;
  if (!TypeOf(kind, type)) {
    context->error = KES_NLS_UNKNOWN_KIND;
    return nullptr;
  }
  const std::uint32_t slot = Boot(context->area).FindId(type, id);
  if (slot == 0) {
    context->error = KES_NLS_UNKNOWN_ID;
    return nullptr;
  }
  const DirectoryEntry entry = Boot(context->area).entry(slot);
  if (flags != nullptr) {
    *flags = (entry.id_word() & ~nlb::kIdMask) | entry.flags1() << 16 | entry.flags2() << 24;
  }
  return entry.c_name();
}

const char* lxhid2name(std::uint32_t kind, std::uint32_t id, lxcontext* context) noexcept {
  return lxphid2name(kind, id, nullptr, context);
}

std::uint32_t lxhname2id(std::uint32_t kind, const char* name, lxcontext* context) noexcept {
  if (context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  std::uint32_t type = 0;
  if (!TypeOf(kind, type)) {
    context->error = KES_NLS_UNKNOWN_KIND;
    return 0;
  }
  const std::string_view text = name == nullptr ? std::string_view() : std::string_view(name);
  std::uint32_t id = 0;
  if (type == KES_OBJECT_CHARSET) {
    id = lxpcget(text.data(), text.size(), context);
    if (id == 0) id = Iso2022Id(text);
  } else if (const std::uint32_t slot = Boot(context->area).FindName(type, text)) {
    id = Boot(context->area).entry(slot).id();
  }
  if (id == 0) context->error = KES_NLS_UNKNOWN_ID;
  return id;
}

}  // extern "C"
