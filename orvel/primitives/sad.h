#pragma once
#include <cstddef>
#include <cstdint>

namespace Orvel::primitives {

// The forms of these functions for this machine are to be asked for once: choosing costs as much as a block.

/// sad = sum of |cur - ref| over two blocks of 8 x 8 samples, each with its own step; 0 .. 16320.
/// @return false, with sad untouched, when a block is null.
using Sad8x8 = bool (*)(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref,
                        std::ptrdiff_t refStep, std::int32_t& sad);
Sad8x8 sad8x8() noexcept;

/// sads[i] = the same for the block cur against each of the n blocks refs[i], which share a step.
using Sad8x8List = void (*)(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs,
                            std::ptrdiff_t refStep, int n, std::int32_t* sads);
Sad8x8List sad8x8List() noexcept;

}  // namespace Orvel::primitives
