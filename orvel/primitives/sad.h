#pragma once
#include <cstddef>
#include <cstdint>

#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// sad = sum of |cur - ref| over two blocks of 8 x 8 samples, each with its own step; 0 .. 16320.
/// @return nullPointer, with sad untouched, when a block is null.
Status sad8x8(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
              std::int32_t& sad) noexcept;

/// sads[i] = the same for the block cur against each of the n blocks refs[i], which share a step.
using Sad8x8List = void (*)(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs,
                            std::ptrdiff_t refStep, int n, std::int32_t* sads);
/// The form of it for this machine, to be asked for once: choosing costs as much as a block.
Sad8x8List sad8x8List() noexcept;

}  // namespace Orvel::primitives
