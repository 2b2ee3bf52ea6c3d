// Numbers and places that may differ by rounding.
#pragma once

#include <Imath/ImathVec.h>
#include <gtest/gtest.h>

#include <numbers>

inline constexpr float kPi = std::numbers::pi_v<float>;

/// How far apart numbers may be, of models that are some units large.
inline constexpr float kNear = 1e-5f;

inline void ExpectNear(const Imath::V3f& value, const Imath::V3f& expected) {
  EXPECT_TRUE(value.equalWithAbsError(expected, kNear)) << value << " is not " << expected;
}
