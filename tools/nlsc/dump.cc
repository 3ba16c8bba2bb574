#include "dump.h"

#include <fmt/format.h>

#include <iterator>

#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

const char* OrderName(bool big_endian) { return big_endian ? "big-endian" : "little-endian"; }

void DumpObject(const ObjectReader& object, bool full, std::string& out) {
  const auto to = std::back_inserter(out);
  fmt::format_to(to, "{} {} {}\n", TypeName(object.type()), object.id(), object.name());
  fmt::format_to(to, "made from: {}\n", object.sources());
  fmt::format_to(to, "format: {:08X}, release {}, {}\n", object.U32(nlb::kVersionAt),
                 object.U32(nlb::kReleaseAt), OrderName(object.big_endian()));
  fmt::format_to(to, "size: {} bytes, variable part {}\n", object.U32(nlb::kSizeAt),
                 object.U32(nlb::kVariablePartAt));
  fmt::format_to(to, "checksum: {:08X}{}\n", object.checksum(),
                 object.checksum() == object.computed_checksum() ? "" : " (wrong)");
  constexpr void (*kDumps[])(const ObjectReader&, bool, std::string&) = {
      DumpLanguage, DumpTerritory, DumpCharset, DumpSort, DumpSupplement, DumpCalendar};
  if (object.type() < std::size(kDumps)) kDumps[object.type()](object, full, out);
}

// Entries are listed in full: they are what a boot file is for.
void DumpBoot(const BootReader& boot, std::string& out) {
  const auto to = std::back_inserter(out);
  fmt::format_to(to, "boot file\nformat: {:08X}, release {}, {}\n", boot.U32(nlb::boot::kVersionAt),
                 boot.U32(nlb::boot::kReleaseAt), OrderName(boot.big_endian()));
  fmt::format_to(to, "size: {} bytes, {} entries\n", boot.U32(nlb::boot::kSizeAt), boot.count());
  fmt::format_to(
      to, "flags: {:08X}, names in {}\n", boot.U32(nlb::boot::kFlagsAt),
      (boot.U8(nlb::boot::kByteFlagsAt) & nlb::boot::kAsciiNamesFlag) != 0 ? "ASCII" : "EBCDIC");
  for (std::uint32_t run = 0; run < nlb::boot::kRunCount; ++run) {
    const std::uint32_t begin = boot.RunStart(run), end = boot.RunStart(run + 1);
    if (begin < end)
      fmt::format_to(to, "run {}: {} ({} entries)\n", run, TypeName(run), end - begin);
    for (std::uint32_t i = begin; i < end; ++i) {
      const BootEntry entry = boot.Entry(i);
      fmt::format_to(to, "  {:5} {:<28} {:8} bytes", entry.id & nlb::kIdMask, entry.name,
                     entry.size);
      if (entry.type != run) fmt::format_to(to, " type {}", entry.type);
      const unsigned id_flags = entry.id >> 14;
      if (id_flags != 0 || entry.flags1 != 0 || entry.flags2 != 0) {
        fmt::format_to(to, " flags {:X} {:02X} {:02X}", id_flags, entry.flags1, entry.flags2);
      }
      out += '\n';
    }
  }
}

}  // namespace

std::string Dump(std::span<const std::uint8_t> bytes, bool full) {
  std::string out;
  if (BootReader::IsBoot(bytes)) {
    const BootReader boot(bytes);
    try {
      DumpBoot(boot, out);
    } catch (const BadObject& error) {
      out += fmt::format("damaged: {}\n", error.what());
    }
    return out;
  }
  const ObjectReader object(bytes);
  try {
    DumpObject(object, full, out);
  } catch (const BadObject& error) {
    out += fmt::format("damaged: {}\n", error.what());
  }
  return out;
}

}  // namespace kestra::nlsc
