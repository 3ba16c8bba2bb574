/* A plain C client: from nothing to a handle and one converted name. */
#include <stdio.h>
#include <string.h>

#include "kestra/context.h"
#include "kestra/convert.h"
#include "kestra/handle.h"

int main(void) {
  lxcontext context;
  lxhandle handle;
  uint32_t error = 0;
  uint8_t name[64];
  size_t length;
  lxcallbacks* block = lxldini(NULL);
  lxarea* area = lxlinit(block, 1, &error);
  if (area == NULL || (error != 0 && error != KES_NLS_NO_BOOT_FILE)) return 1;
  if (lxinitc(&context, area, block, 0) != &context) return 2;
  if (lxhLaToId(NULL, 0, &handle, 0, &context) != &handle) return 3;
  length = lxhlinfo(&handle, KES_ITEM_LANGUAGE, name, sizeof name, &context);
  if (length != strlen("AMERICAN") || memcmp(name, "AMERICAN", length) != 0) return 4;
  if (lxhname2id(KES_ITEM_CHARSET, "US7ASCII", &context) != 1) return 5;
  lxlterm(&context);
  printf("%s, boot error %u\n", lxlbanner(), (unsigned)error);
  return 0;
}
