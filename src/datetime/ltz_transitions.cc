// A zone's transitions as a whole: as an array, and compared with those of another zone.
#include "datetime/zone_search.h"
#include "datetime/zone_work.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

int Sign(std::int64_t value) noexcept { return value < 0 ? -1 : value > 0 ? 1 : 0; }

int CompareAnswers(const ZoneAnswer& a, const ZoneAnswer& b, WorkLimit& limit) noexcept {
  if (a.offset != b.offset) return a.offset < b.offset ? -1 : 1;
  if (a.daylight != b.daylight) return a.daylight < b.daylight ? -1 : 1;
  return Sign(limit.Compare(a.abbreviation, b.abbreviation));
}

// Transition by transition; a zone that has no more of them is the higher one.
int CompareRuns(const ZoneView& a, const ZoneView& b, int& order) noexcept {
  WorkLimit limit;
  for (std::uint32_t i = 0;; ++i) {
    const bool more_a = i < a.run.count, more_b = i < b.run.count;
    if (!more_a || !more_b) {
      order = more_a == more_b ? 0 : more_a ? -1 : 1;
      return KES_ZONE_OK;
    }
    const std::uint64_t key_a = i == 0 ? 0 : a.file.Key(a.run, i);
    const std::uint64_t key_b = i == 0 ? 0 : b.file.Key(b.run, i);
    if (key_a != key_b) {
      order = key_a < key_b ? -1 : 1;
      return KES_ZONE_OK;
    }
    ZoneAnswer answer_a, answer_b;
    int status = ReadAnswer(a, i, answer_a);
    if (status == KES_ZONE_OK) status = ReadAnswer(b, i, answer_b);
    if (status != KES_ZONE_OK) return status;
    const int difference = CompareAnswers(answer_a, answer_b, limit);
    if (limit.exhausted()) return KES_ZONE_DAMAGED;
    if (difference != 0) {
      order = difference;
      return KES_ZONE_OK;
    }
  }
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

int ltzGetTransArray(lxcontext* work, const ltzfile* file, std::uint32_t id, ltztransition** array,
                     std::size_t* count) noexcept {
  if (array == nullptr || count == nullptr) return KES_ZONE_MISSING;
  ZoneView zone;
  int status = zone.Find(file, id);
  if (status != KES_ZONE_OK) return status;
  lxcallbacks& block = BlockOf(work);
  auto* result = static_cast<ltztransition*>(
      block.allocate(block.allocate_ctx, zone.run.count * sizeof(ltztransition)));
  if (result == nullptr) return KES_ZONE_NO_MEMORY;
  for (std::uint32_t i = 0; i < zone.run.count; ++i) {
    ZoneAnswer answer;
    status = ReadAnswer(zone, i, answer);
    if (status != KES_ZONE_OK) {
      block.release(block.release_ctx, result);
      return status;
    }
    result[i] = {zone.file.Transition(zone.run, i), answer.offset, answer.daylight, 0,
                 answer.abbreviation};
  }
  *array = result;
  *count = zone.run.count;
  return KES_ZONE_OK;
}

void ltzFreeTransArray(lxcontext* work, ltztransition* array) noexcept {
  if (array == nullptr) return;
  lxcallbacks& block = BlockOf(work);
  block.release(block.release_ctx, array);
}

int ltzCmp(const ltzfile* file, std::uint32_t a, std::uint32_t b, int* order) noexcept {
  if (order == nullptr) return KES_ZONE_MISSING;
  ZoneView zone_a, zone_b;
  int status = zone_a.Find(file, a);
  if (status == KES_ZONE_OK) status = zone_b.Find(file, b);
  if (status != KES_ZONE_OK) return status;
  if (zone_a.run.first == zone_b.run.first && zone_a.run.count == zone_b.run.count) {
    *order = 0;  // a link
    return KES_ZONE_OK;
  }
  return CompareRuns(zone_a, zone_b, *order);
}

}  // extern "C"
