#include "text_file.h"

#include <algorithm>
#include <cstring>

#include "kestra/charset.h"
#include "support/progress.h"

namespace kestra::tools {

MarkFound FindMark(std::span<const std::uint8_t> start, std::uint32_t declared) {
  MarkFound mark;
  mark.charset_id = declared;
  std::uint32_t status = 0;
  mark.length = lxBomDetect(start.data(), start.size(), &mark.charset_id, &status);
  mark.contradicts = status != 0;
  return mark;
}

bool IsUnicodeForm(std::uint32_t id) {
  return id == 871 || id == 872 || id == kAl32Utf8 || id == kUtf16 || id == kAl16Utf16 ||
         id == kAl16Utf16Le;
}

TextFile::TextFile(const std::string& path, std::size_t block) : input_(path), buffer_(block) {}

// Reads once behind what is there. False at the end of the file.
bool TextFile::Fill() {
  if (at_end_) return false;
  if (begin_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  const std::size_t count = input_.Read(std::span(buffer_).subspan(end_));
  at_end_ = count == 0;
  end_ += count;
  return !at_end_;
}

std::span<const std::uint8_t> TextFile::Start(std::size_t minimum) {
  while (end_ - begin_ < minimum && Fill()) {
  }
  return std::span(buffer_).subspan(begin_, end_ - begin_);
}

void TextFile::Run(TextStream& stream, ByteSink& sink, std::string_view what) {
  Progress progress(what, static_cast<std::size_t>(input_.size()), true, Progress::Unit::kBytes);
  const auto rest = [this] {
    return std::span<const std::uint8_t>(buffer_).subspan(begin_, end_ - begin_);
  };
  bool more = true;
  do {
    more = !at_end_;
    const std::size_t used = stream.Convert(rest(), more, sink);
    begin_ += used;
    progress.Step(used);
  } while (!stream.stopped() && Fill());
  // The end showed only now: what is left is a character cut off by it.
  if (!stream.stopped() && more) stream.Convert(rest(), false, sink);
}

}  // namespace kestra::tools
