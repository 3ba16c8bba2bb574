#include "check.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "input.h"
#include "nls/nlb_format.h"
#include "object.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;
namespace fs = std::filesystem;

// Everything that later reads rely on, besides BytesReader's own bounds.
bool CheckTables(const ObjectReader& object, Faults& faults) {
  if (object.table_count() == 0) {
    faults.push_back(fmt::format("unknown type {}", object.type()));
    return false;
  }
  const bool strict = object.type() == kLanguageObject || object.type() == kTerritoryObject;
  for (std::size_t table = 0; table < object.table_count(); ++table) {
    const std::size_t begin = object.TableBegin(table), end = object.TableEnd(table);
    if (end < begin || (strict && end == begin)) {
      faults.push_back(fmt::format("offset {} is followed by a lower one", table));
      return false;
    }
  }
  if (object.TableBegin(0) != object.base()) faults.push_back("the first table is not at the base");
  if (object.end_offset() != object.U32(nlb::kVariablePartAt)) {
    faults.push_back("the end offset is not the size of the variable part");
  }
  if (object.base() + object.end_offset() != object.size()) {
    faults.push_back(fmt::format("the tables end at {}, the object at {}",
                                 object.base() + object.end_offset(), object.size()));
    return false;
  }
  return true;
}

void CheckHeader(const ObjectReader& object, Faults& faults) {
  if (object.U32(nlb::kVersionAt) < nlb::kMinVersion) faults.push_back("the format is too old");
  if (object.U32(nlb::kSizeAt) != object.size()) {
    faults.push_back(fmt::format("the header says {} bytes, the object has {}",
                                 object.U32(nlb::kSizeAt), object.size()));
  }
  if (object.checksum() != object.computed_checksum()) {
    faults.push_back(fmt::format("the checksum is {:08X}, the header says {:08X}",
                                 object.computed_checksum(), object.checksum()));
  }
  if (object.U8(nlb::kNameAt + nlb::kNameSize - 1) != 0 || object.name().empty() ||
      object.name().size() >= nlb::boot::kEntryNameSize) {
    faults.push_back("the name has not 1 to 28 bytes");
  }
  const std::uint32_t id = object.id();
  if (id == 0 || id > nlb::kIdMask) faults.push_back(fmt::format("the id is {}", id));
  // Every type repeats its id behind the header.
  if (object.table_count() != 0 && object.U16(nlb::kHeaderSize) != id) {
    faults.push_back("the two ids differ");
  }
}

}  // namespace

Faults CheckObject(std::span<const std::uint8_t> bytes) {
  Faults faults;
  try {
    const ObjectReader object(bytes);
    CheckHeader(object, faults);
    if (!CheckTables(object, faults)) return faults;
    constexpr void (*kChecks[])(const ObjectReader&, Faults&) = {
        CheckLanguage, CheckTerritory, CheckCharset, CheckSort, CheckSupplement, CheckCalendar};
    kChecks[object.type()](object, faults);
  } catch (const BadObject& error) {
    faults.push_back(error.what());
  }
  return faults;
}

Faults CheckBoot(std::span<const std::uint8_t> bytes) {
  namespace boot = nlb::boot;
  Faults faults;
  try {
    const BootReader reader(bytes);
    if (reader.U32(boot::kVersionAt) < nlb::kMinVersion) faults.push_back("the format is too old");
    const std::size_t size = boot::kHeaderSize + boot::kEntrySize * std::size_t{reader.count()};
    if (reader.U32(boot::kSizeAt) != bytes.size() || size != bytes.size()) {
      faults.push_back(fmt::format("{} entries take {} bytes, the header says {}, the file has {}",
                                   reader.count(), size, reader.U32(boot::kSizeAt), bytes.size()));
      return faults;
    }
    if (reader.RunStart(0) != 1) faults.push_back("the first run does not begin at entry 1");
    for (std::uint32_t run = 0; run < boot::kRunCount; ++run) {
      if (reader.RunStart(run) > reader.RunStart(run + 1)) {
        faults.push_back(fmt::format("run {} ends before it begins", run));
        return faults;
      }
      std::uint32_t previous = 0;
      for (std::uint32_t i = std::max(1u, reader.RunStart(run)); i < reader.RunStart(run + 1);
           ++i) {
        const BootEntry entry = reader.Entry(i);
        const std::uint32_t id = entry.id & nlb::kIdMask;
        if (entry.type != run) faults.push_back(fmt::format("entry {}: type {}", i, entry.type));
        if (id <= previous) faults.push_back(fmt::format("entry {}: id {} is out of order", i, id));
        if (previous == 0 && run <= kCharsetObject && id != 1) {
          faults.push_back(fmt::format("the first {} has not the id 1", TypeName(run)));
        }
        if (entry.name.empty() || entry.name_length != entry.name.size() + 1) {
          faults.push_back(fmt::format("entry {}: length of the name", i));
        }
        previous = id;
      }
      if (previous == 0 && run <= kCharsetObject) {
        faults.push_back(fmt::format("there is no {}", TypeName(run)));
      }
    }
  } catch (const BadObject& error) {
    faults.push_back(error.what());
  }
  return faults;
}

namespace {

// The ids that one object says of others.
void CheckReferences(const ObjectReader& object, const std::string& file,
                     const std::map<std::uint32_t, std::set<std::uint32_t>>& ids, Faults& faults) {
  const auto refer = [&](std::uint32_t type, std::uint32_t id) {
    const auto run = ids.find(type);
    if (run == ids.end() || !run->second.contains(id)) {
      faults.push_back(fmt::format("{}: there is no {} {}", file, TypeName(type), id));
    }
  };
  if (object.type() == kLanguageObject) {
    refer(kCharsetObject, object.U16(nlb::language::kDefaultCharsetAt));
    refer(kTerritoryObject, object.U16(nlb::language::kDefaultTerritoryAt));
    const std::uint32_t sort = object.U16(nlb::language::kDefaultSortAt);
    if (sort != 0) refer(kSortObject, sort);
  } else if (object.type() == kCalendarObject) {
    const BytesReader languages = object.Table(nlb::calendar::kLanguageTable);
    for (std::size_t i = 0; i < object.U16(nlb::calendar::kLanguagesAt); ++i) {
      refer(kLanguageObject, languages.U16(2 * i));
    }
  }
}

void CheckEntry(const fs::path& directory, const BootEntry& entry, bool big_endian,
                const std::map<std::uint32_t, std::set<std::uint32_t>>& ids, Faults& faults) {
  const std::uint32_t id = entry.id & nlb::kIdMask;
  const std::string file = ObjectFileName(entry.type, id);
  if (!fs::exists(directory / file)) {
    faults.push_back(file + ": is missing");
    return;
  }
  const std::vector<std::uint8_t> bytes = ReadObjectFile(directory / file);
  const Faults own = CheckObject(bytes);
  for (const std::string& fault : own) faults.push_back(fmt::format("{}: {}", file, fault));
  if (bytes.size() != entry.size) {
    faults.push_back(
        fmt::format("{}: {} bytes, the directory says {}", file, bytes.size(), entry.size));
  }
  if (!own.empty()) return;
  const ObjectReader object(bytes);
  if (object.type() != entry.type || object.id() != id || object.name() != entry.name) {
    faults.push_back(fmt::format("{}: holds {} {} {}, the directory says {} {} {}", file,
                                 TypeName(object.type()), object.id(), object.name(),
                                 TypeName(entry.type), id, entry.name));
  }
  if (object.big_endian() != big_endian) {
    faults.push_back(file + ": is of the other byte order than the boot file");
  }
  CheckReferences(object, file, ids, faults);
}

}  // namespace

Faults CheckDirectory(const fs::path& directory) {
  const std::vector<std::uint8_t> boot_bytes = ReadObjectFile(directory / kBootFileName);
  Faults faults;
  for (const std::string& fault : CheckBoot(boot_bytes)) {
    faults.push_back(fmt::format("{}: {}", kBootFileName, fault));
  }
  if (!faults.empty()) return faults;
  const BootReader boot(boot_bytes);
  std::map<std::uint32_t, std::set<std::uint32_t>> ids;
  std::set<std::string> expected{kBootFileName};
  for (std::uint32_t i = 1; i < boot.count(); ++i) {
    const BootEntry entry = boot.Entry(i);
    ids[entry.type].insert(entry.id & nlb::kIdMask);
    expected.insert(ObjectFileName(entry.type, entry.id & nlb::kIdMask));
  }
  for (std::uint32_t i = 1; i < boot.count(); ++i) {
    CheckEntry(directory, boot.Entry(i), boot.big_endian(), ids, faults);
  }
  for (const fs::directory_entry& file : fs::directory_iterator(directory)) {
    const std::string name = file.path().filename().string();
    if (name.ends_with(".nlb") && !expected.contains(name)) {
      faults.push_back(name + ": is not in the directory");
    }
  }
  return faults;
}

}  // namespace kestra::nlsc
