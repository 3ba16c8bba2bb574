#include "nls/lxl_file.h"

#include <string.h>

#include "core/os/environment.h"
#include "core/os/virtual_files.h"

namespace kestra::nls {
namespace {

constexpr char kExtension[] = ".nlb";
constexpr char kArea[] = "nls";

os::DataFile OpenBelowHome(const char* subdirectory, const char* name) noexcept {
  char path[os::kPathRoom];
  std::size_t length = os::slxldgnv("KESTRA_HOME", path, sizeof path).length;
  if (length == 0 || !os::AppendToPath(path, length, subdirectory)) return {};
  return os::slxcfot(path, name, kExtension);
}

os::DataFile OpenEmbedded(const char* subdirectory, const char* name) noexcept {
  char path[os::kPathRoom] = "";
  std::size_t length = 0;
  if (!os::AppendToPath(path, length, subdirectory) || !os::AppendToPath(path, length, name)) {
    return {};
  }
  if (length + sizeof kExtension > sizeof path) return {};
  memcpy(path + length, kExtension, sizeof kExtension);
  return os::OpenVirtualFile(kArea, path);
}

}  // namespace

os::DataFile lxlfOpen(const char* name, bool profile, bool legacy) noexcept {
  if (strlen(name) < 3) return os::slxcfot("", name, kExtension);
  const bool embedded = os::lfvIsVfsMode(kArea) != 0;
  if (profile || (!legacy && !embedded)) {
    char path[os::kPathRoom];
    const char* variable = profile ? "KES_NLS_PROFILE33" : "KES_NLS10";
    const bool is_set = os::slxldgnv(variable, path, sizeof path).length > 0;
    if (is_set) return os::slxcfot(path, name, kExtension);
    if (profile) return {};
  }
  const char* subdirectory = legacy ? "nls/data/9idata" : "nls/data";
  os::DataFile file = OpenBelowHome(subdirectory, name);
  if (!file.is_open() && embedded) file = OpenEmbedded(subdirectory, name);
  return file;
}

}  // namespace kestra::nls
