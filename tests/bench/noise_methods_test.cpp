#include "bench/noise_methods.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "bench/picture_quality.h"

namespace Orvel::bench {
namespace {

/// Five pictures, none like another.
Clip differentPictures() {
    Clip clip;
    for (int k = 0; k < 5; ++k) {
        clip.push_back(newPicture(64, 96));
        EXPECT_TRUE(clip.back()->set(100 + 4 * k));
    }
    return withNoise(clip, 6, 6, 1);
}

double error(const Img& a, const Img& b) {
    return meanSquaredError(a, b, 0) + meanSquaredError(a, b, 1) + meanSquaredError(a, b, 2);
}

class NoiseMethodsTest : public testing::TestWithParam<bool> {};

// What changes nothing shows whether results are filed under the numbers of their own pictures.
TEST_P(NoiseMethodsTest, ResultsBelongToThePicturesOfTheirNumbers) {
    const Clip clip = differentPictures(), before = copyOf(clip);
    const std::vector<NoiseMethod> methods = noiseMethods(GetParam());
    ASSERT_EQ(methods.size(), 9u);  // without FFmpeg: the clip itself and eight strengths
    for (std::size_t m = 0; m < methods.size(); ++m) {
        const Filtered made = methods[m].run(clip);
        for (std::size_t k = 0; k < clip.size(); ++k) {
            ASSERT_EQ(error(*clip[k], *before[k]), 0) << methods[m].name << " wrote into the clip";
            if (k == 0) continue;  // the library's results begin with the second picture
            const double change = error(*before[k], *made.at(static_cast<int>(k)));
            if (m < 2) {  // no filter, strength 0
                EXPECT_EQ(change, 0) << methods[m].name << " picture " << k;
            } else if (m == 8) {
                EXPECT_GT(change, 0) << methods[m].name << " picture " << k;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ProgressiveAndInterlaced, NoiseMethodsTest, testing::Bool());

}  // namespace
}  // namespace Orvel::bench
