#include "orvel/storage/video_disk.h"

#include <algorithm>
#include <climits>

#include "orvel/img/i420_img.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/storage/vid_raw420.h"
#include "tests/storage/disk_folder.h"
#include "tests/storage/memory_disk.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using namespace test;

/// All bytes of a plane's memory, padding and what lies behind the rows included.
Bytes memoryOf(const Img& img, int plane) {
    const IAlignedMem& memory = *img.getMemoryInterface(plane);
    return Bytes(memory.getBase(), memory.getBase() + memory.getSize());
}

void fillMemory(Img& img, std::uint8_t value) {
    for (int p = 0; p < img.numPlanes(); ++p) {
        IAlignedMem& memory = *img.getMemoryInterface(p);
        std::fill_n(memory.getBase(), memory.getSize(), value);
    }
}

/// A picture whose memory holds value all over, also beyond its rows.
std::unique_ptr<I420Img> picturePaddedWith(std::uint8_t value, int width, int height) {
    auto img = picture<I420Img>(width, height + 8);
    fillMemory(*img, value);
    EXPECT_TRUE(img->allocate(width, height, 1));
    return img;
}

/// Row y of a plane.
Bytes rowOf(const Img& img, int plane, int y) {
    const std::uint8_t* row = img.getPixels(plane) + std::ptrdiff_t{y} * img.getStep(plane);
    return Bytes(row, row + img.getWidth(plane));
}

/// Packed rows of two pixels with luma 50 + y whose chroma is a column of numbers.
Bytes packedColumn(const std::vector<int>& chroma) {
    Bytes bytes;
    for (std::size_t y = 0; y < chroma.size(); ++y) {
        const auto c = static_cast<std::uint8_t>(chroma[y]), luma = static_cast<std::uint8_t>(50 + y);
        bytes.insert(bytes.end(), {c, luma, static_cast<std::uint8_t>(255 - c), luma});
    }
    return bytes;
}

void setColumn(I420Img& img, const std::vector<int>& cb) {
    ASSERT_EQ(img.getHeight(1), static_cast<int>(cb.size()));
    for (int y = 0; y < img.getHeight(1); ++y) {
        *img.getPixel(1, y, 0) = static_cast<std::uint8_t>(cb[static_cast<std::size_t>(y)]);
        *img.getPixel(2, y, 0) = static_cast<std::uint8_t>(255 - *img.getPixel(1, y, 0));
    }
    for (int y = 0; y < img.getHeight(0); ++y)
        for (int x = 0; x < 2; ++x) *img.getPixel(0, y, x) = static_cast<std::uint8_t>(50 + y);
}

/// All four operations fail, on pictures that fit a store of 8 x 8 and stay as they are if untouched is true.
void expectAllFail(VideoDisk& disk, bool untouched = true) {
    const auto frame = picture<I420Img>(8, 8), top = picture<I420Img>(8, 4, 2), bottom = picture<I420Img>(8, 4, 3);
    EXPECT_FALSE(disk.readI420Frame(*frame, 0));
    EXPECT_TRUE(!untouched || bytesOf(*frame) == bytesOf(*picture<I420Img>(8, 8)));
    EXPECT_FALSE(disk.readI420Fields(*top, *bottom, 0));
    EXPECT_EQ(bytesOf(*top), bytesOf(*picture<I420Img>(8, 4, 2)));
    EXPECT_EQ(bytesOf(*bottom), bytesOf(*picture<I420Img>(8, 4, 3)));
    EXPECT_FALSE(disk.writeI420Frame(*frame, 0));
    EXPECT_FALSE(disk.writeI420Fields(*top, *bottom, 0));
}

TEST(VideoDisk, UnknownFormatsAndSizesAreNeitherReadNorWritten) {
    for (const int format : {0, 444, -1, 421}) {
        SCOPED_TRACE(format);
        MemoryDisk disk(format, 8, 8);
        disk.frames[0] = Bytes(128, 1);
        expectAllFail(disk);
        EXPECT_EQ(disk.reads + disk.writes, 0);
    }
    for (const auto& [width, height] : {std::pair{-8, 8}, {8, -8}, {INT_MAX, INT_MAX}}) {
        MemoryDisk disk(422, width, height);
        expectAllFail(disk);
    }
    VidRaw420 closed;
    expectAllFail(closed);
}

TEST(VideoDisk, FailingReadsAndWritesAreReportedAndFieldsStayAsTheyWere) {
    for (const int format : {420, 422}) {
        MemoryDisk disk(format, 8, 8);
        disk.frames[0] = Bytes(70, 5);  // breaks off
        disk.failsToWrite = true;
        expectAllFail(disk, false);
        EXPECT_TRUE(disk.reads == 2 && disk.writes == 2);
    }
}

TEST(VideoDisk, FieldsAreTheFramesLinesAndNothingBesideThemIsTouched) {
    for (const int width : {1, 2, 5, 18})
        for (int height = 1; height <= 11; ++height) {
            MemoryDisk disk(420, width, height);
            const auto frame = picture<I420Img>(width, height, unsigned(height));
            disk.frames[3] = bytesOf(*frame);
            const auto top = picturePaddedWith(0xEE, width, (height + 1) / 2);
            const auto bottom = picturePaddedWith(0xEE, width, std::max(height / 2, 1));
            ASSERT_TRUE(disk.readI420Fields(*top, *bottom, 3));
            for (int parity : {0, 1})
                for (int p = 0; p < 3; ++p) {
                    const Img& field = parity == 0 ? *top : *bottom;
                    Bytes expected(memoryOf(field, p).size(), 0xEE);
                    for (int y = 0; y < frame->getHeight(p) / 2; ++y) {
                        const Bytes row = rowOf(*frame, p, 2 * y + parity);
                        std::copy(row.begin(), row.end(), expected.begin() + y * field.getStep(p));
                    }
                    ASSERT_EQ(memoryOf(field, p), expected) << width << " x " << height << " plane " << p;
                }
        }
}

TEST(VideoDisk, WeavesFieldsOfHalfTheRowsRoundedEitherWayAndStaysInsideTheFrame) {
    for (const int width : {1, 2, 5, 18})
        for (int height = 1; height <= 11; ++height)
            for (const int extra : {0, 1}) {
                const int fieldHeight = (height + extra) / 2;
                if (fieldHeight == 0) continue;
                const auto top = picture<I420Img>(width, fieldHeight, 1),
                           bottom = picture<I420Img>(width, fieldHeight, 2);
                MemoryDisk disk(420, 40, 40);  // gives the frame in between memory to spare, for guard bytes
                const auto largeField = picture<I420Img>(40, 20);
                disk.onWrite = [](Img& img) { fillMemory(img, 0xA5); };
                ASSERT_TRUE(disk.writeI420Fields(*largeField, *largeField, 0));
                disk.resize(width, height);
                disk.onWrite = [&](Img& img) {
                    for (int p = 0; p < 3; ++p) {
                        Bytes expected(memoryOf(img, p).size(), 0xA5);
                        for (int y = 0; y < img.getHeight(p); ++y) {
                            const Img& field = y % 2 == 0 ? *top : *bottom;
                            const Bytes row = rowOf(field, p, std::min(y / 2, field.getHeight(p) - 1));
                            std::copy(row.begin(), row.end(), expected.begin() + y * img.getStep(p));
                        }
                        ASSERT_EQ(memoryOf(img, p), expected)
                            << width << " x " << height << " of " << fieldHeight << " plane " << p;
                    }
                };
                ASSERT_TRUE(disk.writeI420Fields(*top, *bottom, 7));
                EXPECT_EQ(disk.frames[7].size(), std::size_t(width * height + width / 2 * ((height + 1) / 2) * 2));
            }
}

TEST(VideoDisk, PicturesOfOtherSizesAreRefusedBeforeTheStoreIsTouched) {
    const auto field = picture<I420Img>(8, 4), wide = picture<I420Img>(10, 4), narrow = picture<I420Img>(6, 4),
               low = picture<I420Img>(8, 3), high = picture<I420Img>(8, 5), frame = picture<I420Img>(8, 8),
               large = picture<I420Img>(8, 9);
    I420Img empty;
    for (const int format : {420, 422}) {
        MemoryDisk disk(format, 8, 8);
        for (I420Img* other : {wide.get(), narrow.get(), low.get(), high.get(), &empty}) {
            EXPECT_FALSE(disk.writeI420Fields(*field, *other, 0));
            EXPECT_FALSE(disk.writeI420Fields(*other, *field, 0));
        }
        for (I420Img* other : {narrow.get(), low.get(), &empty}) {
            EXPECT_FALSE(disk.readI420Fields(*field, *other, 0));
            EXPECT_FALSE(disk.readI420Fields(*other, *field, 0));
        }
        EXPECT_EQ(disk.reads + disk.writes, 0);
    }
    MemoryDisk disk(422, 8, 8);
    EXPECT_FALSE(disk.writeI420Frame(*large, 0));
    EXPECT_EQ(disk.writes, 0);
    disk.frames[0] = Bytes(128, 9);
    EXPECT_FALSE(disk.readI420Frame(*field, 0));
    EXPECT_TRUE(disk.readI420Frame(*frame, 0));
}

TEST(VideoDisk, Format422FramesConvertProgressivelyAndFieldsInterlaced) {
    MemoryDisk disk(422, 2, 8);
    disk.frames[0] = packedColumn({10, 50, 30, 90, 100, 20, 200, 60});
    const auto frame = picture<I420Img>(2, 8);
    ASSERT_TRUE(disk.readI420Frame(*frame, 0));
    EXPECT_EQ(bytesOf(*frame, 0), (Bytes{50, 50, 51, 51, 52, 52, 53, 53, 54, 54, 55, 55, 56, 56, 57, 57}));
    EXPECT_EQ(bytesOf(*frame, 1), (Bytes{30, 60, 60, 130}));
    EXPECT_EQ(bytesOf(*frame, 2), (Bytes{225, 195, 195, 125}));

    const auto top = picture<I420Img>(2, 4), bottom = picture<I420Img>(2, 4);
    ASSERT_TRUE(disk.readI420Fields(*top, *bottom, 0));
    EXPECT_EQ(bytesOf(*top, 0), (Bytes{50, 50, 52, 52, 54, 54, 56, 56}));
    EXPECT_EQ(bytesOf(*bottom, 0), (Bytes{51, 51, 53, 53, 55, 55, 57, 57}));
    EXPECT_EQ(bytesOf(*top, 1), (Bytes{15, 125}));  // 3/4 and 1/4 of the field's lines 0 and 1, 2 and 3
    EXPECT_EQ(bytesOf(*bottom, 1), (Bytes{80, 50}));

    setColumn(*frame, {16, 200, 80, 120});
    ASSERT_TRUE(disk.writeI420Frame(*frame, 1));
    EXPECT_EQ(disk.frames[1], packedColumn({16, 16, 200, 200, 80, 80, 120, 120}));

    frame->getTopField(*top);
    frame->getBottomField(*bottom);
    ASSERT_TRUE(disk.writeI420Fields(*top, *bottom, 2));
    const Bytes woven = disk.frames[2];
    const std::vector<int> cb{16, 200, 40, 190, 72, 150, 80, 120};
    for (std::size_t y = 0; y < cb.size(); ++y) {
        EXPECT_EQ(woven[4 * y], cb[y]) << y;
        EXPECT_EQ(woven[4 * y + 1], 50 + y);
    }
}

TEST(VideoDisk, WhatAConversionLeavesOverIsGreyAndNotWhatMemoryHeld) {
    for (const int held : {0, 255}) {
        const HeapFill fill(held);
        MemoryDisk disk(422, 4, 7);
        const auto small = picture<I420Img>(2, 4), frame = picture<I420Img>(4, 7);
        ASSERT_TRUE(disk.writeI420Frame(*small, 0));
        EXPECT_EQ(disk.frames[0][0], *small->getPixel(1, 0, 0));
        for (std::size_t i = 0; i < 7 * 8; ++i) {
            if (i % 8 >= 4 || i / 8 >= 4) {
                ASSERT_EQ(disk.frames[0][i], 128) << i;
            }
        }

        const auto isGrey = [](const Bytes& bytes) {
            return std::ranges::all_of(bytes, [](int b) { return b == 128; });
        };
        ASSERT_TRUE(disk.writeI420Frame(*frame, 1));
        const Bytes& written = disk.frames[1];
        EXPECT_EQ(written[6 * 8 - 1 - 2], *frame->getPixel(0, 5, 2));
        EXPECT_TRUE(isGrey(Bytes(written.end() - 8, written.end())));

        const auto top = picture<I420Img>(4, 4), bottom = picture<I420Img>(4, 4);
        disk.frames[2] = Bytes(4 * 7 * 2, 77);
        ASSERT_TRUE(disk.readI420Fields(*top, *bottom, 2));
        EXPECT_EQ(rowOf(*bottom, 1, 0), Bytes(2, 77));
        EXPECT_TRUE(isGrey(rowOf(*bottom, 1, 1)));
        EXPECT_EQ(rowOf(*top, 1, 1), Bytes(2, 77));
    }
}

TEST(VideoDisk, MissingMemoryIsReportedAndLaterCallsNeedNone) {
    const auto top = picture<I420Img>(160, 120, 2), bottom = picture<I420Img>(160, 120, 3);
    const auto frame = picture<I420Img>(160, 240);
    const auto runsOutThenWorks = [&](int format, const auto& operation) {
        MemoryDisk disk(format, 160, 240);
        disk.frames[0] = Bytes(160 * 240 * 2, 5);
        disk.forgets = true;  // needs no memory itself
        int granted = 0;
        for (bool done = false; !done; ++granted) {
            const int reads = disk.reads, writes = disk.writes;
            const FailingHeap heap(granted);
            done = operation(disk);
            if (done) break;
            ASSERT_GT(refusedRequests(), 0);
            ASSERT_TRUE(disk.reads == reads && disk.writes == writes);
        }
        EXPECT_GT(granted, 2);
        const int before = largeAllocations();
        EXPECT_TRUE(operation(disk));
        EXPECT_EQ(largeAllocations(), before);
    };
    for (const int format : {420, 422}) {
        runsOutThenWorks(format, [&](MemoryDisk& disk) { return disk.readI420Fields(*top, *bottom, 0); });
        runsOutThenWorks(format, [&](MemoryDisk& disk) { return disk.writeI420Fields(*top, *bottom, 0); });
    }
    runsOutThenWorks(422, [&](MemoryDisk& disk) { return disk.readI420Frame(*frame, 0); });
    runsOutThenWorks(422, [&](MemoryDisk& disk) { return disk.writeI420Frame(*frame, 0); });
}

class RawDiskTest : public test::DiskFolder {};

TEST_F(RawDiskTest, FramesAndFieldsBeyondFourGibibytesOfASparseFile) {
    constexpr int width = 1024, height = 512;
    constexpr std::uint64_t frameBytes = width * height * 3 / 2, limit = std::uint64_t{1} << 32;
    constexpr int across = int(limit / frameBytes), beyond = 6000;  // the first one lies on both sides of the limit
    VidRaw420 disk;
    const auto name = wide("s_1024x512_.yuv");
    const auto top = picture<I420Img>(width, height / 2, 1), bottom = picture<I420Img>(width, height / 2, 2),
               frame = picture<I420Img>(width, height, 3);
    ASSERT_TRUE(disk.create(name.c_str(), width, height, true));
    ASSERT_TRUE(disk.writeI420Fields(*top, *bottom, beyond));
    ASSERT_TRUE(disk.writeI420Frame(*frame, across));
    disk.close();

    ASSERT_EQ(std::filesystem::file_size(name), frameBytes * (beyond + 1));
    std::ifstream file(std::filesystem::path(name), std::ios::binary);
    const auto bytesAt = [&](std::uint64_t position, std::size_t count) {
        Bytes bytes(count);
        file.seekg(static_cast<std::streamoff>(position));
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
        return bytes;
    };
    EXPECT_EQ(bytesAt(across * frameBytes, frameBytes), bytesOf(*frame));
    EXPECT_EQ(bytesAt(beyond * frameBytes, width), rowOf(*top, 0, 0));
    EXPECT_EQ(bytesAt(beyond * frameBytes + width, width), rowOf(*bottom, 0, 0));
    EXPECT_EQ(bytesAt((beyond + 1) * frameBytes - width / 2, width / 2), rowOf(*bottom, 2, height / 4 - 1));

    ASSERT_TRUE(disk.open(name.c_str()));
    EXPECT_EQ(disk.numFrames(), beyond + 1);
    const auto readTop = picture<I420Img>(width, height / 2, 4), readBottom = picture<I420Img>(width, height / 2, 5);
    I420Img read;
    ASSERT_TRUE(disk.readI420Fields(*readTop, *readBottom, beyond));
    EXPECT_TRUE(bytesOf(*readTop) == bytesOf(*top) && bytesOf(*readBottom) == bytesOf(*bottom));
    ASSERT_TRUE(disk.readI420Frame(read, across));
    EXPECT_EQ(bytesOf(read), bytesOf(*frame));
    for (int idx : {beyond + 1, INT_MAX}) EXPECT_FALSE(disk.readI420Fields(*readTop, *readBottom, idx));
    ASSERT_TRUE(disk.readI420Fields(*readTop, *readBottom, beyond - 1));
    EXPECT_EQ(bytesOf(*readTop, 0), Bytes(std::size_t(width) * height / 2, 0)) << "a hole";
}

}  // namespace
}  // namespace Orvel
