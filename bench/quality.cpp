// Measures how good the pictures are and writes the figures into a text.
#include "bench/quality.h"

#include <exception>
#include <iostream>

#include "bench/report.h"

namespace Orvel::bench {
namespace {

int usage() {
    std::cerr
        << "usage: quality MEDIA_DIR FILE.md         all that the example clips tell\n"
           "       quality --clips FILE.md CLIP...   noise filtering of progressive 4:2:0 files NAME_WIDTHxHEIGHT_*\n";
    return 2;
}

void replaceAndShow(const std::filesystem::path& file, const std::string& section, const std::string& text) {
    replaceMarked(file, section, text);
    std::cout << text;
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() >= 3 && arguments[0] == "--clips") {
        replaceAndShow(arguments[1], "noise filtering of further clips",
                       noiseReport(std::vector<std::filesystem::path>(arguments.begin() + 2, arguments.end())));
    } else if (arguments.size() == 2) {
        replaceAndShow(arguments[1], "deinterlacing", deinterlacingReport(arguments[0]));
        replaceAndShow(arguments[1], "noise filtering", noiseReport(arguments[0]));
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
