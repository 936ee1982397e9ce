#pragma once
#include <filesystem>
#include <string>

// Writing measured figures into a text that people also write in.
namespace Orvel::bench {

/// A figure with that many digits behind the point; "exact" for an infinite one, which is the ratio without an error.
std::string fixed(double value, int digits);

/// Replaces what stands between the lines "<!-- SECTION: written by WHOM -->" and "<!-- SECTION ends -->".
/// The file is exchanged as a whole. Throws std::runtime_error, with the file as it was, when it cannot be read or
/// written or lacks a marker.
void replaceMarked(const std::filesystem::path& file, const std::string& section, const std::string& text);

}  // namespace Orvel::bench
