// The context of decimal vectors: where memory comes from, and the tables of members.
#pragma once

#include "kestra/decimal_vector.h"
#include "number/ldsb_rules.h"

namespace kestra::number::dsb {

inline constexpr char kTemporaryTag[] = "ldsb temp";

void* ldsbctxdefaultalloc(void* handle, std::size_t size, const char* tag) noexcept;
void ldsbctxdefaultfree(void* handle, void* memory, const char* tag) noexcept;

// The context of a call; that of the defaults for a null pointer.
const ldsbctx& ContextOf(const ldsbctx* ctx) noexcept;

// By operation, input precision - 1, and output no wider or one wider.
struct MemberTable {
  ldsbmember rows[7][kWidest][2];
};
extern const MemberTable kMembers;
extern const MemberTable kPortableMembers;
extern const ldsbmember kOtherMembers[4];

inline void* Allocate(const ldsbctx& ctx, std::size_t size) noexcept {
  return ctx.allocate(ctx.handle, size, kTemporaryTag);
}
inline void Release(const ldsbctx& ctx, void* memory) noexcept {
  if (memory != nullptr) ctx.release(ctx.handle, memory, kTemporaryTag);
}

}  // namespace kestra::number::dsb
