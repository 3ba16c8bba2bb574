// A whole file through a TextStream: the byte-order mark, the blocks, the progress bar.
#pragma once

#include "session.h"
#include "support/files.h"
#include "text_stream.h"

namespace kestra::tools {

enum class Mark { kKeep, kStrip, kAdd };

// A byte-order mark at the start of a text of a declared set.
struct MarkFound {
  std::size_t length = 0;
  std::uint32_t charset_id = 0;  // the declared set, or the one that the mark tells
  bool contradicts = false;      // the mark tells the other byte order
};
MarkFound FindMark(std::span<const std::uint8_t> start, std::uint32_t declared);

// True for the sets that hold all of Unicode and may begin with a mark.
bool IsUnicodeForm(std::uint32_t id);

// The file read block by block, the first one before anything is known about it.
class TextFile {
 public:
  explicit TextFile(const std::string& path, std::size_t block = kBlock);

  const std::string& name() const { return input_.name(); }
  std::uint64_t size() const { return input_.size(); }
  // The first bytes of the file; at least minimum (at most the block) when it has that many.
  std::span<const std::uint8_t> Start(std::size_t minimum = kLongestMark);
  // Nothing follows what Start gave.
  bool at_end() const { return at_end_; }
  // Drops bytes from the front of what Start gave.
  void Drop(std::size_t bytes) { begin_ += bytes; }
  // Everything from here on through the stream; what goes into the progress bar.
  void Run(TextStream& stream, ByteSink& sink, std::string_view what);

  static constexpr std::size_t kLongestMark = 4;
  static constexpr std::size_t kBlock = std::size_t{64} << 10;

 private:
  bool Fill();

  InputFile input_;
  std::vector<std::uint8_t> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool at_end_ = false;
};

}  // namespace kestra::tools
