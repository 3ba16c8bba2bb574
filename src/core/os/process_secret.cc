#include "core/os/process_secret.h"

#include <string.h>
#include <sys/auxv.h>
#include <sys/random.h>
#include <time.h>

namespace kestra::os {

constinit std::atomic<std::uint64_t> process_secret{0};

namespace {

// Where the system has no random numbers to give yet: what it gave this program at its start, mixed
// with the clock (the multipliers are those of splitmix64).
std::uint64_t SecondBest() noexcept {
  std::uint64_t word = 0;
  const auto* start = reinterpret_cast<const unsigned char*>(getauxval(AT_RANDOM));
  if (start != nullptr) memcpy(&word, start + 8, sizeof word);
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  word += static_cast<std::uint64_t>(now.tv_sec) * 1000000000u +
          static_cast<std::uint64_t>(now.tv_nsec);
  word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9u;
  word = (word ^ word >> 27) * 0x94D049BB133111EBu;
  return word ^ word >> 31;
}

}  // namespace

std::uint64_t MakeProcessSecret() noexcept {
  const std::uint64_t known = process_secret.load(std::memory_order_relaxed);
  if (known != 0) return known;
  std::uint64_t fresh = 0;
  if (getrandom(&fresh, sizeof fresh, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof fresh)) {
    fresh = SecondBest();
  }
  fresh |= 1;
  std::uint64_t expected = 0;
  if (process_secret.compare_exchange_strong(expected, fresh, std::memory_order_relaxed)) {
    return fresh;
  }
  return expected;  // another thread was first
}

}  // namespace kestra::os
