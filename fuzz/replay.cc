// Runs a fuzz target with any compiler: over the files of a corpus folder, which is what the fuzzer
// found, and over mutants of them, so that the laws of the target meet new input in every run of the
// tests. The mutants are the same in every run. KESTRA_FUZZ_MUTANTS sets how many (default 5000).
// Prints the number of inputs; an empty folder is an error. Usage: REPLAY FOLDER...
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

// In an allocation of exactly its size.
void Run(const Bytes& input) {
  const Bytes exact(input);
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

// One to four changes: a byte, a bit, a run left out or written twice, the end of another file.
Bytes Mutant(const std::vector<Bytes>& inputs, std::mt19937& random) {
  const auto below = [&random](std::size_t n) { return random() % n; };
  const auto place = [](Bytes& bytes, std::size_t at) {
    return bytes.begin() + static_cast<std::ptrdiff_t>(at);
  };
  Bytes bytes = inputs[below(inputs.size())];
  for (std::size_t change = 1 + below(4); change > 0; --change) {
    const std::size_t at = below(bytes.size() + 1);
    const std::size_t run = at + below(std::min<std::size_t>(bytes.size() - at, 16) + 1);
    switch (below(5)) {
      case 0:
        if (at < bytes.size()) bytes[at] = static_cast<std::uint8_t>(random());
        break;
      case 1:
        if (at < bytes.size()) bytes[at] ^= static_cast<std::uint8_t>(1u << below(8));
        break;
      case 2:
        bytes.erase(place(bytes, at), place(bytes, run));
        break;
      case 3: {
        const Bytes twice(place(bytes, at), place(bytes, run));
        bytes.insert(place(bytes, at), twice.begin(), twice.end());
        break;
      }
      default: {
        Bytes other = inputs[below(inputs.size())];
        bytes.resize(at);
        bytes.insert(bytes.end(), place(other, std::min(at, other.size())), other.end());
      }
    }
  }
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  std::map<std::filesystem::path, Bytes> files;  // in the order of their names
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      files[entry.path()] = Bytes(std::istreambuf_iterator<char>(file), {});
    }
  }
  std::vector<Bytes> inputs;
  for (const auto& [path, bytes] : files) {
    Run(bytes);
    inputs.push_back(bytes);
  }
  const char* text = std::getenv("KESTRA_FUZZ_MUTANTS");
  const long mutants = text == nullptr ? 5000 : std::atol(text);
  std::mt19937 random(1);
  for (long i = 0; i < mutants && !inputs.empty(); ++i) Run(Mutant(inputs, random));
  std::printf("%zu inputs and %ld mutants replayed\n", inputs.size(), mutants);
  return inputs.empty() ? 1 : 0;
}
