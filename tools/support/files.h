// Reading and writing files the careful way: every error has the file's name in it, output goes
// through one large buffer, and a named output file appears whole or not at all.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestra::tools {

// An input or output error, with a message for people.
class IoError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file opened for reading; "-" is standard input.
class InputFile {
 public:
  explicit InputFile(const std::string& path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // What to call it in messages.
  const std::string& name() const { return name_; }
  // Size of a regular file, 0 of anything else.
  std::uint64_t size() const { return size_; }
  bool regular() const { return regular_; }
  // One read: at most into.size() bytes, as many as there are now; 0 at the end of the file.
  std::size_t Read(std::span<std::uint8_t> into);

 private:
  std::string name_;
  int fd_ = -1;
  bool regular_ = false;
  std::uint64_t size_ = 0;
};

// Where converted bytes go: a writer asks for room, fills some of it and says how much.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  // Free room of at least minimum bytes (at most kBuffer). It stays valid until the next call.
  virtual std::span<std::uint8_t> Room(std::size_t minimum) = 0;
  virtual void Advance(std::size_t written) = 0;

  static constexpr std::size_t kBuffer = std::size_t{256} << 10;
};

// Takes everything and keeps nothing.
class NullSink : public ByteSink {
 public:
  std::span<std::uint8_t> Room(std::size_t) override { return buffer_; }
  void Advance(std::size_t) override {}

 private:
  std::vector<std::uint8_t> buffer_ = std::vector<std::uint8_t>(kBuffer);
};

// A destination: standard output, or a file that is replaced in one step by Commit. Until then the
// bytes are in a new file beside it, which is removed when the object dies uncommitted or the
// program is interrupted. Devices and pipes are written in place.
class OutputFile : public ByteSink {
 public:
  OutputFile();  // standard output
  explicit OutputFile(const std::string& path);
  ~OutputFile() override;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::span<std::uint8_t> Room(std::size_t minimum) override;
  void Advance(std::size_t written) override { used_ += written; }
  void Write(std::span<const std::uint8_t> bytes);
  void Flush();
  void Commit();
  std::uint64_t written() const { return flushed_ + used_; }

 private:
  std::string name_ = "standard output";
  std::string target_;     // empty: written in place
  std::string temporary_;  // beside the target, while there is one
  int fd_ = 1;
  std::vector<std::uint8_t> buffer_;
  std::size_t used_ = 0;
  std::uint64_t flushed_ = 0;
};

}  // namespace kestra::tools
