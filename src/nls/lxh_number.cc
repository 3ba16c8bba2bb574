#include "kestra/charset.h"
#include "kestra/number_locale.h"
#include "nls/handle_parts.h"

namespace kestra::nls {
namespace {

// The items go one after the other into the buffer.
class SymbolWriter {
 public:
  SymbolWriter(const lxhandle* handle, std::uint8_t* buffer, std::size_t room,
               lxcontext* context) noexcept
      : handle_(handle), context_(context), next_(buffer), room_(room) {}

  // The text of an item; empty with the context's error, also when nothing is left for it.
  lnxspan Take(std::uint32_t item) noexcept {
    if (context_->error != KES_NLS_OK) return {};
    if (room_ == 0) {
      context_->error = KES_NLS_DESTINATION_FULL;
      return {};
    }
    const lnxspan span = {next_, lxhlinfo(handle_, item, next_, room_, context_)};
    next_ += span.length;
    room_ -= span.length;
    return span;
  }

 private:
  const lxhandle* handle_;
  lxcontext* context_;
  std::uint8_t* next_;
  std::size_t room_;
};

std::size_t FirstCharacter(const lnxspan& text, const lxhandle* handle,
                           lxcontext* context) noexcept {
  lxcursor cursor;
  return lxmfwdx(lxmopen(text.bytes, text.length, &cursor, handle, context, 0), context);
}

}  // namespace
}  // namespace kestra::nls

int lxhnumsym(const lxhandle* handle, lnxsymbols* symbols, uint8_t* buffer, size_t room,
              lxcontext* context) noexcept {
  using namespace kestra::nls;
  *symbols = {};
  if (handle == nullptr || context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  if (!KeepsAscii(*handle, context)) {
    context->error = KES_NLS_UTF16_QUERY;
    return 0;
  }
  SymbolWriter writer(handle, buffer, buffer == nullptr ? 0 : room, context);
  lnxsymbols read = {};
  const lnxspan numeric = writer.Take(KES_ITEM_NUMERIC_CHARACTERS);
  read.currency = writer.Take(KES_ITEM_CURRENCY);
  read.iso_currency = writer.Take(KES_ITEM_ISO_CURRENCY);
  read.dual_currency = writer.Take(KES_ITEM_DUAL_CURRENCY);
  if (context->error != KES_NLS_OK) return 0;
  const size_t decimal = FirstCharacter(numeric, handle, context);
  read.decimal = {numeric.bytes, decimal};
  read.group = {numeric.bytes + decimal, numeric.length - decimal};
  *symbols = read;
  return 1;
}
