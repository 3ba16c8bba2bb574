// The date context: made from a language handle, brought up to date with it, ended; its errors.
#include <stddef.h>
#include <string.h>

#include <cstdint>

#include "core/os/process_lock.h"
#include "datetime/ldx_state.h"
#include "datetime/model_scan.h"
#include "datetime/text_set.h"
#include "datetime/utf16_text.h"
#include "kestra/date.h"
#include "kestra/date_format.h"
#include "nls/handle_parts.h"
#include "nls/object_view.h"
#include "nls/process_state.h"

static_assert(sizeof(ldxctx) == 12288 && offsetof(ldxctx, inner) % 8 == 0);
static_assert(sizeof(ldxdate) == 8 && sizeof(ldxjdate) == 8 && sizeof(ldxdelta) == 8);

namespace kestra::datetime {
namespace {

constexpr std::size_t kDefaultTextRoom = 60;
constexpr std::uint32_t kNoDefaultFormat = 600;
constexpr std::uint32_t kKeepNoDefault = 1u << 8;  // of ldxctx::flags: KES_DATE_NO_DEFAULT
constexpr std::uint8_t kEnglishDefault[] = {'D', 'D', '-', 'M', 'O', 'N', '-', 'R', 'R'};

Basis BasisOf(const lxhandle& handle, lxcontext* nls) noexcept {
  const lxobject* set = nls::HandleCharset(handle, nls);
  if (set == nullptr) return Basis::kAscii;
  return nls::Load16(set, nls::nlb::charset::kBasisAt) == nls::nlb::charset::kEbcdic
             ? Basis::kEbcdic
             : Basis::kAscii;
}

// Where the set has the characters of ASCII; those that it lacks are where most code pages have them.
void ReadEbcdic(State& state, const lxobject* set) noexcept {
  for (std::size_t c = 0; c < 128; ++c) state.ascii[c] = ToEbcdic(static_cast<char>(c));
  for (std::size_t byte = 256; byte-- > 0;) {
    const std::uint32_t c = nls::Load16(set, nls::nlb::charset::kSingleAt + 2 * byte);
    if (c < 128) state.ascii[c] = static_cast<std::uint8_t>(byte);
  }
}

// Reads everything that is kept of the handle but the default format.
void ReadHandle(ldxctx& ctx) noexcept {
  const bool datetime = StateOf(ctx).datetime;
  memset(ctx.inner, 0, sizeof ctx.inner);
  StateOf(ctx).datetime = datetime;
  for (std::size_t c = 0; c < 128; ++c) StateOf(ctx).ascii[c] = static_cast<std::uint8_t>(c);
  ctx.first_weekday = 0;
  ctx.calendar = 0;
  if (ctx.handle == nullptr) return;
  State& state = StateOf(ctx);
  state.two_byte_units = (ctx.handle->flags & KES_CHARSET_UTF16) != 0;
  state.basis = state.two_byte_units ? Basis::kAscii : BasisOf(*ctx.handle, ctx.nls);
  if (state.basis == Basis::kEbcdic) ReadEbcdic(state, nls::HandleCharset(*ctx.handle, ctx.nls));
  state.utf8 = KeepsUtf8(ctx);
  state.whole_names = (ctx.handle->flags & KES_CHARSET_STATEFUL) != 0;
  ctx.first_weekday =
      static_cast<std::uint16_t>(lxhninfo(ctx.handle, KES_ITEM_FIRST_DAY, ctx.nls) % 7);
  ctx.calendar = ctx.handle->calendar_slot;
}

Fault ReadDefaultFormat(ldxctx& ctx) noexcept {
  ctx.default_length = 0;
  if ((ctx.flags & kKeepNoDefault) != 0) return {};
  std::uint8_t text[kDefaultTextRoom];
  std::size_t length = sizeof kEnglishDefault;
  if (ctx.handle == nullptr) {
    memcpy(text, kEnglishDefault, sizeof kEnglishDefault);
  } else {
    length = HandleText(ctx, KES_ITEM_DATE_FORMAT, text, sizeof text);
    if (length == 0) return {kNoDefaultFormat, 0};
  }
  std::size_t compiled = 0;
  const Fault fault = CompileWorkText(ctx, {text, length}, ModelUse::kBoth,
                                      {ctx.default_format, sizeof ctx.default_format}, compiled);
  if (!fault) ctx.default_length = static_cast<std::uint16_t>(compiled);
  return fault;
}

// Binds own_nls to the area of the handle. The process's shared area gets a user more, for which
// KES_DATE_OWN_NLS stands.
void OpenOwnNls(ldxctx& ctx) noexcept {
  const lxcontext* theirs = ctx.handle->context;
  lxcallbacks* callbacks = theirs == nullptr ? nullptr : theirs->callbacks;
  lxarea* area = theirs == nullptr ? nullptr : theirs->area;
  const os::ProcessLock lock;
  std::uint32_t error = 0;
  if (area == nullptr || area == nls::State().slxlobjp) {
    area = lxlinit(callbacks, 1, &error);
    ctx.flags |= KES_DATE_OWN_NLS;
  }
  lxinitc(&ctx.own_nls, area, callbacks, 0);
}

// Gives the user up again; what the handle's owner holds stays reachable through own_nls.
void CloseOwnNls(ldxctx& ctx) noexcept {
  if ((ctx.flags & KES_DATE_OWN_NLS) == 0) return;
  ctx.flags &= ~std::uint32_t{KES_DATE_OWN_NLS};
  lxarea* area = ctx.own_nls.area;
  lxlterm(&ctx.own_nls);
  ctx.own_nls.area = area;
}

ldxctx* Begin(ldxctx* ctx, const lxhandle* handle, lxcontext* nls, ldxraise raise, void* argument,
              std::uint32_t options) {
  memset(ctx, 0, sizeof *ctx);
  ctx->raise = raise;
  ctx->argument = argument;
  ctx->handle = handle;
  ctx->nls = nls;
  if ((options & KES_DATE_NO_DEFAULT) != 0) ctx->flags |= kKeepNoDefault;
  if (handle != nullptr && nls == nullptr) {
    ctx->nls = &ctx->own_nls;
    OpenOwnNls(*ctx);
  }
  ReadHandle(*ctx);
  Raise(ctx, ReadDefaultFormat(*ctx));
  return ctx;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

ldxctx* ldxbegin(ldxctx* ctx, const lxhandle* handle, ldxraise raise, void* argument) {
  return Begin(ctx, handle, nullptr, raise, argument, 0);
}

ldxctx* ldxcbeg(ldxctx* ctx, const lxhandle* handle, lxcontext* nls, ldxraise raise,
                void* argument) {
  return Begin(ctx, handle, nls, raise, argument, 0);
}

ldxctx* ldxnbeg(ldxctx* ctx, const lxhandle* handle, lxcontext* nls, ldxraise raise, void* argument,
                std::uint32_t options) {
  return Begin(ctx, handle, nls, raise, argument, options);
}

void ldxend(ldxctx* ctx) noexcept {
  if (ctx != nullptr) CloseOwnNls(*ctx);
}

void ldxerr(ldxctx* ctx, std::uint32_t number) {
  CloseOwnNls(*ctx);
  ctx->error = number;
  if (ctx->raise != nullptr) ctx->raise(ctx, number);
}

void ldxrdf(ldxctx* ctx) {
  ReadHandle(*ctx);
  Raise(ctx, ReadDefaultFormat(*ctx));
}

}  // extern "C"
