// The scanner of date format models: text in the set of a context to compiled items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/date_model.h"

namespace kestra::datetime {

enum class ModelUse : std::uint8_t {
  kBoth,   // elements come once, groups exclude each other
  kWrite,  // elements may come again
};

// Compiles a whole model. used is the length of the compiled format.
Fault CompileWorkText(const ldxctx& ctx, std::span<const std::uint8_t> text, ModelUse use,
                      std::span<std::uint8_t> out, std::size_t& used) noexcept;

// What one scan took and gave.
struct ScanStep {
  Fault fault;
  std::uint32_t code = 0;   // 0: the model has ended
  std::size_t taken = 0;    // bytes of the text
  std::size_t written = 0;  // bytes of the compiled format
};
ScanStep ScanItem(const ldxctx& ctx, std::span<const std::uint8_t> text,
                  std::span<std::uint8_t> out, ldxscan& state) noexcept;

// ldxmfn: the row with the longest name that begins text, among those of its initial letter; null
// when there is none.
const ElementRow* ldxmfn(std::span<const std::uint8_t> text, Basis basis) noexcept;

}  // namespace kestra::datetime
