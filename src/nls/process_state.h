// What all contexts of a process share: the one table of process-wide state, and its thread-local
// twin for run mode 2. Guarded by the process lock (core/os/process_lock.h), which is not taken in
// run mode 2.
#pragma once

#include <cstdint>

#include "kestra/context.h"
#include "kestra/handle.h"

namespace kestra::nls {

inline constexpr std::size_t kNlsLangRoom = 4096;

enum class NlsLangVerdict : std::uint8_t { kUnknown = 0, kValid = 1, kInvalid = 2 };

// The ids behind the slots of the saved handle: slots mean something else in another area.
struct HandleIds {
  std::uint16_t language;
  std::uint16_t date_language;
  std::uint16_t territory;
  std::uint16_t charset;
  std::uint16_t sort;
  std::uint16_t calendar;
  std::uint16_t display_charset;
  std::uint16_t default_territory;
  std::uint16_t supplement;
  bool operator==(const HandleIds&) const = default;
};

struct ProcessState {
  lxcallbacks* slxlcbkp;   // default callback block
  lxarea* slxlobjp;        // shared global area
  std::uint32_t slxlobcp;  // its reference count
  // NLS_LANG as it was when first read.
  std::uint32_t slxpelenp;  // length plus 1; 0: not read yet
  bool slxpnotsetp;
  std::uint32_t nls_lang_error;  // it was too long, which counts as unset
  NlsLangVerdict slxpvalidp;
  std::uint32_t slxperrp;  // error of the verdict kInvalid
  // The handle that was built from the environment.
  bool slxphsavep;
  HandleIds saved_ids;
  std::uint32_t saved_error;
  lxhandle slxphdlp;
  char slxpenvp[kNlsLangRoom];
};

// The state of the process, or of the calling thread in run mode 2.
ProcessState& State() noexcept;

}  // namespace kestra::nls
