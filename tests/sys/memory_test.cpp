#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "orvel/sys/aligned_mem.h"
#include "orvel/sys/external_mem.h"

namespace OrvelSys {
namespace {

using Shadow = std::unique_ptr<IAlignedMem>;

TEST(AlignedMem, AllocatesAlignedMemoryOrIsEmpty) {
    AlignedMem mem;
    for (int alignment : {1, 4, 32, 4096})
        for (unsigned size : {1u, 31u, 100000u}) {
            ASSERT_TRUE(mem.allocate(size, alignment));
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(mem.getBase()) % unsigned(alignment), 0u);
            EXPECT_TRUE(mem.getSize() == size && mem.getUseCount() == 1 && mem.data() == mem.getBase());
            std::memset(mem.data(), 1, size);
            EXPECT_TRUE(mem.setOffset(1));
        }
    for (int alignment : {0, 3, -32}) {
        ASSERT_TRUE(mem.allocate(8, 32));
        EXPECT_FALSE(mem.allocate(8, alignment)) << alignment;
        EXPECT_TRUE(mem.getSize() == 0 && mem.data() == nullptr && mem.getUseCount() == 0);
    }
    int mine = 0;
    EXPECT_FALSE(mem.setMem(&mine, sizeof mine));
    EXPECT_TRUE(mem.deallocate());
    EXPECT_TRUE(mem.deallocate());
}

TEST(AlignedMem, TheLastUserFreesTheMemory) {
    auto first = std::make_unique<AlignedMem>();
    ASSERT_TRUE(first->allocate(64, 32));
    Shadow second(first->shadowCopy()), third(second->shadowCopy());
    EXPECT_EQ(first->getUseCount(), 3);
    std::memset(first->data(), 7, 64);
    first.reset();
    second->deallocate();
    EXPECT_EQ(second->getUseCount(), 0);
    EXPECT_EQ(third->getUseCount(), 1);
    EXPECT_EQ(third->data()[63], 7);
    ASSERT_TRUE(third->allocate(128, 32)) << "a shadow may take memory of its own";
    EXPECT_EQ(third->getSize(), 128u);
    EXPECT_EQ(Shadow(AlignedMem().shadowCopy())->getSize(), 0u);
}

/// Offsets count from where the view's source stood and stay inside the block.
void expectOffsetsRelativeToTheSource(IAlignedMem& mem) {
    ASSERT_EQ(mem.getSize(), 100u);
    ASSERT_TRUE(mem.setOffset(40));
    Shadow view(mem.shadowCopy());
    EXPECT_EQ(view->getOffset(), 40);
    ASSERT_TRUE(view->setOffset(10));
    EXPECT_EQ(view->data(), mem.getBase() + 50);
    Shadow inner(view->shadowCopy());
    ASSERT_TRUE(inner->setOffset(5));
    EXPECT_EQ(inner->getOffset(), 55);
    for (int bad : {51, -51, INT_MAX, INT_MIN}) EXPECT_FALSE(inner->setOffset(bad)) << bad;
    EXPECT_EQ(inner->getOffset(), 55) << "a refused offset moved the view";
    EXPECT_TRUE(inner->setOffset(-50));
    EXPECT_EQ(inner->data(), mem.getBase());
    inner->resetOffset();
    EXPECT_EQ(inner->getOffset(), 50);
    ASSERT_TRUE(mem.setOffset(0));
    EXPECT_EQ(view->getOffset(), 50) << "a view stays when its source moves";
}

TEST(AlignedMem, OffsetsCountFromTheViewItWasMadeFrom) {
    AlignedMem mem;
    ASSERT_TRUE(mem.allocate(100, 32));
    expectOffsetsRelativeToTheSource(mem);
    ASSERT_TRUE(mem.setOffset(9));
    ASSERT_TRUE(mem.allocate(50, 32));
    EXPECT_EQ(mem.getOffset(), 0);
}

TEST(ExternalMem, WrapsTheCallersMemory) {
    std::uint8_t bytes[100] = {};
    ExternalMem mem;
    EXPECT_FALSE(mem.setMem(nullptr, 100));
    ASSERT_TRUE(mem.setMem(bytes, 100));
    expectOffsetsRelativeToTheSource(mem);
    EXPECT_FALSE(mem.allocate(10, 32));
    EXPECT_FALSE(mem.lock() || mem.unlock());
    EXPECT_EQ(mem.data(), bytes) << "a refused operation changed it";
    EXPECT_EQ(mem.getUseCount(), 0);
    Shadow view(mem.shadowCopy());
    EXPECT_TRUE(mem.deallocate());
    EXPECT_TRUE(mem.getSize() == 0 && mem.data() == nullptr);
    EXPECT_EQ(view->data(), bytes);
}

TEST(AlignedMem, ThreadsMayShareABlock) {
    AlignedMem mem;
    ASSERT_TRUE(mem.allocate(4, 32));
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t, mine = Shadow(mem.shadowCopy())] {
                mine->data()[t] = std::uint8_t(t + 1);
                for (int i = 0; i < 2000; ++i) Shadow(mine->shadowCopy())->deallocate();
            });
    }
    EXPECT_EQ(mem.getUseCount(), 1);
    EXPECT_EQ(mem.data()[3], 4);
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they disable pinning
long pinnedKiB() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == "VmLck:") {
            long amount = -1;
            status >> amount;
            return amount;
        }
    return -1;
}

TEST(AlignedMem, PinsUntilUnlockedOrFreed) {
    AlignedMem mem;
    EXPECT_TRUE(mem.lock() && mem.unlock()) << "nothing to pin";
    const long before = pinnedKiB();
    ASSERT_TRUE(mem.allocate(1 << 14, 32));
    EXPECT_TRUE(mem.unlock()) << "not pinned";
    if (!mem.lock()) GTEST_SKIP() << "this account may not pin 16 KiB";
    EXPECT_GT(pinnedKiB(), before);
    EXPECT_TRUE(mem.unlock());
    EXPECT_EQ(pinnedKiB(), before);
    ASSERT_TRUE(mem.lock());
    Shadow view(mem.shadowCopy());
    mem.deallocate();
    EXPECT_GT(pinnedKiB(), before);
    view->deallocate();
    EXPECT_EQ(pinnedKiB(), before);
}
#endif

}  // namespace
}  // namespace OrvelSys
