// The operations that have more than one implementation, behind one table that is chosen once.
// Every function has the arguments and the behaviour of the exported one of its name.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "core/os/cpu.h"

namespace kestra::number {

using UnaryFunction = void(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
                           std::size_t* outlen) noexcept;
using BinaryFunction = void(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y,
                            std::size_t ylen, std::uint8_t* out, std::size_t* outlen) noexcept;
using RoundFunction = void(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
                           std::size_t* outlen, int places) noexcept;
using CompareFunction = int(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y,
                            std::size_t ylen) noexcept;
using UnaryArrayFunction = int(const std::uint8_t* const* x, const std::uint16_t* xlen,
                               std::size_t n, const std::uint8_t* nulls, std::uint8_t** out,
                               std::uint16_t* outlen, std::uint8_t* area,
                               std::size_t area_size) noexcept;
using BinaryArrayFunction = int(const std::uint8_t* const* x, const std::uint16_t* xlen,
                                const std::uint8_t* const* y, const std::uint16_t* ylen,
                                std::size_t n, const std::uint8_t* nulls, std::uint8_t** out,
                                std::uint16_t* outlen, std::uint8_t* area,
                                std::size_t area_size) noexcept;
using CompareArrayFunction = void(const std::uint8_t* const* x, const std::uint16_t* xlen,
                                  const std::uint8_t* const* y, const std::uint16_t* ylen,
                                  std::size_t n, const std::uint8_t* nulls, int* result) noexcept;

struct Kernels {
  const char* name;
  BinaryFunction* add;
  BinaryFunction* subtract;
  BinaryFunction* multiply;
  BinaryFunction* divide;
  RoundFunction* round;
  RoundFunction* round_even;
  RoundFunction* truncate;
  CompareFunction* compare;
  UnaryArrayFunction* absolute_array;
  UnaryArrayFunction* negate_array;
  UnaryArrayFunction* copy_array;
  BinaryArrayFunction* add_array;
  BinaryArrayFunction* subtract_array;
  BinaryArrayFunction* multiply_array;
  BinaryArrayFunction* divide_array;
  CompareArrayFunction* compare_array;
};

// The plain functions: the reference, and what kernels hand everything to that they do not take.
namespace scalar {
BinaryFunction Add, Subtract, Multiply, Divide;
RoundFunction Round, RoundEven, Truncate;
CompareFunction Compare;
UnaryFunction Negate, Absolute, Copy;
UnaryArrayFunction AbsoluteArray, NegateArray, CopyArray;
}  // namespace scalar

// The best table at a level; never null.
const Kernels& KernelsFor(os::CpuLevel level) noexcept;

extern constinit std::atomic<const Kernels*> active_kernels;
const Kernels& ChooseKernels() noexcept;

inline const Kernels& ActiveKernels() noexcept {
  const Kernels* kernels = active_kernels.load(std::memory_order_relaxed);
  if (kernels == nullptr) [[unlikely]]
    return ChooseKernels();
  return *kernels;
}

}  // namespace kestra::number
