#pragma once
#include "orvel/img/img.h"

// How close a processed 8-bit plane comes to the true one.
namespace Orvel::bench {

/// Mean squared difference of two planes of equal size.
double meanSquaredError(const Img& truth, const Img& result, int plane);

/// Peak signal-to-noise ratio in dB for the peak 255; infinite for an error of 0.
double psnr(double meanSquaredError);

/// Mean structural similarity of two planes of equal size, at least 8 x 8: Z. Wang, A. C. Bovik, H. R. Sheikh, E. P.
/// Simoncelli, "Image quality assessment: from error visibility to structural similarity", IEEE Transactions on Image
/// Processing 13 (4), 2004, equation 13 with K1 = 0.01, K2 = 0.03, L = 255. The windows are flat squares of 8 x 8
/// samples at every fourth column and row; a rest of up to three columns or rows at the end takes no part.
double ssim(const Img& truth, const Img& result, int plane);

}  // namespace Orvel::bench
