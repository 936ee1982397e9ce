#pragma once
#include <gtest/gtest.h>
#include <hwy/highway.h>
#include <hwy/targets.h>

namespace Orvel::test {

/// Runs each test of the suite once for every CPU target that was compiled in and that this machine can run.
/// Instantiate with ORVEL_EVERY_TARGET(Suite).
class EveryTarget : public ::testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
    void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

inline std::string targetName(const ::testing::TestParamInfo<std::int64_t>& info) {
    return hwy::TargetName(info.param);
}

}  // namespace Orvel::test

#define ORVEL_EVERY_TARGET(Suite)                                                                      \
    INSTANTIATE_TEST_SUITE_P(Targets, Suite, ::testing::ValuesIn(hwy::SupportedAndGeneratedTargets()), \
                             ::Orvel::test::targetName)
