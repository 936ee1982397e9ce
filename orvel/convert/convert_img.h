#pragma once
#include <tbb/blocked_range.h>

#include "orvel/img/all_formats.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Conversions between picture formats. Destination first, source second, both allocated. The source's whole size is
/// converted into the top left corner of the destination; pixels outside it keep their values. Source and destination
/// must not share memory. Odd sizes are converted as far as whole chroma rows go; nothing is scaled but chroma.
///
/// Every conversion returns false, with nothing written, when the source (plane 0) is wider or higher than the
/// destination, and false when the pixels cannot be reached (no memory, a width below 2 where chroma is subsampled).
/// The 8-bit YUV conversions run in bands of rows on all cores unless said otherwise; the others on the calling thread.
class ORVEL_API ConvertImg {
public:
    // ---- 8-bit YUV. interlaced: chroma is resampled within each field, rows 0, 2, 4 ... and 1, 3, 5 ...; a height
    // that is no multiple of 4 has its last row pair converted as progressive.

    static bool UYVYToI420(I420Img& dst, const UYVYImg& src, bool interlaced);
    static bool UYVYToYV16(YV16Img& dst, const UYVYImg& src);
    static bool UYVYToYUYV(YUYVImg& dst, const UYVYImg& src);
    /// On the calling thread.
    static bool YUYVToUYVY(UYVYImg& dst, const YUYVImg& src);
    /// Progressive only.
    static bool YUYVToI420(I420Img& dst, const YUYVImg& src);
    static bool YUYVToYV16(YV16Img& dst, const YUYVImg& src);
    /// Interlaced: on the calling thread, and true also when the picture is too small for a group of four rows.
    static bool I420ToUYVY(UYVYImg& dst, const I420Img& src, bool interlaced);
    /// Progressive only.
    static bool I420ToYUYV(YUYVImg& dst, const I420Img& src);
    /// Interlaced: on the calling thread.
    static bool I420ToYV16(YV16Img& dst, const I420Img& src, bool interlaced);
    static bool YV16ToYUYV(YUYVImg& dst, const YV16Img& src);
    static bool YV16ToUYVY(UYVYImg& dst, const YV16Img& src);

    // ---- RGB. alt false: ITU-R BT.601 against R'G'B' over 0..255; alt true: ITU-R BT.709 against R'G'B' at 16..235.

    static bool UYVYToBGR(BGRImg& dst, const UYVYImg& src, bool alt);
    static bool BGRToUYVY(UYVYImg& dst, const BGRImg& src, bool alt);
    static bool I420ToBGR(BGRImg& dst, const I420Img& src, bool alt);

    // ---- 16-bit 4:2:2. Also false when a picture's format code or number of planes is not that of its type.

    /// Every sample times 256.
    static bool UYVYToV216(V216Img& dst, const UYVYImg& src);
    /// The high byte of every sample. By design the source keeps only these: its low bytes are 0 afterwards.
    static bool V216ToUYVY(UYVYImg& dst, V216Img& src);
    /// Samples unchanged; odd widths are refused.
    static bool HY16ToV216(V216Img& dst, const HY16Img& src);
    static bool V216ToHY16(HY16Img& dst, const V216Img& src);

    // ---- Row-band bodies for tbb::parallel_for. A unit is 1, 2 or 4 source rows; the range [b, e) converts the units
    // b to e - 1. They throw std::runtime_error with a fixed text when the band cannot be converted.

    template <class Dst, class Src>
    class Band {
    public:
        Band(Dst* dst, const Src* src) : dst_(dst), src_(src) {}

    protected:
        Dst* dst_;
        const Src* src_;
    };

    /// Row pairs; "ippiCbYCr422ToYCbCr420_8u_C2P3R failed".
    class CUYVYToI420_progressive;
    /// Groups of 4 rows; "ippiCbYCr422ToYCbCr420_Interlace_8u_C2P3R failed".
    class CUYVYToI420_interlaced;
    /// Rows; "ippiCbYCr422ToYCbCr422_8u_C2P3R failed".
    class CUYVYToYV16;
    /// Rows; "ippiCbYCr422ToYCbCr422_8u_C2R failed".
    class CUYVYToYUYV;
    /// Row pairs; "ippiYCbCr422ToYCbCr420_8u_C2P3R failed".
    class CYUYVToI420_progressive;
    /// Rows; "ippiYCbCr422_8u_C2P3R failed".
    class CYUYVToYV16;
    /// Row pairs; "ippiYCrCb420ToCbYCr422_8u_P3C2R failed".
    class CI420ToUYVY_progressive;
    /// Row pairs; "ippiYCrCb420ToYCbCr422_8u_P3C2R failed".
    class CI420ToYUYV_progressive;
    /// Row pairs; "ippiYCbCr420ToYCbCr422_8u_P3R failed".
    class CI420ToYV16_progressive;
    /// Groups of 4 rows; a band sees nothing of its neighbours. "ippiYCbCr420To422_Interlace_8u_P3R failed".
    class CI420ToYV16_interlaced;
    /// Rows; "ippiYCbCr422_8u_P3C2R failed".
    class CYV16ToYUYV;
    /// Rows; "ippiYCbCr422ToCbYCr422_8u_P3C2R failed".
    class CYV16ToUYVY;
};

class ORVEL_API ConvertImg::CUYVYToI420_progressive : public Band<I420Img, UYVYImg> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& pairs) const;
};

class ORVEL_API ConvertImg::CUYVYToI420_interlaced : public Band<I420Img, UYVYImg> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& groups) const;
};

class ORVEL_API ConvertImg::CUYVYToYV16 : public Band<YV16Img, UYVYImg> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& rows) const;
};

class ORVEL_API ConvertImg::CUYVYToYUYV : public Band<YUYVImg, UYVYImg> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& rows) const;
};

class ORVEL_API ConvertImg::CYUYVToI420_progressive : public Band<I420Img, YUYVImg> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& pairs) const;
};

class ORVEL_API ConvertImg::CYUYVToYV16 : public Band<YV16Img, YUYVImg> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& rows) const;
};

class ORVEL_API ConvertImg::CI420ToUYVY_progressive : public Band<UYVYImg, I420Img> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& pairs) const;
};

class ORVEL_API ConvertImg::CI420ToYUYV_progressive : public Band<YUYVImg, I420Img> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& pairs) const;
};

class ORVEL_API ConvertImg::CI420ToYV16_progressive : public Band<YV16Img, I420Img> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& pairs) const;
};

class ORVEL_API ConvertImg::CI420ToYV16_interlaced : public Band<YV16Img, I420Img> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& groups) const;
};

class ORVEL_API ConvertImg::CYV16ToYUYV : public Band<YUYVImg, YV16Img> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& rows) const;
};

class ORVEL_API ConvertImg::CYV16ToUYVY : public Band<UYVYImg, YV16Img> {
public:
    using Band::Band;
    void operator()(const tbb::blocked_range<int>& rows) const;
};

}  // namespace Orvel
