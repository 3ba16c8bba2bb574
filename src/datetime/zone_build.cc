#include "datetime/zone_build.h"

#include <string.h>

#include <algorithm>

#include "core/os/check.h"

namespace kestra::datetime {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::uint64_t kNever = UINT64_MAX;  // later than any key

std::size_t RoundUp(std::size_t size) noexcept {
  return (size + kAlignment - 1) / kAlignment * kAlignment;
}

// The datetime of a key, a valid one of year 1 or later, moved by some seconds: a few days at most. It
// may come to the year 0, which lies between the last day of -1 and the first of 1.
std::uint64_t MoveKey(std::uint64_t key, std::int32_t seconds) noexcept {
  const auto field = [&](int shift) { return static_cast<std::uint32_t>(key >> shift & 0xFF); };
  const auto at = [](std::uint32_t value, int shift) { return std::uint64_t{value} << shift; };
  auto time = static_cast<std::int32_t>(field(24) * 3600 + field(16) * 60 + field(8)) + seconds;
  std::uint64_t date = key & ~std::uint64_t{0xFFFFFFFF};
  if (time < 0 || time >= kDaySeconds) {
    std::int32_t day = DayNumber(YearOf(key), field(40), field(32));
    for (; time < 0; time += kDaySeconds) --day;
    for (; time >= kDaySeconds; time -= kDaySeconds) ++day;
    const CivilDate moved = SplitDay(day);
    date = at(static_cast<std::uint32_t>(moved.year + kYearBias), 48) |
           at(static_cast<std::uint32_t>(moved.month), 40) |
           at(static_cast<std::uint32_t>(moved.day), 32);
  }
  const auto rest = static_cast<std::uint32_t>(time);
  return date | at(rest / 3600, 24) | at(rest / 60 % 60, 16) | at(rest % 60, 8);
}

// Sizes of the tables, in one block: tables by zone, records of instants and of local times, starts,
// the index and the file itself.
struct Layout {
  std::size_t zones_at, utc_at, local_at, starts_at, index_at, size;
};

// The years that the tables of a run span; 0 years for a run that is not indexed.
struct YearSpan {
  int base = 0;
  int years = 0;
  bool indexed = true;
};

YearSpan SpanOf(const ZoneFile& file, const ZoneRun& run) noexcept {
  if (run.count == 1) return {};
  YearSpan span;
  span.base = YearOf(file.Key(run, 1)) - 1;  // local times can lie in the year before
  span.years = YearOf(file.Key(run, run.count - 1)) + 2 - span.base;
  span.indexed = span.years <= kMaxIndexedYears;
  if (!span.indexed) span.years = 0;
  return span;
}
// Both tables of a run: an entry for each year, for the years behind, and one that repeats it.
std::size_t StartsOf(const YearSpan& span) noexcept {
  return 2 * (static_cast<std::size_t>(span.years) + 2);
}

class Builder {
 public:
  Builder(const ZoneFile& file, std::span<const RunSummary> zones,
          const ZoneSummary& summary) noexcept
      : file_(file), zones_(zones.first(summary.zones)), summary_(summary) {}

  Layout Plan() const noexcept {
    std::size_t records = 0, starts = 0;
    ForEachRun([&](const ZoneRun& run) {
      records += run.count + kSentinels;
      starts += StartsOf(SpanOf(file_, run));
    });
    Layout layout{};
    layout.utc_at = RoundUp(summary_.runs * sizeof(ZoneTable));
    layout.local_at = layout.utc_at + RoundUp(records * sizeof(UtcRecord));
    layout.starts_at = layout.local_at + RoundUp(records * sizeof(LocalRecord));
    layout.index_at = layout.starts_at + RoundUp(starts * sizeof(std::uint16_t));
    layout.size = layout.index_at + sizeof(ZoneIndex) + file_.size();
    return layout;
  }

  void Fill(std::uint8_t* memory, const Layout& layout, ZoneIndex& index) noexcept {
    tables_ = reinterpret_cast<ZoneTable*>(memory + layout.zones_at);
    utc_ = reinterpret_cast<UtcRecord*>(memory + layout.utc_at);
    local_ = reinterpret_cast<LocalRecord*>(memory + layout.local_at);
    starts_ = reinterpret_cast<std::uint16_t*>(memory + layout.starts_at);
    index.zones = tables_;
    index.utc = utc_;
    index.local = local_;
    index.starts = starts_;
    std::uint32_t number = 0, record = 0, start = 0;
    ForEachRun([&](const ZoneRun& run) {
      FillRun(run, number++, record, start);
      record += run.count + kSentinels;
      start += static_cast<std::uint32_t>(StartsOf(SpanOf(file_, run)));
    });
    memset(index.zone_of, 0, sizeof index.zone_of);
    number = 0;
    for (std::size_t i = 0; i < zones_.size(); ++i) {
      if (i == 0 || zones_[i].first != zones_[i - 1].first) ++number;
      index.zone_of[zones_[i].id] = static_cast<std::uint16_t>(number);
    }
    for (const std::uint16_t id : zone::kReplacedIds) {
      index.zone_of[id] = index.zone_of[id & zone::kCanonicalMask];
    }
  }

 private:
  template <typename Visit>
  void ForEachRun(const Visit& visit) const noexcept {
    for (std::size_t i = 0; i < zones_.size(); ++i) {
      if (i != 0 && zones_[i].first == zones_[i - 1].first) continue;
      ZoneRun run;
      if (file_.FindRun(zones_[i].id, run) == KES_ZONE_OK) visit(run);
    }
  }

  void FillRun(const ZoneRun& run, std::uint32_t number, std::uint32_t record,
               std::uint32_t start) noexcept {
    UtcRecord* utc = utc_ + record;
    LocalRecord* local = local_ + record;
    for (std::uint32_t i = 0; i < run.count; ++i) {
      std::size_t type = 0;
      const bool inside = file_.TypeAt(run, i, type);
      KES_DCHECK(inside);
      static_cast<void>(inside);
      const std::size_t types = file_.U32(zone::kTypesAt);
      utc[i] = {i == 0 ? 0 : file_.Key(run, i), file_.Offset(type),
                static_cast<std::uint16_t>((type - types) / zone::kTypeSize),
                static_cast<std::uint8_t>(file_.Daylight(run, i) ? 1 : 0), 0};
      local[i] = i == 0 ? LocalRecord{0, 0} : MakeLocal(utc[i - 1], utc[i]);
    }
    for (std::uint32_t i = run.count; i < run.count + kSentinels; ++i) {
      utc[i] = {kNever, 0, 0, 0, 0};
      local[i] = {kNever, kNever};
    }
    const YearSpan span = SpanOf(file_, run);
    tables_[number] = {
        record,
        start,
        static_cast<std::int16_t>(span.base),
        static_cast<std::uint16_t>(span.years),
        static_cast<std::uint16_t>(run.count),
        span.indexed ? std::uint8_t{1} : std::uint8_t{0},
        span.indexed && IsOrdered(local, run.count) ? std::uint8_t{1} : std::uint8_t{0}};
    FillStarts(utc, run.count, span, starts_ + start);
    FillStarts(local, run.count, span, starts_ + start + span.years + 2);
  }

  // In a gap the type before answers; of two readings the one in standard time, else the later.
  static LocalRecord MakeLocal(const UtcRecord& before, const UtcRecord& after) noexcept {
    const bool gap = after.offset > before.offset;
    const bool back = gap || (before.daylight == 0 && after.daylight != 0);
    return {MoveKey(after.key, std::min(before.offset, after.offset)) | (back ? 1u : 0u),
            MoveKey(after.key, std::max(before.offset, after.offset))};
  }

  // True when each record ends before the next begins, so that one of them answers a local time.
  static bool IsOrdered(const LocalRecord* local, std::uint32_t count) noexcept {
    for (std::uint32_t i = 1; i < count; ++i) {
      if (local[i - 1].end > (local[i].key & ~kZeroByte)) return false;
    }
    return true;
  }

  // Entry s: the last record before the year base + s.
  template <typename Record>
  static void FillStarts(const Record* records, std::uint32_t count, const YearSpan& span,
                         std::uint16_t* starts) noexcept {
    std::uint32_t at = 0;
    for (int s = 0; s <= span.years; ++s) {
      while (at + 1 < count && YearOf(records[at + 1].key) < span.base + s) ++at;
      starts[s] = static_cast<std::uint16_t>(at);
    }
    starts[span.years + 1] = starts[span.years];
  }

  const ZoneFile& file_;
  std::span<const RunSummary> zones_;
  const ZoneSummary& summary_;
  ZoneTable* tables_ = nullptr;
  UtcRecord* utc_ = nullptr;
  LocalRecord* local_ = nullptr;
  std::uint16_t* starts_ = nullptr;
};

}  // namespace

const ltzfile* BuildIndexedFile(std::span<const std::uint8_t> bytes,
                                std::span<const RunSummary> zones, const ZoneSummary& summary,
                                lxcallbacks& block) noexcept {
  ZoneFile file;
  if (file.Open(bytes.data()) != KES_ZONE_OK) return nullptr;
  Builder builder(file, zones, summary);
  const Layout layout = builder.Plan();
  // The allocator promises 8 bytes of alignment, records want cache lines.
  void* memory = block.allocate(block.allocate_ctx, layout.size + kAlignment);
  if (memory == nullptr) return nullptr;
  auto* begin = static_cast<std::uint8_t*>(memory);
  begin +=
      RoundUp(reinterpret_cast<std::uintptr_t>(begin)) - reinterpret_cast<std::uintptr_t>(begin);
  auto& index = *reinterpret_cast<ZoneIndex*>(begin + layout.index_at);
  builder.Fill(begin, layout, index);
  index.block = &block;
  index.memory = memory;
  std::uint8_t* copy = begin + layout.index_at + sizeof(ZoneIndex);
  memcpy(copy, bytes.data(), bytes.size());
  const std::uint64_t seal = os::MakeProcessSecret() ^ reinterpret_cast<std::uintptr_t>(copy);
  memcpy(copy + kSealAt, &seal, sizeof seal);
  return reinterpret_cast<const ltzfile*>(copy);
}

}  // namespace kestra::datetime
