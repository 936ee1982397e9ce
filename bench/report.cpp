#include "bench/report.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Orvel::bench {

std::string fixed(double value, int digits) {
    if (std::isinf(value)) return "exact";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

void replaceMarked(const std::filesystem::path& file, const std::string& section, const std::string& text) {
    const std::string first = "<!-- " + section + ": written by ", endOfFirst = " -->\n",
                      last = "<!-- " + section + " ends -->";
    std::ifstream in(file, std::ios::binary);
    const std::string old(std::istreambuf_iterator<char>(in), {});
    const std::size_t opening = old.find(first), closed = old.find(endOfFirst, opening), end = old.find(last);
    if (opening == std::string::npos || closed == std::string::npos || end == std::string::npos || end < closed)
        throw std::runtime_error("no place for " + section + " in " + file.string());
    const std::filesystem::path aside = file.string() + ".new";
    std::ofstream out(aside, std::ios::binary);
    out << old.substr(0, closed + endOfFirst.size()) << '\n' << text << old.substr(end);
    out.close();
    if (!out) throw std::runtime_error("cannot write " + aside.string());
    std::filesystem::rename(aside, file);
}

}  // namespace Orvel::bench
