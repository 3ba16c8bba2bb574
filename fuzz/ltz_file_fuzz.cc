// Time-zone files: whatever the bytes, every query is answered without a read outside the file, and a
// file that is accepted answers with its index exactly as it does without.
//
// The input is a file without its thousands of empty zone entries: the header, a number of entries
// (at most 16) of 18 bytes, the id first, and the tables behind the entries. The size field is set
// to the size of the whole.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "datetime/zone_format.h"
#include "kestra/timezone.h"

namespace {

namespace zone = kestra::datetime::zone;

constexpr std::size_t kMaxEntries = 16;
constexpr std::size_t kEntryBytes = 2 + zone::kEntrySize;
constexpr std::size_t kSmall = 65536;  // no smaller input can exceed the limits of a comparison

void Check(bool holds) {
  if (!holds) std::abort();
}

struct Input {
  std::vector<std::uint8_t> file;
  std::vector<std::uint32_t> ids;
};

bool Expand(const std::uint8_t* data, std::size_t size, Input& input) {
  if (size < zone::kHeaderSize + 1) return false;
  const std::size_t entries = data[zone::kHeaderSize] % (kMaxEntries + 1);
  const std::size_t tables = zone::kHeaderSize + 1 + entries * kEntryBytes;
  if (size < tables) return false;
  input.file.assign(zone::kTablesAt, 0);
  std::memcpy(input.file.data(), data, zone::kHeaderSize);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::uint8_t* entry = data + zone::kHeaderSize + 1 + i * kEntryBytes;
    const std::uint32_t id = (entry[0] | std::uint32_t{entry[1]} << 8) & zone::kMaxId;
    std::memcpy(input.file.data() + zone::kHeaderSize + zone::kEntrySize * id, entry + 2,
                zone::kEntrySize);
    input.ids.push_back(id);
  }
  input.file.insert(input.file.end(), data + tables, data + size);
  const bool big = data[0] == 'K';
  for (std::size_t i = 0; i < 4; ++i) {
    input.file[zone::kSizeAt + (big ? 3 - i : i)] =
        static_cast<std::uint8_t>(input.file.size() >> 8 * i);
  }
  return true;
}

struct Reading {
  int status = 0;
  std::int32_t offset = 0;
  std::uint32_t dst = 0;
  bool operator==(const Reading&) const = default;
};

Reading Ask(bool local, const ltzfile* file, std::uint32_t id, const LdiDate& date) {
  static const auto text = std::make_unique<char[]>(KES_ZONE_ABBREVIATION_ROOM);
  Reading reading;
  reading.status = (local ? ltzGetLocal : ltzGet)(nullptr, nullptr, file, id, &date,
                                                  &reading.offset, text.get(), &reading.dst);
  return reading;
}

// Whether local times can be told apart by their fields: those of no calendar get some answer.
bool IsValid(const LdiDate& date) {
  return date.year >= -4712 && date.year <= 9999 && date.year != 0 && date.month >= 1 &&
         date.month <= 12 && date.day >= 1 && date.day <= 28 && date.hour < 24 &&
         date.minute < 60 && date.second < 60 &&
         !(date.year == 1582 && date.month == 10 && date.day >= 5 && date.day <= 14);
}

// Some instants, among them the transitions of the zone and their neighbours.
std::vector<LdiDate> Instants(const ltzfile* file, std::uint32_t id) {
  std::vector<LdiDate> dates;
  LdiDate date{};
  date.type = KES_DATETIME_TIMESTAMP;
  for (const int year : {-32768, -1, 1, 1582, 2000, 2026, 32767}) {
    date.year = static_cast<std::int16_t>(year);
    date.month = year == 32767 ? 255 : 3;
    date.day = year == 32767 ? 255 : 8;
    dates.push_back(date);
  }
  ltztransition* array = nullptr;
  std::size_t count = 0;
  if (ltzGetTransArray(nullptr, file, id, &array, &count) != 0) return dates;
  for (std::size_t i = 0; i < count && i < 64; ++i) {
    date = array[i].at;
    date.type = KES_DATETIME_TIMESTAMP;
    for (int hour = -1; hour <= 1; ++hour) {
      LdiDate near = date;
      near.hour = static_cast<std::uint8_t>(near.hour + hour);
      dates.push_back(near);
    }
  }
  ltzFreeTransArray(nullptr, array);
  return dates;
}

void AskAll(const ltzfile* file, std::uint32_t id) {
  const std::vector<LdiDate> dates = Instants(file, id);
  std::vector<std::int32_t> offset(dates.size()), local(dates.size());
  std::size_t done = 0, local_done = 0;
  const int status = ltzGetarr(file, id, dates.data(), dates.size(), offset.data(), nullptr, &done);
  const int local_status =
      ltzGetLocalarr(file, id, dates.data(), dates.size(), local.data(), nullptr, &local_done);
  for (std::size_t i = 0; i < dates.size(); ++i) {
    const Reading one = Ask(false, file, id, dates[i]);
    const Reading one_local = Ask(true, file, id, dates[i]);
    ltzperiod period{};
    if (ltzLookup(file, id, &dates[i], &period) == 0) {
      Check(one.status == 8 || (one.offset == period.offset && one.dst == period.daylight));
      Check(period.index < period.count);
    }
    if (i < done && one.status == 0) Check(offset[i] == one.offset);
    if (i < local_done && one_local.status == 0) Check(local[i] == one_local.offset);
    if (status == 0 && local_status == 0) Check(done == dates.size() && local_done == done);
    ltzlocal both{};
    if (ltzGetLocalA(file, id, &dates[i], &both) == 0 && one_local.status == 0) {
      Check(both.kind <= 2 && both.chosen <= 1);
      if (IsValid(dates[i])) Check(both.reading[both.chosen].offset == one_local.offset);
    }
  }
}

// Comparing is the same both ways, and a zone has each abbreviation once.
void Compare(const ltzfile* file, std::uint32_t a, std::uint32_t b) {
  int order = 0, reverse = 0;
  const int status = ltzCmp(file, a, b, &order);
  const int reverse_status = ltzCmp(file, b, a, &reverse);
  if (status == 0 && reverse_status == 0) Check(order == -reverse && (a != b || order == 0));
  ltzstep step{};
  std::vector<std::string> seen;
  char text[64];
  while (seen.size() < 100 && ltzStepB(nullptr, nullptr, file, &step, a, text, sizeof text) == 0) {
    for (const std::string& other : seen) Check(other != text);
    seen.emplace_back(text);
  }
  ltzStepEnd(&step);
}

void AskNames(const ltzfile* file) {
  ltzstep step{};
  std::uint32_t id = 0;
  char text[64];
  for (int i = 0; i < 100 && ltzStep(nullptr, nullptr, file, &step, &id, text, sizeof text) == 0;
       ++i) {
    std::uint32_t again = 0;
    ltzID(nullptr, nullptr, file, text, &again);
  }
  step = {};
  for (int i = 0; i < 1000 && ltzStepA(nullptr, nullptr, file, &step, &id, text, sizeof text) == 0;
       ++i) {
  }
  ltzStepEnd(&step);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input;
  if (!Expand(data, size, input)) return 0;
  const auto* raw = reinterpret_cast<const ltzfile*>(input.file.data());
  std::uint32_t status = 0;
  const ltzfile* indexed = ltzReadMemory(input.file.data(), input.file.size(), nullptr, &status);
  Check((indexed == nullptr) == (status != 0));
  AskNames(raw);
  for (const std::uint32_t id : input.ids) {
    AskAll(raw, id);
    Compare(raw, id, input.ids[0]);
  }
  if (indexed != nullptr) {
    AskNames(indexed);
    for (const std::uint32_t id : input.ids) {
      AskAll(indexed, id);
      for (const LdiDate& date : Instants(raw, id)) {
        Check(Ask(false, raw, id, date) == Ask(false, indexed, id, date));
        if (IsValid(date)) Check(Ask(true, raw, id, date) == Ask(true, indexed, id, date));
      }
    }
    ltzdelta* delta = nullptr;
    const int compared = ltzGetDelta(nullptr, raw, indexed, &delta);
    Check(compared == 0 || (compared == 2 && size > kSmall));
    if (compared == 0) Check(delta->zone_count == 0);
    ltzFreeDelta(nullptr, delta);
  }
  ltzFree(indexed);
  return 0;
}
