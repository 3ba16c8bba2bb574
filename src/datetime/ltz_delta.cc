// What changed between two files: a delta is computed in two passes over both, one that counts and
// one that writes.
#include <string.h>

#include "datetime/zone_search.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

static_assert(sizeof(ltzdelta) == 40 && sizeof(ltzzonedelta) == 32 && sizeof(ltzspan) == 56);

bool IsEarlier(const LdiDate& a, const LdiDate& b) noexcept { return KeyOf(a) < KeyOf(b); }

std::uint8_t Differences(const ZoneAnswer& a, const ZoneAnswer& b) noexcept {
  unsigned what = 0;
  if (a.offset != b.offset) what |= KES_ZONE_OFFSET_DIFFERS;
  if (a.daylight != b.daylight) what |= KES_ZONE_DAYLIGHT_DIFFERS;
  if (strcmp(a.abbreviation, b.abbreviation) != 0) what |= KES_ZONE_NAME_DIFFERS;
  return static_cast<std::uint8_t>(what);
}

// Visits the spans in which two histories differ, in ascending order: 0 or 2.
template <typename Visit>
int ForEachSpan(const ZoneView& from, const ZoneView& to, const Visit& visit) noexcept {
  std::uint32_t i = 0, j = 0;
  for (;;) {
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
    const std::uint8_t what = Differences(before, after);
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

class DeltaMaker {
 public:
  // Counts when block is null, otherwise fills it.
  DeltaMaker(const ltzfile* from, const ltzfile* to, ltzdelta* block) noexcept
      : from_(from), to_(to), block_(block) {
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
      const int status = ForEachSpan(from, to, [&](const ltzspan& span) {
        if (entry.count++ == 0) entry.from = span.from;
        if (block_ != nullptr) spans_[span_count_] = span;
        ++span_count_;
      });
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

  const ltzfile* from_;
  const ltzfile* to_;
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
  DeltaMaker counter(from, to, nullptr);
  int status = counter.Run();
  if (status != KES_ZONE_OK) return status;
  const std::size_t size = sizeof(ltzdelta) + counter.zone_count() * sizeof(ltzzonedelta) +
                           counter.span_count() * sizeof(ltzspan);
  if (size > UINT32_MAX) return KES_ZONE_NO_MEMORY;
  lxcallbacks& block = BlockOf(work);
  auto* result = static_cast<ltzdelta*>(block.allocate(block.allocate_ctx, size));
  if (result == nullptr) return KES_ZONE_NO_MEMORY;
  *result = {};
  result->magic = KES_ZONE_DELTA_MAGIC;
  result->size = static_cast<std::uint32_t>(size);
  result->old_content = static_cast<std::uint16_t>(ltzGetFileContentVer(from));
  result->new_content = static_cast<std::uint16_t>(ltzGetFileContentVer(to));
  result->zone_count = counter.zone_count();
  result->span_count = counter.span_count();
  status = DeltaMaker(from, to, result).Run();
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
