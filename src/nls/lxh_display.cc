// The display setting of a handle: terminal name, direction, character set.
#include <string.h>

#include "nls/ascii.h"
#include "nls/handle_parts.h"

extern "C" int lxhdisp(const char* text, std::size_t length, lxhandle* handle,
                       lxcontext* context) noexcept {
  using namespace kestra::nls;
  if (handle == nullptr || context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  const std::string_view setting =
      text == nullptr ? std::string_view() : std::string_view(text, length);
  constexpr std::size_t kRoom = sizeof handle->display_name - 1;
  const std::string_view name = lxpname(setting, Component::kFirst).substr(0, kRoom);
  memset(handle->display_name, 0, sizeof handle->display_name);
  CopyChars(handle->display_name, name);
  handle->display_length = static_cast<std::uint8_t>(name.size());
  handle->flags &= ~std::uint32_t{KES_HANDLE_RTL};
  if (EqualIgnoringCase(lxpname(setting, Component::kSecond), "RTL")) {
    handle->flags |= KES_HANDLE_RTL;
  }
  const std::string_view charset = lxpname(setting, Component::kThird);
  const std::uint32_t id =
      charset.empty() ? handle->charset_id : lxpcget(charset.data(), charset.size(), context);
  if (id != 0 && lxpdcset(id, handle, context) != 0) return 1;
  handle->display_charset_id = 0;
  handle->display_charset_slot = 0;
  context->error = KES_NLS_UNKNOWN_CHARSET;
  return 0;
}
