// A random word that belongs to this process and never leaves it: with it, memory that the library
// made itself can be told from bytes that came from elsewhere.
#pragma once

#include <atomic>
#include <cstdint>

namespace kestra::os {

// 0 until MakeProcessSecret was called; the same ever after, in every thread.
extern std::atomic<std::uint64_t> process_secret;

// Draws the word unless there is one already, and returns it. Never 0.
std::uint64_t MakeProcessSecret() noexcept;

}  // namespace kestra::os
