#include "orvel/storage/vid_raw420.h"

#include <climits>

#include "orvel/img/i420_img.h"
#include "orvel/img/yv16_img.h"
#include "tests/storage/disk_folder.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::bytesOf;

struct RawFile : VidRaw420 {
    using VidRaw420::bytesPerFrame;
};

class VidRaw420Test : public test::DiskFolder {};

/// The byte of a frame at position i.
std::uint8_t sample(int frame, std::size_t i) {
    return static_cast<std::uint8_t>(frame * 31 + static_cast<int>(i % 251) * 7 + 1);
}

Bytes frameBytes(int frame, std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = sample(frame, i);
    return bytes;
}

void fillWithFrame(Img& img, int frame) {
    std::size_t i = 0;
    for (int p = 0; p < img.numPlanes(); ++p)
        for (int y = 0; y < img.getHeight(p); ++y)
            for (int x = 0; x < img.getWidth(p); ++x) *img.getPixel(p, y, x) = sample(frame, i++);
}

bool makeFrame(I420Img& img, int width, int height, int frame) {
    if (!img.allocate(width, height, 1)) return false;
    fillWithFrame(img, frame);
    return true;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(DecodeWidthHeight, FindsUnderscoreWidthXHeightUnderscore) {
    struct Case {
        std::wstring path;
        int width, height;
        bool found;
    };
    const std::wstring filler(300, L'a');
    for (const Case& c : {
             Case{L"clip_720x576_.yuv", 720, 576, true},
             {L"C:/box_data/clip_1920x1080_25p.yuv", 1920, 1080, true},
             {L"clip_1920x1080.yuv", 0, 0, false},
             {L"clip_12345x100_.yuv", 0, 0, false},
             {L"clip_100x12345_.yuv", 0, 0, false},
             {L"clip_720X576_.yuv", 0, 0, false},
             {L"/media/_352x288_/clip.yuv", 352, 288, true},
             {L"", 0, 0, false},
             {L"_x_", 0, 0, false},   // the x is at index 1
             {L"_1x2_", 1, 2, true},  // nothing to spare on either side
             {L"a_x_", 0, 0, true},   // empty numbers are 0
             {L"a_8x_", 8, 0, true},
             {L"_1x2x3_", 1, 2, true},    // a second x ends the height
             {L"__12x34_", 0, 0, false},  // the outer of two underscores counts
             {L"_12x34__", 0, 0, false},
             {L"_1_23x45_", 0, 0, false},
             {L"_12x34_5_", 0, 0, false},  // so does the one behind
             {L"_1234x5678_", 1234, 5678, true},
             {L"_12-x34_", 0, 0, false},
             {L"_x12x34_", 0, 0, false},  // what is dropped takes its underscore along
             {L"xxx_640x480_", 640, 480, true},
             {filler.substr(0, 252) + L"_16x8_", 16, 8, true},
             {filler.substr(0, 254) + L"_16x8_", 0, 0, false},  // the last underscore is the 260th character
             {filler + L"_16x8_", 0, 0, false},
         }) {
        int width = -7, height = -7;
        EXPECT_EQ(VidRaw420::decodeWidthHeight(c.path.c_str(), width, height), c.found)
            << ::testing::PrintToString(c.path);
        EXPECT_EQ(width, c.width) << ::testing::PrintToString(c.path);
        EXPECT_EQ(height, c.height) << ::testing::PrintToString(c.path);
    }
    int width = -7, height = -7;
    EXPECT_FALSE(VidRaw420::decodeWidthHeight(nullptr, width, height));
    EXPECT_TRUE(width == 0 && height == 0);
}

TEST_F(VidRaw420Test, StoresRowsWithoutPaddingAndReadsThemBackInSequence) {
    constexpr int width = 18, height = 5;  // rows of 20 and 12 bytes in memory, 18 and 9 in the file
    constexpr std::size_t size = 18 * 5 + 2 * 9 * 3;
    VidRaw420 vid;
    EXPECT_EQ(vid.getColorFormat(), 420);
    ASSERT_TRUE(vid.create(wide("a_18x5_.yuv").c_str(), width, height, true));
    I420Img img;
    for (int frame : {0, 1, 2}) {
        ASSERT_TRUE(makeFrame(img, width, height, frame));
        ASSERT_TRUE(vid.writeImg(img, -1));
    }
    EXPECT_FALSE(vid.readImg(img, 0)) << "a created file is only written";
    vid.close();
    EXPECT_EQ(load("a_18x5_.yuv"), frameBytes(0, size) + frameBytes(1, size) + frameBytes(2, size));

    ASSERT_TRUE(vid.open(wide("a_18x5_.yuv").c_str()));
    EXPECT_TRUE(vid.getWidth() == width && vid.getHeight() == height);
    I420Img read;  // sized by the first call
    for (int frame : {0, 1, 2}) {
        ASSERT_TRUE(vid.readImg(read, -1));
        EXPECT_EQ(bytesOf(read), frameBytes(frame, size));
    }
    EXPECT_FALSE(vid.readImg(read, -1));
    ASSERT_TRUE(vid.readImg(read, 1));
    EXPECT_EQ(bytesOf(read), frameBytes(1, size));
}

TEST_F(VidRaw420Test, TurnsBetweenReadingAndWritingWithoutASeek) {
    constexpr std::size_t size = 24;
    store("t_4x4_.yuv", frameBytes(0, size) + frameBytes(1, size) + frameBytes(2, size) + frameBytes(3, size));
    VidRaw420 vid;
    ASSERT_TRUE(vid.open(wide("t_4x4_.yuv").c_str()));
    I420Img img, other;
    ASSERT_TRUE(makeFrame(other, 4, 4, 9));
    ASSERT_TRUE(vid.readImg(img, -1));
    ASSERT_TRUE(vid.writeImg(other, -1));
    ASSERT_TRUE(vid.readImg(img, -1));
    EXPECT_EQ(bytesOf(img), frameBytes(2, size));
    ASSERT_TRUE(vid.writeImg(other, -1));
    EXPECT_EQ(vid.numFrames(), 4);
    EXPECT_FALSE(vid.readImg(img, -1)) << "counting frames moved the position";
    vid.close();
    EXPECT_EQ(load("t_4x4_.yuv"),
              frameBytes(0, size) + frameBytes(9, size) + frameBytes(2, size) + frameBytes(9, size));
}

TEST_F(VidRaw420Test, OddHeightsSeekByRealPlanesAndCountByRoundedDownOnes) {
    RawFile vid;
    ASSERT_TRUE(vid.create(wide("p_720x575_.yuv").c_str(), 720, 575, true));
    EXPECT_EQ(vid.bytesPerFrame(), 620640);
    I420Img img;
    ASSERT_TRUE(makeFrame(img, 720, 575, 4));
    ASSERT_TRUE(vid.writeImg(img, 2));
    vid.close();
    EXPECT_EQ(vid.bytesPerFrame(), -1);
    EXPECT_EQ(fs::file_size(file("p_720x575_.yuv")), 3u * 621360u);
    ASSERT_TRUE(vid.open(wide("p_720x575_.yuv").c_str()));
    I420Img read;
    ASSERT_TRUE(vid.readImg(read, 2));
    EXPECT_EQ(bytesOf(read), bytesOf(img));

    store("q_2x1_.yuv", Bytes(12));  // three frames of 2 + 2 bytes, counted as six of 2
    ASSERT_TRUE(vid.open(wide("q_2x1_.yuv").c_str()));
    EXPECT_EQ(vid.numFrames(), 6);
    EXPECT_TRUE(vid.readImg(read, 2));
    EXPECT_FALSE(vid.readImg(read, 3));
}

TEST_F(VidRaw420Test, AppendsWhateverTheIndex) {
    constexpr std::size_t size = 6;
    store("a_2x2_.yuv", frameBytes(0, size));
    I420Img img;
    ASSERT_TRUE(makeFrame(img, 2, 2, 1));
    VidRaw420 vid;
    ASSERT_TRUE(vid.create(wide("a_2x2_.yuv").c_str(), 2, 2, false));
    EXPECT_TRUE(vid.writeImg(img, 0));
    EXPECT_TRUE(vid.writeImg(img, 7));
    vid.close();
    EXPECT_EQ(load("a_2x2_.yuv"), frameBytes(0, size) + frameBytes(1, size) + frameBytes(1, size));
    ASSERT_TRUE(vid.create(wide("a_2x2_.yuv").c_str(), 2, 2, true));
    vid.close();
    EXPECT_EQ(load("a_2x2_.yuv"), Bytes());
    ASSERT_TRUE(vid.create(wide("new.yuv").c_str(), 2, 2, false));
    EXPECT_TRUE(fs::exists(file("new.yuv")));
}

TEST_F(VidRaw420Test, CountsWholeFramesOnceUntilClosed) {
    store("c_4x4_.yuv", Bytes(60));  // 2.5 frames
    store("e_4x4_.yuv", Bytes());
    VidRaw420 vid;
    EXPECT_EQ(vid.numFrames(), 0);
    ASSERT_TRUE(vid.open(wide("e_4x4_.yuv").c_str()));
    EXPECT_EQ(vid.numFrames(), 0);
    I420Img img;
    ASSERT_TRUE(makeFrame(img, 4, 4, 0));
    ASSERT_TRUE(vid.writeImg(img, 0));
    EXPECT_EQ(vid.numFrames(), 0);
    ASSERT_TRUE(vid.open(wide("e_4x4_.yuv").c_str()));
    EXPECT_EQ(vid.numFrames(), 1);

    ASSERT_TRUE(vid.open(wide("c_4x4_.yuv").c_str()));
    ASSERT_TRUE(vid.readImg(img, -1));
    EXPECT_EQ(vid.numFrames(), 2);
    EXPECT_TRUE(vid.readImg(img, -1)) << "counting moved the position";
    EXPECT_FALSE(vid.readImg(img, -1)) << "half a frame";
    ASSERT_TRUE(vid.writeImg(img, 5));
    vid.setWidthHeight(2, 2);
    EXPECT_EQ(vid.numFrames(), 2);
    ASSERT_TRUE(vid.open(wide("c_4x4_.yuv").c_str()));
    EXPECT_EQ(vid.numFrames(), 6);
}

TEST_F(VidRaw420Test, ANameWithoutSizeNeedsSetWidthHeight) {
    store("clip.yuv", frameBytes(3, 48));
    RawFile vid;
    I420Img img;
    ASSERT_TRUE(vid.open(wide("clip.yuv").c_str()));
    EXPECT_TRUE(vid.isOpened() && vid.getWidth() == 0 && vid.getHeight() == 0);
    EXPECT_FALSE(vid.readImg(img, 0));
    EXPECT_EQ(vid.numFrames(), 0);
    for (const auto& [width, height] : {std::pair{-4, 4}, {4, 0}, {INT_MAX, INT_MAX}}) {
        vid.setWidthHeight(width, height);
        EXPECT_FALSE(vid.readImg(img, 0));
        EXPECT_EQ(vid.numFrames(), 0);
    }
    EXPECT_EQ(vid.bytesPerFrame(), -1);
    vid.setWidthHeight(4, 4);
    EXPECT_EQ(vid.numFrames(), 2);
    ASSERT_TRUE(vid.readImg(img, 0));
    EXPECT_EQ(bytesOf(img), frameBytes(3, 24));
    EXPECT_EQ(img.getFormat(), I420Img::getClassFormat());
}

TEST_F(VidRaw420Test, ReadsWhateverPlanesThePictureHas) {
    store("m_4x2_.yuv", frameBytes(1, 12) + frameBytes(2, 12));
    VidRaw420 vid;
    ASSERT_TRUE(vid.open(wide("m_4x2_.yuv").c_str()));
    YV16Img planar;  // of the right size and so used as it is: 16 bytes a frame
    ASSERT_TRUE(planar.allocate(4, 2, 1));
    ASSERT_TRUE(vid.readImg(planar, 0));
    EXPECT_EQ(planar.getFormat(), I420Img::getClassFormat());
    EXPECT_EQ(bytesOf(planar), frameBytes(1, 12) + frameBytes(2, 4));
    EXPECT_FALSE(vid.readImg(planar, 1));
    Img plain;  // allocates a single plane of 8 bytes
    ASSERT_TRUE(vid.readImg(plain, 1));
    EXPECT_EQ(plain.numPlanes(), 1);
    EXPECT_EQ(bytesOf(plain).front(), sample(1, 8));

    store("n_1x3_.yuv", frameBytes(0, 6));  // chroma planes without columns
    ASSERT_TRUE(vid.open(wide("n_1x3_.yuv").c_str()));
    I420Img narrow;
    ASSERT_TRUE(vid.readImg(narrow, 1));
    EXPECT_EQ(bytesOf(narrow), (Bytes{sample(0, 3), sample(0, 4), sample(0, 5)}));
    EXPECT_EQ(vid.numFrames(), 2);
}

TEST_F(VidRaw420Test, RefusesPicturesThatDoNotMatchAndWritesNothing) {
    VidRaw420 vid;
    I420Img img, wider, higher, tagged;
    ASSERT_TRUE(makeFrame(img, 4, 4, 0) && makeFrame(wider, 8, 4, 0) && makeFrame(higher, 4, 8, 0) &&
                makeFrame(tagged, 4, 4, 0));
    tagged.setFormat(YV16Img::getClassFormat());
    EXPECT_FALSE(vid.writeImg(img, 0) || vid.readImg(img, 0)) << "closed";
    ASSERT_TRUE(vid.create(wide("w.yuv").c_str(), 4, 4, true));
    EXPECT_FALSE(vid.writeImg(wider, 0) || vid.writeImg(higher, 0) || vid.writeImg(tagged, 0));
    for (int idx : {-2, INT_MIN}) EXPECT_FALSE(vid.writeImg(img, idx)) << idx;
    Img huge;  // a rectangle that nobody compared with the picture: its frames are 2^62 bytes apart
    img.getShadowRoi(huge, {0, 0}, {INT_MAX, INT_MAX});
    vid.setWidthHeight(INT_MAX, INT_MAX);
    EXPECT_FALSE(vid.writeImg(huge, INT_MAX) || vid.writeImg(huge, 0) || vid.readImg(huge, 1));
    vid.close();
    EXPECT_EQ(load("w.yuv"), Bytes());
}

TEST_F(VidRaw420Test, FailedOpensLeaveItClosed) {
    store("o_4x4_.yuv", Bytes(24));
    fs::create_directory(file("dir_4x4_"));
    VidRaw420 vid;
    const auto leavesItClosed = [&](const auto& open) {
        EXPECT_TRUE(vid.open(wide("o_4x4_.yuv").c_str()));
        return !open() && !vid.isOpened() && vid.getWidth() == 0 && vid.getHeight() == 0 && vid.numFrames() == 0;
    };
    for (const std::string name : {"missing_4x4_.yuv", "dir_4x4_", "no/such/dir_4x4_.yuv"}) {
        EXPECT_TRUE(leavesItClosed([&] { return vid.open(wide(name).c_str()); })) << name;
        EXPECT_FALSE(fs::exists(file("missing_4x4_.yuv")));
        if (name == "missing_4x4_.yuv") continue;
        for (const bool overwrite : {false, true})
            EXPECT_TRUE(leavesItClosed([&] { return vid.create(wide(name).c_str(), 4, 4, overwrite); })) << name;
    }
    EXPECT_TRUE(leavesItClosed([&] { return vid.open(nullptr); }));
    EXPECT_TRUE(leavesItClosed([&] { return vid.create(nullptr, 4, 4, true); }));
#ifdef __linux__
    // A running program is not writable, not even for root.
    EXPECT_TRUE(leavesItClosed([&] { return vid.open(L"/proc/self/exe"); }));
#endif
}

TEST_F(VidRaw420Test, OpensPathsBeyondAscii) {
    const std::wstring name = L"b\u00e4nd_\u6620\u50cf_\U0001F3ACclip_4x4_.yuv";
    VidRaw420 vid;
    I420Img img;
    ASSERT_TRUE(makeFrame(img, 4, 4, 0));
    ASSERT_TRUE(vid.create((dir_.wstring() + L"/" + name).c_str(), 4, 4, true));
    ASSERT_TRUE(vid.writeImg(img, 0));
    vid.close();
    EXPECT_EQ(fs::file_size(dir_ / fs::path(u8"b\u00e4nd_\u6620\u50cf_\U0001F3ACclip_4x4_.yuv")), 24u);
    ASSERT_TRUE(vid.open((dir_.wstring() + L"/" + name).c_str()));
    EXPECT_EQ(vid.getWidth(), 4);
    if (sizeof(wchar_t) == 4) {
        EXPECT_FALSE(vid.create((dir_.wstring() + L"/" + wchar_t(0xD800)).c_str(), 4, 4, true));
    }
}

TEST_F(VidRaw420Test, FieldsAndRectanglesAreReadAndWrittenInPlace) {
    I420Img picture;
    ASSERT_TRUE(makeFrame(picture, 24, 16, 2));
    Img field, part;
    picture.getBottomFieldShadow(field);
    field.getShadowRoi(part, {4, 2}, {12, 4});  // 12 x 4 and 6 x 2, rows far apart
    const Bytes before = bytesOf(part);
    ASSERT_EQ(before.size(), 72u);
    VidRaw420 vid;
    ASSERT_TRUE(vid.create(wide("v_12x4_.yuv").c_str(), 12, 4, true));
    ASSERT_TRUE(vid.writeImg(part, 0));
    vid.close();
    EXPECT_EQ(load("v_12x4_.yuv"), before);

    store("v_12x4_.yuv", frameBytes(8, 72));
    ASSERT_TRUE(vid.open(wide("v_12x4_.yuv").c_str()));
    ASSERT_TRUE(vid.readImg(part, 0));
    EXPECT_EQ(bytesOf(part), frameBytes(8, 72));
    I420Img expected;
    ASSERT_TRUE(makeFrame(expected, 24, 16, 2));
    expected.getBottomFieldShadow(field);
    field.getShadowRoi(part, {4, 2}, {12, 4});
    fillWithFrame(part, 8);
    EXPECT_EQ(bytesOf(picture), bytesOf(expected)) << "bytes outside the view were touched";
}

TEST_F(VidRaw420Test, ATruncatedFrameFailsAndStaysInsideThePlanes) {
    constexpr std::size_t size = 18 * 4 + 2 * 9 * 2;
    I420Img img;
    ASSERT_TRUE(img.allocate(18, 4, 1));
    const std::size_t padded = 4 * 20;
    for (std::size_t length : {std::size_t{0}, std::size_t{25}, std::size_t{75}, size - 1}) {
        store("t_18x4_.yuv", frameBytes(0, length));
        std::fill_n(img.getPixels(0), padded, std::uint8_t{0xEE});
        VidRaw420 vid;
        ASSERT_TRUE(vid.open(wide("t_18x4_.yuv").c_str()));
        EXPECT_FALSE(vid.readImg(img, 0)) << length;
        EXPECT_TRUE(vid.isOpened());
        for (std::size_t i = 0; i < padded; ++i) {
            const std::size_t at = i / 20 * 18 + i % 20;
            const bool read = i % 20 < 18 && at < length;
            ASSERT_EQ(img.getPixels(0)[i], read ? sample(0, at) : 0xEE) << "length " << length << " byte " << i;
        }
    }
}

#ifdef __linux__
TEST_F(VidRaw420Test, AFullDiskIsReported) {
    VidRaw420 vid;
    I420Img large, small;
    ASSERT_TRUE(makeFrame(large, 1920, 1080, 0) && makeFrame(small, 18, 4, 0));
    ASSERT_TRUE(vid.create(L"/dev/full", 1920, 1080, true));
    EXPECT_FALSE(vid.writeImg(large, -1));
    EXPECT_FALSE(vid.writeImg(large, -1)) << "still full";

    // Small frames stay in the stream's buffer; whatever moves the position writes it out.
    ASSERT_TRUE(vid.create(L"/dev/full", 18, 4, true));
    EXPECT_TRUE(vid.writeImg(small, -1));
    EXPECT_FALSE(vid.writeImg(small, 1));
    ASSERT_TRUE(vid.create(L"/dev/full", 18, 4, true));
    int written = 0;
    while (written < 1000 && vid.writeImg(small, -1)) ++written;
    EXPECT_LT(written, 1000);
    vid.close();
    EXPECT_FALSE(vid.isOpened());
}
#endif

}  // namespace
}  // namespace Orvel
