// A progress bar on standard error for work that takes longer than a second: steps done, or bytes
// with their rate. Silent when standard error is no terminal.
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace kestra::tools {

class Progress {
 public:
  enum class Unit { kSteps, kBytes };

  // total: number of steps or bytes, 0 unknown (then the count alone is shown).
  Progress(std::string_view what, std::size_t total, bool enabled = true, Unit unit = Unit::kSteps)
      : what_(what), total_(total), unit_(unit), shown_(enabled && isatty(STDERR_FILENO) == 1) {}
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Step(std::size_t count = 1) {
    done_ += count;
    if (!shown_) return;
    const Clock::time_point now = Clock::now();
    if (now - start_ < std::chrono::seconds(1) || now - drawn_ < kInterval) return;
    drawn_ = now;
    Draw();
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kInterval{100};
  static constexpr std::size_t kWidth = 30;

  void Draw() {
    std::string line = "\r";
    line.append(what_).append(" ");
    if (total_ != 0) {
      const std::size_t done = done_ < total_ ? done_ : total_;
      const std::size_t filled = static_cast<std::size_t>(
          static_cast<double>(kWidth) * static_cast<double>(done) / static_cast<double>(total_));
      line.append("[").append(filled, '#').append(kWidth - filled, '.').append("] ");
    }
    if (unit_ == Unit::kBytes) {
      const std::chrono::duration<double> elapsed = Clock::now() - start_;
      const auto rate = static_cast<std::size_t>(static_cast<double>(done_) / elapsed.count());
      line.append(Megabytes(done_));
      if (total_ != 0) line.append(" of ").append(Megabytes(total_));
      line.append(", ").append(Megabytes(rate)).append("/s");
    } else {
      line.append(std::to_string(done_));
      if (total_ != 0) line.append("/").append(std::to_string(total_));
    }
    line += "\x1B[K";  // erase to the end of the line
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
    drawn_any_ = true;
  }
  static std::string Megabytes(std::size_t bytes) {
    return std::to_string(bytes / 1000000) + " MB";
  }
  void Clear() {
    if (drawn_any_) std::fputs("\r\x1B[K", stderr);
  }

  std::string what_;
  std::size_t total_;
  Unit unit_;
  std::size_t done_ = 0;
  bool shown_;
  bool drawn_any_ = false;
  Clock::time_point start_ = Clock::now(), drawn_{};
};

}  // namespace kestra::tools
