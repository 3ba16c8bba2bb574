#include "number/ldsb_context.h"

#include <cstdlib>

namespace kestra::number::dsb {
namespace {

constexpr ldsbctx kDefaults = {kElementAlignment,     kBufferAlignment, ldsbctxdefaultalloc,
                               ldsbctxdefaultfree,    nullptr,          ldsbcprec2width,
                               ldsbcwidth2prec,       kMembers.rows,    kOtherMembers,
                               kPortableMembers.rows, kOtherMembers,    {}};

}  // namespace

void* ldsbctxdefaultalloc(void*, std::size_t size, const char*) noexcept {
  return std::malloc(size);
}
void ldsbctxdefaultfree(void*, void* memory, const char*) noexcept { std::free(memory); }

const ldsbctx& ContextOf(const ldsbctx* ctx) noexcept { return ctx == nullptr ? kDefaults : *ctx; }

}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbinit(ldsbctx* ctx, ldsballocate allocate, ldsbrelease release, void* handle) noexcept {
  *ctx = kDefaults;
  if (allocate != nullptr && release != nullptr) {
    ctx->allocate = allocate;
    ctx->release = release;
    ctx->handle = handle;
  }
  return KES_DSB_OK;
}

int ldsbdone(ldsbctx* ctx) noexcept {
  *ctx = {};
  return KES_DSB_OK;
}
