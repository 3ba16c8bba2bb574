// The callback block and its defaults for memory. The default file callbacks are in lxl_boot.cc and
// lxl_object.cc.
#include <stdlib.h>

#include "kestra/context.h"
#include "kestra/object.h"

extern "C" {

// The only place of the library that asks the system for memory.
void* lxldalc(void*, std::size_t size) noexcept { return malloc(size); }
void lxldfre(void*, void* memory) noexcept { free(memory); }

constinit lxcallbacks lxldcbk = {lxldalc, &lxldcbk, lxldfre, &lxldcbk, lxldlod, &lxldcbk,
                                 lxldunl, &lxldcbk, lxldlbb, &lxldcbk, lxldfre, &lxldcbk};

lxcallbacks* lxldini(lxcallbacks* block) noexcept {
  if (block == nullptr) return &lxldcbk;
  const auto complete = [block](auto& function, void*& context, auto standard) {
    if (function != nullptr) return;
    function = standard;
    context = block;
  };
  complete(block->allocate, block->allocate_ctx, lxldalc);
  complete(block->release, block->release_ctx, lxldfre);
  complete(block->load_object, block->load_object_ctx, lxldlod);
  complete(block->unload_object, block->unload_object_ctx, lxldunl);
  complete(block->load_boot, block->load_boot_ctx, lxldlbb);
  // Pair 6 defaults to pair 2, with its context.
  if (block->release_boot == nullptr) {
    block->release_boot = block->release;
    block->release_boot_ctx = block->release_ctx;
  }
  return block;
}

}  // extern "C"
