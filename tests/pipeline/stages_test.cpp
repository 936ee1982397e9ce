// Pictures through the engine and through its stages one after the other.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "orvel/convert/convert_img.h"
#include "tests/pipeline/engine_run.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using test::picture;
using test::sized;
using Bytes = std::vector<std::uint8_t>;

struct Output {
    Bytes bytes;
    int alpha;  ///< of the rate converter
    bool operator==(const Output&) const = default;
};

/// What the engine does, without its pools: each picture has memory of its own and stays to the end.
template <class T>
class PlainPipeline {
public:
    /// @param p  as completed by an engine, which must outlive this object.
    explicit PlainPipeline(const ProcessVideoParams<T>& p) : p_(p) {
        if (!p.srcProgressive && p.dstProgressive) {
            deinterlacer_.reset(DeinterlaceImg::newAlloc(p.deinterlaceType));
            EXPECT_TRUE(deinterlacer_->allocate(p.deinterlaceParams));
        }
        if (p.mctfEnable) {
            if (p.dstProgressive)
                filter_ = std::make_unique<MCTFFastProgressive<I420Img>>();
            else
                filter_ = std::make_unique<MCTFFastInterlaced<I420Img>>();
            EXPECT_TRUE(filter_->allocate(p_.mctfParams));
        }
        const std::int64_t before = std::int64_t{p.srcFrameRateNum} * p.dstFrameRateDen;
        const std::int64_t after = std::int64_t{p.dstFrameRateNum} * p.srcFrameRateDen;
        const bool blend = p.frameRateBlend > 0 || (p.frameRateBlend < 0 && before < after);
        EXPECT_TRUE(converter_.allocate({int(p.srcFrameRateNum), int(p.srcFrameRateDen), int(p.dstFrameRateNum),
                                         int(p.dstFrameRateDen), blend, false}));
    }

    template <class Src>
    std::vector<Output> outputsFor(Src& src) {
        Src region;
        src.getShadowRoi(region, {p_.cropX, p_.cropY}, {p_.cropWidth, p_.cropHeight});
        T* img = make(p_.cropWidth, p_.cropHeight);
        EXPECT_TRUE(convert(*img, region, !p_.srcProgressive));
        if (deinterlacer_) {
            EXPECT_TRUE(deinterlacer_->pushImg(*img));
            if (deinterlacer_->bufferedFrames() < deinterlacer_->requiredFrames()) return {};
            img = make(p_.cropWidth, p_.cropHeight);
            EXPECT_TRUE(deinterlacer_->deinterlace(*img, nullptr));
        }
        if (p_.cropWidth != p_.dstCropWidth || p_.cropHeight != p_.dstCropHeight) img = scaled(*img);
        if constexpr (std::is_same_v<T, I420Img>)
            if (filter_) {
                EXPECT_TRUE(filter_->pushImg(img));
                if (filter_->bufferedFrames() < filter_->requiredFrames()) return {};
                img = make(p_.dstWidth, p_.dstHeight);
                EXPECT_TRUE(filter_->filter(*img, nullptr));
            }
        if (p_.srcFrameRateNum == p_.dstFrameRateNum && p_.srcFrameRateDen == p_.dstFrameRateDen)
            return {{test::bytesOf(*img), 0}};
        return atNewRate(*img);
    }

private:
    static bool convert(I420Img& to, UYVYImg& from, bool fields) { return ConvertImg::UYVYToI420(to, from, fields); }
    static bool convert(I420Img& to, YUYVImg& from, bool) { return ConvertImg::YUYVToI420(to, from); }
    static bool convert(YV16Img& to, UYVYImg& from, bool) { return ConvertImg::UYVYToYV16(to, from); }
    static bool convert(YV16Img& to, YUYVImg& from, bool) { return ConvertImg::YUYVToYV16(to, from); }
    static bool convert(HY16Img& to, V216Img& from, bool) { return ConvertImg::V216ToHY16(to, from); }
    static bool convert(T& to, T& from, bool) { return from.copy(to); }

    T* make(int width, int height) {
        pictures_.push_back(std::make_unique<T>());
        EXPECT_TRUE(pictures_.back()->allocate(width, height, T::getClassBpp()));
        return pictures_.back().get();
    }

    T* canvas() {
        T* img = make(p_.dstWidth, p_.dstHeight);
        const int shift = p_.is16Bit ? 8 : 0;
        EXPECT_TRUE(img->setPlane(0, p_.backgroundY << shift) && img->setPlane(1, p_.backgroundU << shift) &&
                    img->setPlane(2, p_.backgroundV << shift));
        return img;
    }

    void scale(Img& to, Img& from) {
        ResizeImg resizer;
        EXPECT_TRUE(resizer.allocate(to, from, p_.resizeInterp, ResizeSmoothNone) && resizer.resize(to, from));
    }

    T* scaled(T& img) {
        T* out = canvas();
        Img view, field, from;
        out->getShadowRoi(view, {p_.dstCropX, p_.dstCropY}, {p_.dstCropWidth, p_.dstCropHeight});
        if (p_.dstProgressive) {
            scale(view, img);
        } else {
            view.getTopFieldShadow(field), img.getTopFieldShadow(from), scale(field, from);
            view.getBottomFieldShadow(field), img.getBottomFieldShadow(from), scale(field, from);
        }
        return out;
    }

    std::vector<Output> atNewRate(T& img) {
        std::vector<Output> outputs;
        Img* released = nullptr;
        EXPECT_TRUE(converter_.pushImg(img));
        while (converter_.isConverterReady(&released)) {
            T* out = canvas();
            if (!converter_.rateConvert(*out, FieldFrameBoth, &released)) return {};
            outputs.push_back({test::bytesOf(*out), converter_.lastBlendAlpha()});
        }
        return outputs;
    }

    ProcessVideoParams<T> p_;
    std::vector<std::unique_ptr<T>> pictures_;
    std::unique_ptr<DeinterlaceImg> deinterlacer_;
    std::unique_ptr<MCTFFast<I420Img>> filter_;
    FrameRateConvert converter_;
};

template <class T>
std::vector<Output> outputsFor(ProcessVideo<T>& engine, Img& src) {
    std::vector<Output> outputs;
    bool ok = false;
    for (T* out = engine.process(src, ok); out != nullptr; out = engine.isOutputAvailable(ok)) {
        int alpha = 0, scale = 0;
        engine.lastBlendAlpha(alpha, scale);
        EXPECT_EQ(scale, 255);
        outputs.push_back({test::bytesOf(*out), alpha});
        EXPECT_TRUE(engine.returnImg(out));
    }
    EXPECT_TRUE(ok);
    return outputs;
}

/// Five pictures, every other one as a view of another class. The engine neither writes to the caller's picture nor
/// looks at it again later.
template <class T, class Src = T>
void expectPlainResults(ProcessVideoParams<T> p) {
    const test::HeapFill anyBytes(190);
    ProcessVideo<T> engine;
    ASSERT_TRUE(engine.allocate(p));
    PlainPipeline<T> plain(p);
    std::size_t made = 0;
    for (unsigned i = 1; i <= 5; ++i) {
        const auto src = picture<Src>(p.srcWidth, p.srcHeight, i), same = picture<Src>(p.srcWidth, p.srcHeight, i);
        Img view;
        ASSERT_TRUE(src->shadowCopy(view));
        const auto outputs = i % 2 == 0 ? outputsFor(engine, view) : outputsFor(engine, *src);
        EXPECT_EQ(test::bytesOf(*src), test::bytesOf(*same));
        ASSERT_TRUE(src->set(0));
        ASSERT_TRUE(outputs == plain.outputsFor(*same))
            << "picture " << i << ", " << p.srcWidth << " x " << p.srcHeight << " to " << p.dstWidth << " x "
            << p.dstHeight << ", progressive " << p.srcProgressive << p.dstProgressive << ", method " << p.resizeInterp;
        made += outputs.size();
    }
    EXPECT_GE(made, 3u);
}

template <class T>
ProcessVideoParams<T> interlaced(ProcessVideoParams<T> p) {
    p.srcProgressive = p.dstProgressive = false;
    return p;
}

template <class T>
ProcessVideoParams<T> cropped() {
    auto p = sized<T>(48, 24);
    p.cropX = 4, p.cropY = 8, p.cropWidth = 32, p.cropHeight = 12;
    return p;
}

TEST(Stages, CropAndConvertEverySourceFormat) {
    auto lower = sized<I420Img>(48, 24);
    lower.cropHeight = 12;
    expectPlainResults(lower);
    expectPlainResults(cropped<I420Img>());
    expectPlainResults<I420Img, UYVYImg>(cropped<I420Img>());
    expectPlainResults<I420Img, UYVYImg>(interlaced(cropped<I420Img>()));
    expectPlainResults<I420Img, YUYVImg>(cropped<I420Img>());
    expectPlainResults<YV16Img, UYVYImg>(cropped<YV16Img>());
    expectPlainResults<YV16Img, YUYVImg>(interlaced(cropped<YV16Img>()));
    expectPlainResults(cropped<HY16Img>());
    expectPlainResults<HY16Img, V216Img>(cropped<HY16Img>());
}

/// A rectangle in a canvas of its own colour.
template <class T>
ProcessVideoParams<T> placed(int width, int height) {
    auto p = sized<T>(64, 48);
    p.dstWidth = width + 20, p.dstHeight = height + 10;
    p.dstCropX = 8, p.dstCropY = 6, p.dstCropWidth = width, p.dstCropHeight = height;
    p.backgroundY = 30, p.backgroundU = 90, p.backgroundV = 200;
    return p;
}

TEST(Stages, ScaleOntoACanvasThatKeepsItsBorder) {
    expectPlainResults(placed<I420Img>(40, 30));
    expectPlainResults(placed<YV16Img>(40, 30));
    expectPlainResults(placed<HY16Img>(40, 30));
    expectPlainResults(placed<I420Img>(64, 48));  // not scaled: passes through at its own size
}

TEST(Stages, ScaleTheFieldsOfInterlacedPicturesApart) {
    for (const auto& [width, height] : {std::pair(48, 42), {80, 64}, {48, 64}, {64, 48}})
        for (ResizeInterp method :
             {ResizeInterpNone, ResizeInterpLinear, ResizeInterpLanczos, ResizeInterpHannFilter}) {
            auto p = interlaced(sized<I420Img>(64, 48));
            p.dstWidth = width, p.dstHeight = height, p.resizeInterp = method;
            expectPlainResults<I420Img, UYVYImg>(p);
            auto wide = interlaced(placed<YV16Img>(width, height));
            wide.resizeInterp = method;
            expectPlainResults<YV16Img, UYVYImg>(wide);
        }
}

TEST(Stages, DeinterlaceFilterAndChangeTheRate) {
    const auto deinterlaced = []<class T>(ProcessVideoParams<T> p, DeinterlaceType type) {
        p.srcProgressive = false;
        p.deinterlaceType = type;
        return p;
    };
    for (DeinterlaceType type : {DeinterlaceTypeTriangle, DeinterlaceTypeCAVT, DeinterlaceTypeBlend}) {
        expectPlainResults(deinterlaced(sized<I420Img>(64, 48), type));
        expectPlainResults<YV16Img, UYVYImg>(deinterlaced(sized<YV16Img>(64, 48), type));
    }
    expectPlainResults(deinterlaced(sized<HY16Img>(64, 48), DeinterlaceTypeTriangle));

    auto filtered = sized<I420Img>(96, 80);
    filtered.mctfEnable = true;
    filtered.mctfParams.strength = 5;
    expectPlainResults(filtered);
    expectPlainResults(interlaced(filtered));

    for (const auto& [num, den] : {std::pair(60u, 1u), {60u, 2u}, {50u, 1u}, {25u, 1u}})
        for (const int blend : {-1, 0, 1}) {
            // A picture that is not scaled cannot be mixed, only repeated, on a canvas painted for it.
            auto p = blend == 0 ? placed<I420Img>(64, 48) : placed<I420Img>(40, 30);
            p.dstFrameRateNum = num, p.dstFrameRateDen = den, p.frameRateBlend = blend;
            expectPlainResults(p);
        }

    auto all = deinterlaced(cropped<I420Img>(), DeinterlaceTypeBlend);
    all.dstWidth = 80, all.dstHeight = 48, all.dstFrameRateNum = 60;
    all.mctfEnable = true;
    expectPlainResults<I420Img, UYVYImg>(all);
    ProcessVideo<I420Img> engine, idle;
    auto nothing = sized<I420Img>(64, 48);
    ASSERT_TRUE(engine.allocate(all) && idle.allocate(nothing));
    EXPECT_TRUE(engine.hasCropping() && engine.hasDeinterlacing() && engine.hasResizing() && engine.hasMCTF() &&
                engine.hasFrameRateConversion() && !engine.hasDstCropping());
    EXPECT_FALSE(idle.hasCropping() || idle.hasDeinterlacing() || idle.hasResizing() || idle.hasMCTF() ||
                 idle.hasFrameRateConversion());
}

}  // namespace
}  // namespace Orvel
