// Layout of the archive of files inside a data library: header, index sorted by name, names, then
// the files, each at a multiple of 16. All fields are little-endian. Names are paths below the home
// directory, for example nls/data/lx1boot.nlb. The library libX.so exports it as the bytes
// X_archive and their number as the u64 X_archive_size.
#pragma once

#include <cstddef>

namespace kestra::os::archive {

inline constexpr char kMagic[8] = {'K', 'E', 'S', 'D', 'A', 'T', 'A', '1'};
inline constexpr std::size_t kCountAt = 8;  // u32
inline constexpr std::size_t kIndexAt = 16;
// An index entry: u32 name offset, u32 name length, u32 file offset, u32 file size.
inline constexpr std::size_t kEntrySize = 16;

}  // namespace kestra::os::archive
