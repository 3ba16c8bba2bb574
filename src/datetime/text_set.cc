#include "datetime/text_set.h"

#include "nls/handle_parts.h"

namespace kestra::datetime {

TextHandle::TextHandle(const ldxctx& ctx) noexcept : handle_(ctx.handle) {
  if (handle_ == nullptr || !StateOf(ctx).two_byte_units) return;
  copy_ = *handle_;
  if (lxpcset(kUtf8Id, &copy_, ctx.nls) != 0) handle_ = &copy_;
}

const lxobject* TextSet(const ldxctx& ctx) noexcept {
  if (ctx.handle == nullptr) return nullptr;
  if (StateOf(ctx).two_byte_units) return nls::CharsetObject(kUtf8Id, ctx.nls);
  return nls::HandleCharset(*ctx.handle, ctx.nls);
}

std::size_t HandleText(const ldxctx& ctx, std::uint32_t item, std::uint8_t* out,
                       std::size_t room) noexcept {
  const TextHandle handle(ctx);
  if (handle.get() == nullptr) return 0;
  const std::size_t length = lxhlinfo(handle.get(), item, out, room, ctx.nls);
  return ctx.nls->error == KES_NLS_OK ? length : 0;
}

}  // namespace kestra::datetime
