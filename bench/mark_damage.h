#pragma once
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "orvel/img/img.h"

// What pictures go through between somebody who stamps a mark into their chroma and somebody who reads it.
namespace Orvel::bench {

/// Makes to, which is empty and of the same type, from an 8-bit planar picture. What a damage draws by lot it draws
/// from random. Throws std::runtime_error when a step fails.
using Damage = std::function<void(const Img& from, Img& to, std::mt19937& random)>;

struct NamedDamage {
    std::string name;
    Damage apply;
    bool harmless;  ///< tests hold the reader of time codes to reading them after it, on grey pictures
};

/// Chroma dx samples to the right and dy rows down; the edges are repeated. Luma is only copied.
void moveChroma(const Img& from, Img& to, int dx, int dy);
/// Every chroma sample becomes the mean of itself and its neighbours at the right, below and at the right below.
void moveChromaByHalf(const Img& from, Img& to);
/// Chroma v becomes (v - 128) * gain + 128 + offset, rounded and clipped to 0..255.
void changeChromaLevels(const Img& from, Img& to, double gain, double offset);

/// What marks are measured against, from nothing at all to too much.
std::vector<NamedDamage> markDamages();

}  // namespace Orvel::bench
