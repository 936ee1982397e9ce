#include <gtest/gtest.h>

#include <cstring>

#include "orvel/mctf/mctf_fast_interlaced.h"
#include "tests/mctf/filter_model.h"
#include "tests/support/pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using Progressive = MCTFFastProgressive<I420Img>;
using Interlaced = MCTFFastInterlaced<I420Img>;
using Picture = std::unique_ptr<I420Img>;

MCTFFastParams paramsOf(int width, int height, int strength = 3) {
    MCTFFastParams params;
    params.width = width, params.height = height, params.strength = strength;
    return params;
}

void copyInto(const I420Img& from, I420Img& to) {
    for (int p = 0; p < 3; ++p)
        for (int y = 0; y < to.getHeight(p); ++y)
            std::copy_n(test::plane(from, p).row(y), to.getWidth(p), planeView<std::uint8_t>(to, p).row(y));
}

/// The filter plainly: motion from the search (which has its own tests), everything else from the models.
class PlainFilter {
public:
    explicit PlainFilter(const MCTFFastParams& params) : params_(params) {
        params_.me.width = params.width, params_.me.height = params.height;
        EXPECT_TRUE(search_.allocate(params_.me));
    }

    /// Filters cur with ref; on every other call cur takes the result.
    Picture filter(I420Img& cur, I420Img& ref) {
        search_.process(&cur, &ref);
        const auto pred = test::predictPlainly(ref, *search_.getMEData(), params_.width, params_.height);
        test::PictureModel model(cur, *pred, *search_.getMEData(), params_.strength, noise_);
        noise_ = model.noiseFigure;
        if (calls_++ % 2 == 0) copyInto(*model.out, cur);
        return std::move(model.out);
    }

private:
    MCTFFastParams params_;
    MotionEstimateImg<I420Img> search_;
    float noise_ = 0;
    int calls_ = 0;
};

/// Runs frames of a scene through a filter; check(t, out, cur) sees each output and what became of the newest frame.
template <class Filter, class Check>
void run(Filter& filter, int kind, int width, int height, int frames, const Check& check) {
    Picture older, out = test::makeScene(0, width, height, 99);
    for (int t = 0; t < frames; ++t) {
        Picture cur = test::makeScene(kind, width, height, t);
        ASSERT_TRUE(filter.pushImg(cur.get()));
        if (t > 0) {
            ASSERT_EQ(filter.bufferedFrames(), filter.requiredFrames());
            ASSERT_TRUE(out->set(55));
            I420Img* released = nullptr;
            ASSERT_TRUE(filter.filter(*out, &released));
            ASSERT_EQ(released, older.get());
            check(t, *out, *cur);
        }
        older = std::move(cur);
    }
    ASSERT_EQ(filter.popImg(), older.get());
    ASSERT_EQ(filter.popImg(), nullptr);
}

TEST(MCTFFastProgressive, EqualsThePlainFilter) {
    int round = 0;
    for (const tagSIZE size : {tagSIZE{64, 32}, {72, 45}, {94, 63}})
        for (int kind = 0; kind < test::sceneKinds; ++kind) {
            const int width = size.cx, height = size.cy;
            auto params = paramsOf(width, height, 1 + round % 7);
            params.me.subPel = round++ % 4 != 3;
            PlainFilter plain(params);
            std::vector<Picture> expected, newest;
            for (int t = 0; t < 5; ++t) newest.push_back(test::makeScene(kind, width, height, t));
            for (std::size_t t = 1; t < newest.size(); ++t)
                expected.push_back(plain.filter(*newest[t], *newest[t - 1]));
            test::withThreadCounts([&](std::size_t threads) {
                SCOPED_TRACE(::testing::Message() << width << " x " << height << ", kind " << kind << ", strength "
                                                  << params.strength << ", threads " << threads);
                Progressive filter;
                ASSERT_TRUE(filter.allocate(params));
                run(filter, kind, width, height, 5, [&](int t, I420Img& out, I420Img& cur) {
                    ASSERT_EQ(test::difference(*expected[std::size_t(t - 1)], out), "") << "frame " << t;
                    ASSERT_EQ(test::difference(*newest[std::size_t(t)], cur), "") << "frame " << t << " itself";
                });
            });
        }
}

TEST(MCTFFastProgressive, EveryOtherCallReplacesTheNewestFrame) {
    Progressive filter;
    auto params = paramsOf(64, 32, 5);
    ASSERT_TRUE(filter.allocate(params));
    for (int round = 0; round < 2; ++round) {
        run(filter, 3, 64, 32, 5, [&](int t, I420Img& out, I420Img& cur) {
            const auto original = test::makeScene(3, 64, 32, t);
            ASSERT_NE(test::difference(*original, out), "") << "the filter did nothing";
            ASSERT_EQ(test::difference(t % 2 == 1 ? out : *original, cur), "") << "frame " << t;
        });
        ASSERT_TRUE(filter.allocate(params)) << "which starts the alternation anew";
    }
}

TEST(MCTFFastProgressive, IdenticalFramesComeOutUnchangedAtEveryStrength) {
    for (int strength = 0; strength <= 7; ++strength) {
        Progressive filter;
        Interlaced fields;
        auto params = paramsOf(70, 66, strength);
        ASSERT_TRUE(filter.allocate(params) && fields.allocate(params));
        for (MCTFFast<I420Img>* any :
             {static_cast<MCTFFast<I420Img>*>(&filter), static_cast<MCTFFast<I420Img>*>(&fields)}) {
            std::vector<Picture> frames;
            const auto original = test::makeScene(4, 70, 66, 7), out = test::makeScene(0, 70, 66, 1);
            for (int t = 0; t < 4; ++t) {
                frames.push_back(test::makeScene(4, 70, 66, 7));
                ASSERT_TRUE(any->pushImg(frames.back().get()));
                if (t == 0) continue;
                ASSERT_TRUE(any->filter(*out, nullptr));
                ASSERT_EQ(test::difference(*original, *out), "") << "strength " << strength;
            }
        }
    }
}

TEST(MCTFFastProgressive, StrengthZeroCopiesAndStripsOutsideTheBlocksAreUntouched) {
    Progressive off, strong;
    auto offParams = paramsOf(76, 45, 0), strongParams = paramsOf(76, 45, 7);
    ASSERT_TRUE(off.allocate(offParams) && strong.allocate(strongParams));
    run(off, 0, 76, 45, 4,
        [&](int t, I420Img& out, I420Img&) { ASSERT_EQ(test::difference(*test::makeScene(0, 76, 45, t), out), ""); });
    run(strong, 4, 76, 45, 4, [&](int t, I420Img& out, I420Img&) {
        const auto original = test::makeScene(4, 76, 45, t);
        int changed = 0;
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < out.getHeight(p); ++y)
                for (int x = 0; x < out.getWidth(p); ++x) {
                    const bool same = test::sampleAt(out, p, x, y) == test::sampleAt(*original, p, x, y);
                    const bool outside = x >= (p == 0 ? 72 : 36) || y >= (p == 0 ? 40 : 20);
                    ASSERT_TRUE(same || !outside) << "plane " << p << " at " << x << ", " << y;
                    changed += !same;
                }
        EXPECT_GT(changed, 1000);
    });
}

TEST(MCTFFastInterlaced, EachFieldGoesThroughAFilterOfItsOwn) {
    for (int height : {64, 65, 66, 67, 70}) {
        SCOPED_TRACE(height);
        const int heights[2] = {(height + 1) / 2, height / 2};
        auto params = paramsOf(72, height, 4);
        Interlaced filter;
        ASSERT_TRUE(filter.allocate(params));
        PlainFilter top(paramsOf(72, heights[0], 4)), bottom(paramsOf(72, heights[1], 4));
        Picture older = test::makeScene(3, 72, height, 0);  // the model's frames, filtered in place in step
        run(filter, 3, 72, height, 5, [&](int t, I420Img& out, I420Img& cur) {
            Picture newer = test::makeScene(3, 72, height, t);
            const auto check = [&](PlainFilter& plain, auto field) {
                I420Img olderField, newerField, outField, curField;
                ((*older).*field)(olderField), ((*newer).*field)(newerField);
                (out.*field)(outField), (cur.*field)(curField);
                const Picture expected = plain.filter(newerField, olderField);
                ASSERT_EQ(test::difference(*expected, outField), "") << "frame " << t;
                ASSERT_EQ(test::difference(newerField, curField), "") << "frame " << t << " itself";
            };
            check(top, &I420Img::getTopFieldShadow);
            check(bottom, &I420Img::getBottomFieldShadow);
            older = std::move(newer);
        });
    }
}

TEST(MCTFFastProgressive, ViewsInsideALargerPictureStayInside) {
    Progressive whole, inside;
    auto params = paramsOf(68, 42, 5);
    ASSERT_TRUE(whole.allocate(params) && inside.allocate(params));
    std::vector<Picture> canvases, views, frames;
    const auto makeView = [&](int kind, int t) {
        canvases.push_back(test::makeScene(0, 120, 80, 50 + t));
        views.push_back(std::make_unique<I420Img>());
        canvases.back()->getShadowRoi(*views.back(), {12, 16}, {68, 42});
        copyInto(*test::makeScene(kind, 68, 42, t), *views.back());
        return views.back().get();
    };
    for (int t = 0; t < 4; ++t) {
        frames.push_back(test::makeScene(3, 68, 42, t));
        ASSERT_TRUE(whole.pushImg(frames.back().get()) && inside.pushImg(makeView(3, t)));
        if (t == 0) continue;
        const auto out = test::makeScene(0, 68, 42, 1);
        I420Img* outView = makeView(0, 40 + t);
        ASSERT_TRUE(whole.filter(*out, nullptr) && inside.filter(*outView, nullptr));
        ASSERT_EQ(test::difference(*out, *outView), "");
    }
    for (std::size_t i = 0; i < canvases.size(); ++i) {  // what lies around the views
        const int t = canvases.size() == 7 ? std::vector<int>{0, 1, 41, 2, 42, 3, 43}[i] : -1;
        const auto before = test::makeScene(0, 120, 80, 50 + t);
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < before->getHeight(p); ++y)
                for (int x = 0; x < before->getWidth(p); ++x) {
                    const int s = p == 0 ? 1 : 2;
                    if (x >= 12 / s && x < 80 / s && y >= 16 / s && y < 58 / s) continue;
                    ASSERT_EQ(test::sampleAt(*canvases[i], p, x, y), test::sampleAt(*before, p, x, y));
                }
    }
}

/// What both filters promise about their queue.
template <class Filter>
void checkQueue() {
    Filter filter;
    const auto a = test::makeScene(2, 64, 64, 0), b = test::makeScene(2, 64, 64, 1), c = test::makeScene(2, 64, 64, 2);
    const auto out = test::makeScene(0, 64, 64, 3), larger = test::makeScene(0, 64, 72, 4),
               wider = test::makeScene(0, 72, 64, 5);
    I420Img* released = a.get();
    EXPECT_FALSE(filter.pushImg(a.get())) << "not allocated";
    EXPECT_TRUE(filter.popImg() == nullptr && filter.bufferedFrames() == 0);
    EXPECT_FALSE(filter.filter(*out, &released));
    EXPECT_EQ(released, nullptr);

    auto params = paramsOf(64, 64);
    ASSERT_TRUE(filter.allocate(params));
    EXPECT_FALSE(filter.pushImg(nullptr));
    EXPECT_FALSE(filter.pushImg(larger.get()) || filter.pushImg(wider.get()));
    ASSERT_TRUE(filter.pushImg(a.get()));
    released = a.get();
    EXPECT_FALSE(filter.filter(*out, &released)) << "one frame is not enough";
    EXPECT_TRUE(released == nullptr && filter.bufferedFrames() == 1);
    ASSERT_TRUE(filter.pushImg(b.get()));
    EXPECT_FALSE(filter.pushImg(c.get())) << "full";
    EXPECT_EQ(filter.bufferedFrames(), 2);

    const auto before = test::bytesOf(*larger);
    EXPECT_FALSE(filter.filter(*larger, &released));
    EXPECT_TRUE(released == a.get() && filter.bufferedFrames() == 1) << "the older frame is handed back all the same";
    EXPECT_EQ(test::bytesOf(*larger), before);
    ASSERT_TRUE(filter.pushImg(c.get()));
    EXPECT_FALSE(filter.filter(*c, &released)) << "onto a queued frame";
    EXPECT_TRUE(released == b.get());
    ASSERT_TRUE(filter.pushImg(a.get()) && filter.filter(*out, &released));
    EXPECT_TRUE(released == c.get() && filter.popImg() == a.get() && filter.popImg() == nullptr);

    ASSERT_TRUE(filter.pushImg(a.get()));
    filter.deallocate();
    filter.deallocate();
    EXPECT_TRUE(filter.bufferedFrames() == 0 && filter.popImg() == nullptr && !filter.pushImg(a.get()));
}

TEST(MCTFFast, QueueProtocol) {
    checkQueue<Progressive>();
    checkQueue<Interlaced>();
}

TEST(MCTFFast, RefusedSizesLeaveTheFilterUnallocated) {
    const auto frame = test::makeScene(1, 64, 64, 0);
    const auto check = [&](auto filter, int width, int height, bool taken) {
        auto good = paramsOf(64, 64), params = paramsOf(width, height);
        ASSERT_TRUE(filter->allocate(good));
        EXPECT_EQ(filter->allocate(params), taken) << width << " x " << height;
        EXPECT_EQ(filter->pushImg(frame.get()), taken && width == 64 && height == 64);
    };
    const auto progressive = std::make_unique<Progressive>();
    const auto interlaced = std::make_unique<Interlaced>();
    for (const tagSIZE size : {tagSIZE{63, 64}, {65, 64}, {62, 64}, {64, 31}, {0, 0}, {-64, -64}}) {
        check(progressive.get(), size.cx, size.cy, false);
        check(interlaced.get(), size.cx, size.cy, false);
    }
    check(progressive.get(), 64, 32, true);
    check(progressive.get(), 66, 33, true);
    check(interlaced.get(), 64, 63, false);
    check(interlaced.get(), 64, 65, true);
}

/// A scene's frames through the filter again and again; large allocations of the later rounds.
template <class Filter>
int steadyAllocations(MCTFFastParams params) {
    Filter filter;
    EXPECT_TRUE(filter.allocate(params));
    Picture frames[2], out = test::makeScene(0, params.width, params.height, 9);
    for (int t = 0; t < 2; ++t) frames[t] = test::makeScene(3, params.width, params.height, t);
    EXPECT_TRUE(filter.pushImg(frames[0].get()));
    int before = 0;
    for (int t = 1; t < 12; ++t) {
        if (t == 3) before = test::largeAllocations();
        EXPECT_TRUE(filter.pushImg(frames[t % 2].get()) && filter.filter(*out, nullptr));
    }
    return test::largeAllocations() - before;
}

TEST(MCTFFast, SteadyStateTakesNoPictureMemory) {
    test::withThreadCounts([](std::size_t) {
        EXPECT_EQ(steadyAllocations<Progressive>(paramsOf(360, 288)), 0);
        EXPECT_EQ(steadyAllocations<Interlaced>(paramsOf(360, 288)), 0);
    });
}

/// Lets each request of an operation fail in turn.
template <class Filter>
void checkMissingMemory() {
    const auto a = test::makeScene(3, 96, 80, 0), b = test::makeScene(3, 96, 80, 1),
               out = test::makeScene(0, 96, 80, 2);
    auto params = paramsOf(96, 80);
    Filter filter;
    bool done = false;
    int granted = 0;
    for (; !done && granted < 1000; ++granted) {
        const test::FailingHeap heap(granted);
        done = filter.allocate(params);
        ASSERT_TRUE(done || (filter.bufferedFrames() == 0 && !filter.pushImg(a.get()))) << "request " << granted;
        ASSERT_TRUE(done == (test::refusedRequests() == 0)) << "request " << granted;
    }
    ASSERT_TRUE(done);
    EXPECT_GT(granted, 4);

    ASSERT_TRUE(filter.pushImg(a.get()));
    for (granted = 0, done = false; !done && granted < 1000; ++granted) {
        {
            const test::FailingHeap heap(granted);
            done = filter.pushImg(b.get());
        }
        ASSERT_EQ(filter.bufferedFrames(), done ? 2 : 1);
    }
    ASSERT_TRUE(done);
    for (granted = 0, done = false; !done && granted < 1000; ++granted) {
        I420Img* released = nullptr;
        {
            const test::FailingHeap heap(granted);
            done = filter.filter(*out, &released);
        }
        ASSERT_TRUE(released != nullptr && filter.bufferedFrames() == 1) << "request " << granted;
        ASSERT_TRUE(filter.pushImg(released));
    }
    ASSERT_TRUE(done) << "and it works again as soon as there is memory";
}

TEST(MCTFFast, MissingMemoryIsRefusedAndForgotten) {
    checkMissingMemory<Progressive>();
    checkMissingMemory<Interlaced>();
}

TEST(MCTFFast, IsDestroyedThroughItsBaseWithFramesQueued) {
    const auto a = test::makeScene(2, 64, 64, 0);
    const auto before = test::bytesOf(*a);
    for (int kind = 0; kind < 2; ++kind) {
        std::unique_ptr<MCTFFast<I420Img>> filter;
        if (kind == 0)
            filter = std::make_unique<Progressive>();
        else
            filter = std::make_unique<Interlaced>();
        auto params = paramsOf(64, 64);
        ASSERT_TRUE(filter->allocate(params) && filter->pushImg(a.get()));
        filter.reset();
        EXPECT_EQ(test::bytesOf(*a), before);
    }
}

}  // namespace
}  // namespace Orvel
