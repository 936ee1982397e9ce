// Measures how good the pictures are and writes the figures into a text.
#include "bench/quality.h"

#include <exception>
#include <iostream>

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
    const bool furtherClips = arguments.size() >= 3;
    if (!furtherClips && arguments.size() != 2) return usage();
    const std::string& first = arguments[0];
    if (furtherClips) {
        const std::vector<std::filesystem::path> clips(arguments.begin() + 2, arguments.end());
        if (first == "--clips")
            replaceAndShow(arguments[1], "noise filtering of further clips", noiseReport(clips));
        else if (first == "--time-codes")
            replaceAndShow(arguments[1], "time codes in further clips", timeCodeReport(clips));
        else
            return usage();
    } else {
        replaceAndShow(arguments[1], "deinterlacing", deinterlacingReport(first));
        replaceAndShow(arguments[1], "noise filtering", noiseReport(first));
        replaceAndShow(arguments[1], "time codes", timeCodeReport(first));
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
