#pragma once
#include <filesystem>
#include <string>
#include <vector>

// The measured parts of docs/quality.md, in Markdown.
namespace Orvel::bench {

/// Deinterlacers beside the progressive pictures that the interlaced ones were woven from.
/// @param media the folder of the example clips. Throws std::runtime_error when one is missing.
std::string deinterlacingReport(const std::filesystem::path& media);

/// Noise filters beside the clean pictures that noise was added to.
std::string noiseReport(const std::filesystem::path& media);
/// The same for progressive clips of one's own.
std::string noiseReport(const std::vector<std::filesystem::path>& clips);

/// Time codes in the chroma of damaged pictures, and in pictures that carry none.
std::string timeCodeReport(const std::filesystem::path& media);
/// The same for progressive clips of one's own.
std::string timeCodeReport(const std::vector<std::filesystem::path>& clips);

}  // namespace Orvel::bench
