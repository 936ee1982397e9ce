// Measures how good the pictures are and writes the figures into a text, or prints those of noise filtering for
// further clips.
#include "bench/quality.h"

#include <exception>
#include <iostream>

#include "bench/report.h"

namespace {

int usage() {
    std::cerr << "usage: quality MEDIA_DIR FILE.md\n"
                 "       quality --clips CLIP...   progressive 4:2:0 files named *_WIDTHxHEIGHT_*\n";
    return 2;
}

void writeSections(const std::filesystem::path& media, const std::filesystem::path& file) {
    const std::string deinterlacing = Orvel::bench::deinterlacingReport(media);
    const std::string noise = Orvel::bench::noiseReport(media);
    Orvel::bench::replaceMarked(file, "deinterlacing", deinterlacing);
    Orvel::bench::replaceMarked(file, "noise filtering", noise);
    std::cout << deinterlacing << noise;
}

}  // namespace

int main(int argc, char** argv) {
    const bool further = argc >= 3 && argv[1] == std::string("--clips");
    if (!further && argc != 3) return usage();
    try {
        if (further)
            std::cout << Orvel::bench::noiseReport(std::vector<std::filesystem::path>(argv + 2, argv + argc));
        else
            writeSections(argv[1], argv[2]);
    } catch (const std::exception& e) {
        std::cerr << "quality: " << e.what() << '\n';
        return 1;
    }
}
