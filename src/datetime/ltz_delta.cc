// What changed between two files: a delta is computed in two passes over both, one that counts and
// one that writes. Zones with the histories of another one are not compared again.
#include <string.h>

#include "datetime/zone_scratch.h"
#include "datetime/zone_search.h"
#include "datetime/zone_work.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

static_assert(sizeof(ltzdelta) == 40 && sizeof(ltzzonedelta) == 32 && sizeof(ltzspan) == 56);

constexpr std::uint32_t kMaxSpans = 1u << 20;  // of a delta: 56 MB

bool IsEarlier(const LdiDate& a, const LdiDate& b) noexcept { return KeyOf(a) < KeyOf(b); }

std::uint8_t Differences(const ZoneAnswer& a, const ZoneAnswer& b, WorkLimit& limit) noexcept {
  unsigned what = 0;
  if (a.offset != b.offset) what |= KES_ZONE_OFFSET_DIFFERS;
  if (a.daylight != b.daylight) what |= KES_ZONE_DAYLIGHT_DIFFERS;
  if (limit.Compare(a.abbreviation, b.abbreviation) != 0) what |= KES_ZONE_NAME_DIFFERS;
  return static_cast<std::uint8_t>(what);
}

// Visits the spans in which two histories differ, in ascending order: 0 or 2.
template <typename Visit>
int ForEachSpan(const ZoneView& from, const ZoneView& to, WorkLimit& limit,
                const Visit& visit) noexcept {
  std::uint32_t i = 0, j = 0;
  for (;;) {
    if (!limit.Take()) return KES_ZONE_DAMAGED;
    ZoneAnswer before, after;
    int status = ReadAnswer(from, i, before);
    if (status == KES_ZONE_OK) status = ReadAnswer(to, j, after);
    if (status != KES_ZONE_OK) return status;
    const LdiDate begin_i = from.file.Transition(from.run, i);
    const LdiDate begin_j = to.file.Transition(to.run, j);
    const bool more_i = i + 1 < from.run.count, more_j = j + 1 < to.run.count;
    LdiDate end{};
    bool step_i = more_i, step_j = more_j;
    if (more_i) end = from.file.Transition(from.run, i + 1);
    if (more_j) {
      const LdiDate end_j = to.file.Transition(to.run, j + 1);
      if (!more_i || IsEarlier(end_j, end)) {
        end = end_j;
        step_i = false;
      } else if (IsEarlier(end, end_j)) {
        step_j = false;
      }
    }
    const std::uint8_t what = Differences(before, after, limit);
    if (what != 0) {
      visit(ltzspan{IsEarlier(begin_i, begin_j) ? begin_j : begin_i,
                    end,
                    before.offset,
                    after.offset,
                    static_cast<std::uint8_t>(before.daylight),
                    static_cast<std::uint8_t>(after.daylight),
                    what,
                    {}});
    }
    if (!more_i && !more_j) return KES_ZONE_OK;
    i += step_i ? 1 : 0;
    j += step_j ? 1 : 0;
  }
}

// Pairs of histories that were compared, with their spans: links have those of their zone.
class ComparedPairs {
 public:
  struct Pair {
    std::uint32_t from_first, from_count, to_first, to_count;  // counts are 0 in a free place
    std::uint32_t first, count;                                // spans
  };
  static constexpr std::uint32_t kPlaces = 2 * (zone::kMaxId + 1);
  static constexpr std::size_t kBytes = kPlaces * sizeof(Pair);

  // memory: kBytes.
  explicit ComparedPairs(void* memory) noexcept : places_(static_cast<Pair*>(memory)) {
    memset(memory, 0, kBytes);
  }

  // The place of a pair; a free one holds its key alone, and is the first time it comes.
  Pair& Find(const ZoneRun& from, const ZoneRun& to, bool& known) noexcept {
    std::uint64_t hash = (std::uint64_t{from.first} << 32 | to.first) * 0x9E3779B97F4A7C15u;
    hash ^= (std::uint64_t{from.count} << 32 | to.count) * 0xC2B2AE3D27D4EB4Fu;
    // Ends: there are twice as many places as zones.
    for (std::uint64_t i = hash >> 40;; ++i) {
      Pair& pair = places_[i % kPlaces];
      known = pair.from_first == from.first && pair.from_count == from.count &&
              pair.to_first == to.first && pair.to_count == to.count;
      if (known) return pair;
      if (pair.from_count != 0) continue;
      pair = {from.first, from.count, to.first, to.count, 0, 0};
      return pair;
    }
  }

 private:
  Pair* places_;
};

class DeltaMaker {
 public:
  // Counts when block is null, otherwise fills it. memory: of ComparedPairs.
  DeltaMaker(const ltzfile* from, const ltzfile* to, void* memory, ltzdelta* block) noexcept
      : from_(from), to_(to), pairs_(memory), block_(block) {
    if (block == nullptr) return;
    zones_ = reinterpret_cast<ltzzonedelta*>(block + 1);
    spans_ = reinterpret_cast<ltzspan*>(zones_ + block->zone_count);
  }

  int Run() noexcept {
    for (std::uint32_t id = 1; id <= zone::kMaxId; ++id) {
      if (ZoneFile::Replaced(id) != id) continue;
      const int status = CompareZone(id);
      if (status != KES_ZONE_OK) return status;
    }
    return KES_ZONE_OK;
  }
  std::uint32_t zone_count() const noexcept { return zone_count_; }
  std::uint32_t span_count() const noexcept { return span_count_; }

 private:
  int CompareZone(std::uint32_t id) noexcept {
    ZoneView from, to;
    const int from_status = from.Find(from_, id), to_status = to.Find(to_, id);
    if (from_status != KES_ZONE_OK && from_status != KES_ZONE_NOT_FOUND) return from_status;
    if (to_status != KES_ZONE_OK && to_status != KES_ZONE_NOT_FOUND) return to_status;
    if (from_status == KES_ZONE_NOT_FOUND && to_status == KES_ZONE_NOT_FOUND) return KES_ZONE_OK;
    ltzzonedelta entry{};
    entry.id = static_cast<std::uint16_t>(id);
    entry.kind = KES_ZONE_CHANGED;
    entry.first = span_count_;
    if (from_status != to_status) {
      entry.kind = from_status == KES_ZONE_OK ? KES_ZONE_REMOVED : KES_ZONE_ADDED;
    } else {
      const int status = AddSpans(from, to, entry);
      if (status != KES_ZONE_OK) return status;
      if (entry.count == 0) return KES_ZONE_OK;
    }
    if (block_ != nullptr) {
      zones_[zone_count_] = entry;
      const bool earlier = block_->from.year == 0 || IsEarlier(entry.from, block_->from);
      if (entry.count != 0 && earlier) block_->from = entry.from;
    }
    ++zone_count_;
    return KES_ZONE_OK;
  }

  // The spans of a pair: compared, or those of the zone that had it before.
  int AddSpans(const ZoneView& from, const ZoneView& to, ltzzonedelta& entry) noexcept {
    bool known = false;
    ComparedPairs::Pair& pair = pairs_.Find(from.run, to.run, known);
    if (!known) {
      pair.first = span_count_;
      const int status = ForEachSpan(from, to, limit_, [&](const ltzspan& span) {
        if (block_ != nullptr) spans_[pair.first + pair.count] = span;
        ++pair.count;
      });
      if (status != KES_ZONE_OK) return status;
      if (limit_.exhausted()) return KES_ZONE_DAMAGED;
    } else if (block_ != nullptr && pair.count != 0) {
      memcpy(spans_ + span_count_, spans_ + pair.first, pair.count * sizeof(ltzspan));
    }
    entry.count = pair.count;
    if (block_ != nullptr && pair.count != 0) entry.from = spans_[pair.first].from;
    if (pair.count > kMaxSpans - span_count_) return KES_ZONE_NO_MEMORY;
    span_count_ += pair.count;
    return KES_ZONE_OK;
  }

  const ltzfile* from_;
  const ltzfile* to_;
  ComparedPairs pairs_;
  WorkLimit limit_;
  ltzdelta* block_;
  ltzzonedelta* zones_ = nullptr;
  ltzspan* spans_ = nullptr;
  std::uint32_t zone_count_ = 0;
  std::uint32_t span_count_ = 0;
};

// The entry of a zone in a delta that is not trusted: 0, 1, 2, 4 or 5.
int FindZone(const ltzdelta* delta, std::uint32_t id, ltzzonedelta& entry,
             const std::uint8_t*& spans) noexcept {
  if (delta == nullptr) return KES_ZONE_MISSING;
  if (id == 0 || id > zone::kMaxId) return KES_ZONE_BAD_ID;
  id = ZoneFile::Replaced(id);
  const std::uint64_t zones_end =
      sizeof(ltzdelta) + std::uint64_t{delta->zone_count} * sizeof(ltzzonedelta);
  const std::uint64_t end = zones_end + std::uint64_t{delta->span_count} * sizeof(ltzspan);
  if (delta->magic != KES_ZONE_DELTA_MAGIC || end != delta->size) return KES_ZONE_DAMAGED;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(delta);
  std::uint32_t low = 0, high = delta->zone_count;
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    memcpy(&entry, bytes + sizeof(ltzdelta) + middle * sizeof entry, sizeof entry);
    if (entry.id == id) {
      const bool inside =
          entry.first <= delta->span_count && entry.count <= delta->span_count - entry.first;
      if (!inside) return KES_ZONE_DAMAGED;
      spans = bytes + zones_end + std::size_t{entry.first} * sizeof(ltzspan);
      return KES_ZONE_OK;
    }
    if (entry.id < id) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return KES_ZONE_NOT_FOUND;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

int ltzGetDelta(lxcontext* work, const ltzfile* from, const ltzfile* to,
                ltzdelta** delta) noexcept {
  if (delta == nullptr) return KES_ZONE_MISSING;
  lxcallbacks& block = BlockOf(work);
  const Scratch pairs(block, ComparedPairs::kBytes);
  if (pairs.memory() == nullptr) return KES_ZONE_NO_MEMORY;
  DeltaMaker counter(from, to, pairs.memory(), nullptr);
  int status = counter.Run();
  if (status != KES_ZONE_OK) return status;
  const std::size_t size = sizeof(ltzdelta) + counter.zone_count() * sizeof(ltzzonedelta) +
                           counter.span_count() * sizeof(ltzspan);
  auto* result = static_cast<ltzdelta*>(block.allocate(block.allocate_ctx, size));
  if (result == nullptr) return KES_ZONE_NO_MEMORY;
  *result = {};
  result->magic = KES_ZONE_DELTA_MAGIC;
  result->size = static_cast<std::uint32_t>(size);
  result->old_content = static_cast<std::uint16_t>(ltzGetFileContentVer(from));
  result->new_content = static_cast<std::uint16_t>(ltzGetFileContentVer(to));
  result->zone_count = counter.zone_count();
  result->span_count = counter.span_count();
  status = DeltaMaker(from, to, pairs.memory(), result).Run();
  if (status != KES_ZONE_OK) {
    block.release(block.release_ctx, result);
    return status;
  }
  *delta = result;
  return KES_ZONE_OK;
}

int ltzTZGetDeltaFromDisk(lxcontext* work, const char* from, const char* to,
                          ltzdelta** delta) noexcept {
  if (from == nullptr || to == nullptr) return KES_ZONE_MISSING;
  lxcallbacks& block = BlockOf(work);
  std::uint32_t status = KES_ZONE_OK;
  const ltzfile* old_file = ltzRead(from, KES_ZONE_ANY_ORDER, &block, &status);
  const ltzfile* new_file = nullptr;
  if (old_file != nullptr) new_file = ltzRead(to, KES_ZONE_ANY_ORDER, &block, &status);
  int result = static_cast<int>(status);
  if (new_file != nullptr) result = ltzGetDelta(work, old_file, new_file, delta);
  ltzFree(new_file);
  ltzFree(old_file);
  return result;
}

void ltzFreeDelta(lxcontext* work, ltzdelta* delta) noexcept {
  if (delta == nullptr) return;
  lxcallbacks& block = BlockOf(work);
  block.release(block.release_ctx, delta);
}

int ltzGetZoneDelta(const ltzdelta* delta, std::uint32_t id, ltzzonedelta* zone) noexcept {
  if (zone == nullptr) return KES_ZONE_MISSING;
  ltzzonedelta entry{};
  const std::uint8_t* spans = nullptr;
  const int status = FindZone(delta, id, entry, spans);
  if (status == KES_ZONE_OK) *zone = entry;
  return status;
}

int ltzGetZoneDeltaSize(const ltzdelta* delta, std::uint32_t id, std::size_t* size) noexcept {
  if (size == nullptr) return KES_ZONE_MISSING;
  ltzzonedelta entry{};
  const std::uint8_t* spans = nullptr;
  const int status = FindZone(delta, id, entry, spans);
  if (status == KES_ZONE_OK) *size = std::size_t{entry.count} * sizeof(ltzspan);
  return status;
}

int ltzGetZoneDeltaTransNum(const ltzdelta* delta, std::uint32_t id,
                            std::uint32_t* count) noexcept {
  if (count == nullptr) return KES_ZONE_MISSING;
  ltzzonedelta entry{};
  const std::uint8_t* spans = nullptr;
  const int status = FindZone(delta, id, entry, spans);
  if (status == KES_ZONE_OK) *count = entry.count;
  return status;
}

int ltzGetZoneDeltaTrans(const ltzdelta* delta, std::uint32_t id, std::uint32_t index,
                         ltzspan* span) noexcept {
  if (span == nullptr) return KES_ZONE_MISSING;
  ltzzonedelta entry{};
  const std::uint8_t* spans = nullptr;
  const int status = FindZone(delta, id, entry, spans);
  if (status != KES_ZONE_OK) return status;
  if (index >= entry.count) return KES_ZONE_NOT_FOUND;
  memcpy(span, spans + std::size_t{index} * sizeof(ltzspan), sizeof *span);
  return KES_ZONE_OK;
}

}  // extern "C"
