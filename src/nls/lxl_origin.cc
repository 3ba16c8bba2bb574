// Where the locale data comes from.
#include "core/os/file_origin.h"
#include "kestra/object.h"
#include "nls/area.h"
#include "nls/lxl_file.h"

extern "C" std::size_t lxlorigin(char* path, std::size_t room, lxcontext* context) noexcept {
  using namespace kestra;
  if (room == 0 || path == nullptr) return 0;
  path[0] = '\0';
  if (context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  if (nls::Boot(context->area).built_in()) return 0;
  // The boot file that the area was made of.
  const nls::AreaTail& tail = nls::Tail(context->area);
  char name[KES_OBJECT_NAME_SIZE];
  lxfgnb(name, tail.profile ? 2 : 1);
  os::DataFile file =
      nls::lxlfOpen(name, tail.profile, tail.block->load_boot == lxldlbb9i && !tail.profile);
  const std::size_t length = os::FileOrigin(file, {path, room});
  os::slxcfcl(file);
  if (length == 0) path[0] = '\0';
  return length;
}
