// Building a handle from a specification text.
#include <string.h>

#include "nls/handle_parts.h"

namespace kestra::nls {
namespace {

using Lookup = std::uint32_t (*)(const char*, std::size_t, lxcontext*) noexcept;

// The id of a component: by its name, or the default where the component is absent, or unknown and
// strict is off. 0: unknown and strict.
std::uint32_t Resolve(std::string_view name, Lookup lookup, std::uint32_t default_id, bool strict,
                      bool& all_known, lxcontext* context) noexcept {
  if (name.empty()) return default_id;
  const std::uint32_t id = lookup(name.data(), name.size(), context);
  if (id != 0) return id;
  all_known = false;
  return strict ? 0 : default_id;
}

// The data that all territories share; false when there is such an object but it cannot be loaded.
bool LoadSupplement(lxhandle& handle, lxcontext* context) noexcept {
  std::uint32_t error = 0;
  const std::uint32_t slot =
      lxpe2i(nlb::supplement::kCurrencies, context->area, KES_OBJECT_SUPPLEMENT, &error, 0);
  if (slot == 0) return true;
  if (lxdgetobj(slot, KES_OBJECT_SUPPLEMENT, context) == nullptr) return false;
  handle.supplement_slot = static_cast<std::uint16_t>(slot);
  return true;
}

// Returns the error, 0 when the handle is built.
std::uint32_t Build(std::string_view text, bool strict, lxhandle& handle,
                    lxcontext* context) noexcept {
  const BootView boot = Boot(context->area);
  bool all_known = true;
  const std::uint32_t first_language = boot.entry(boot.run(KES_OBJECT_LANGUAGE).first).id();
  const std::uint32_t language = Resolve(lxpname(text, Component::kFirst), lxplget, first_language,
                                         strict, all_known, context);
  if (language == 0) return KES_NLS_UNKNOWN_LANGUAGE;
  if (lxplset(language, &handle, context) == 0) return KES_NLS_OBJECT_UNAVAILABLE;

  const std::uint32_t charset = Resolve(lxpname(text, Component::kThird), lxpcget,
                                        handle.default_charset_id, strict, all_known, context);
  if (charset == 0) return KES_NLS_UNKNOWN_CHARSET;
  if (lxpcset(charset, &handle, context) == 0) return KES_NLS_OBJECT_UNAVAILABLE;

  const std::uint32_t default_territory = boot.entry(handle.default_territory_slot).id();
  const std::uint32_t territory = Resolve(lxpname(text, Component::kSecond), lxptget,
                                          default_territory, strict, all_known, context);
  if (territory == 0) return KES_NLS_UNKNOWN_TERRITORY;
  if (lxptset(territory, &handle, context) == 0) return KES_NLS_OBJECT_UNAVAILABLE;
  if (all_known && !LoadSupplement(handle, context)) return KES_NLS_OBJECT_UNAVAILABLE;
  return KES_NLS_OK;
}

}  // namespace
}  // namespace kestra::nls

using namespace kestra::nls;

extern "C" {

lxhandle* lxhLaToId(const char* text, std::size_t length, lxhandle* handle, std::uint32_t mode,
                    lxcontext* context) noexcept {
  if (context == nullptr || handle == nullptr) return nullptr;
  memset(handle, 0, sizeof *handle);
  context->error = KES_NLS_OK;
  if (context->area == nullptr) {
    context->error = KES_NLS_NO_MEMORY;
    return nullptr;
  }
  std::string_view specification;
  if (text != nullptr) specification = {text, mode == 0 ? strlen(text) : length};
  const std::uint32_t error = Build(specification, mode == 2, *handle, context);
  if (error != KES_NLS_OK) {
    memset(handle, 0, sizeof *handle);
    context->error = error;
    return nullptr;
  }
  handle->context = context;
  handle->constant_12 = 12;
  handle->constant_1 = 1;
  return handle;
}

}  // extern "C"
