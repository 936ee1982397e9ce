// Measures how good the pictures are and writes the figures into a text.
#include "bench/quality.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <iterator>

#include "bench/report.h"

namespace Orvel::bench {
namespace {

int usage() {
    std::cerr << "usage: quality MEDIA_DIR FILE.md              all that the example clips tell\n"
                 "       quality --clips FILE.md CLIP...        noise filtering of further clips\n"
                 "       quality --time-codes FILE.md CLIP...   time codes in further clips\n"
                 "CLIP: a progressive 4:2:0 file NAME_WIDTHxHEIGHT_*\n";
    return 2;
}

void replaceAndShow(const std::filesystem::path& file, const std::string& section, const std::string& text) {
    replaceMarked(file, section, text);
    std::cout << text;
}

int run(const std::vector<std::string>& arguments) {
    const std::vector<std::filesystem::path> clips(
        arguments.begin() + std::min<std::ptrdiff_t>(2, std::ssize(arguments)), arguments.end());
    if (!clips.empty() && arguments[0] == "--clips") {
        replaceAndShow(arguments[1], "noise filtering of further clips", noiseReport(clips));
    } else if (!clips.empty() && arguments[0] == "--time-codes") {
        replaceAndShow(arguments[1], "time codes in further clips", timeCodeReport(clips));
    } else if (arguments.size() == 2) {
        replaceAndShow(arguments[1], "deinterlacing", deinterlacingReport(arguments[0]));
        replaceAndShow(arguments[1], "noise filtering", noiseReport(arguments[0]));
        replaceAndShow(arguments[1], "time codes", timeCodeReport(arguments[0]));
    } else {
        return usage();
    }
    return 0;
}

}  // namespace
}  // namespace Orvel::bench

int main(int argc, char** argv) {
    try {
        return Orvel::bench::run({argv + 1, argv + argc});
    } catch (const std::exception& e) {
        std::cerr << "quality: " << e.what() << '\n';
        return 1;
    }
}
