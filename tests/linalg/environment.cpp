// The linear-algebra tests run MKL single-threaded: the machines that run the
// suite are shared, and the results must not depend on the thread count.
// DisableMKLThreading is itself an export under test; it is called once here,
// before any numerical work, as its contract asks.
#include <gtest/gtest.h>

#include "korvane/core_math.h"

namespace {

class SingleThreadedMkl : public ::testing::Environment {
public:
    void SetUp() override { DisableMKLThreading(); }
};

const auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new SingleThreadedMkl);

}  // namespace
