// The virtual file system: files below the home directory that live inside data libraries.
//
// An area ("nls", "kescore") is in virtual mode when one of its data libraries could be opened.
// Then a path below the home directory is served from the library unless a file of that name really
// exists under KESTRA_HOME.
#pragma once

#include <cstdint>
#include <span>

#include "core/os/data_file.h"

namespace kestra::os {

// lfvini2: opens the data libraries of an area, first library before second; either may be null.
// They are looked for beside this library (or program) and in $KESTRA_HOME/lib, never by bare name.
// level      2: libraries that are found stay open for the life of the process.
// flag       1: try again when an earlier call found none.
// Returns 1 in virtual mode, 0 otherwise. Takes the process lock itself in every run mode.
int lfvini2(int level, const char* area, const char* first, const char* second, int flag) noexcept;

// lfvIsVfsMode: 1 when the area is in virtual mode.
int lfvIsVfsMode(const char* area) noexcept;

// Opens path (relative to the home directory, for example "nls/data/lx1boot.nlb") in the archives
// of an area. The file is not open when there is none of that name.
DataFile OpenVirtualFile(const char* area, const char* path) noexcept;

// The files of a directory below the home directory, for example "kescore/zoneinfo", in the archives
// of an area, without those of its own directories: copies the name of the next one, with a NUL, and
// moves position, which is 0 at the start. False when there are no more. A name that does not fit is
// passed over.
bool NextVirtualFile(const char* area, const char* directory, std::size_t& position,
                     std::span<char> name) noexcept;

// Looks a path up in one archive: its bytes, or an empty span. Safe on any archive bytes.
std::span<const std::uint8_t> FindInArchive(std::span<const std::uint8_t> archive,
                                            const char* path) noexcept;

// Closes all data libraries, so that the next lfvini2 looks for them anew. For tests; no file of
// an archive may be open.
void CloseVirtualFiles() noexcept;

}  // namespace kestra::os
