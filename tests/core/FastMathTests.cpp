#include "kernels/FastMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace fm = velmora::fastmath;

// The kernel's polynomial functions against the library's, in double, over the
// ranges the projection feeds them (and well beyond).

TEST(FastMath, InverseTrigonometryStaysWithinTwoMicroradians) {
    double worst = 0.0;
    for (double a = -3.14159; a < 3.14159; a += 0.0007)
        for (double r : {1e-6, 0.3, 1.0, 250.0}) {
            const float y = static_cast<float>(r * std::sin(a));
            const float x = static_cast<float>(r * std::cos(a));
            worst = std::max(worst, std::abs(fm::atan2(y, x) - std::atan2(double(y), double(x))));
        }
    for (double x = -50.0; x < 50.0; x += 0.001) {
        const float xf = static_cast<float>(x);
        worst = std::max(worst, std::abs(fm::atan(xf) - std::atan(double(xf))));
    }
    for (double x = -1.0; x <= 1.0; x += 0.0001) {
        const float xf = static_cast<float>(x);
        worst = std::max(worst, std::abs(fm::asin(xf) - std::asin(double(xf))));
    }
    EXPECT_LT(worst, 2e-6);
    EXPECT_EQ(fm::atan2(0.f, 0.f), 0.f);
}

TEST(FastMath, SineAndCosineStayWithinAMillionth) {
    double worst = 0.0;
    for (double x = -400.0; x < 400.0; x += 0.0007) {
        const float xf = static_cast<float>(x);
        float s = 0.f;
        float c = 0.f;
        fm::sincos(xf, s, c);
        worst = std::max(
            {worst, std::abs(s - std::sin(double(xf))), std::abs(c - std::cos(double(xf)))});
    }
    EXPECT_LT(worst, 1e-6);
}

TEST(FastMath, PowerKeepsSixDigitsOverTheConvexityRange) {
    // The bend raises (1 + s^2) / 2 >= 1/2 to exponents between about -0.5 and 13.5.
    double worstLog = 0.0;
    for (double x = 0.5; x < 1e7; x *= 1.0007) {
        const float xf = static_cast<float>(x);
        worstLog = std::max(worstLog, std::abs(fm::log2(xf) - std::log2(double(xf))));
    }
    EXPECT_LT(worstLog, 2e-6); // a float's rounding at log2 ~ 23
    double worstPow = 0.0;
    for (double x = 0.5; x < 1e4; x *= 1.003)
        for (double y = -0.5; y < 13.5; y += 0.07) {
            const double exact = std::pow(double(float(x)), double(float(y)));
            if (exact < 1e30)
                worstPow = std::max(worstPow, std::abs(fm::pow(float(x), float(y)) / exact - 1.0));
        }
    EXPECT_LT(worstPow, 1e-5);
    EXPECT_EQ(fm::exp2(3.f), 8.f);
    EXPECT_EQ(fm::exp2(0.f), 1.f);
}

TEST(FastMath, ClampingFunctionsGiveFiniteValuesForNonFiniteArguments) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    for (float x : {nan, inf, -inf}) {
        float s = 0.f;
        float c = 0.f;
        fm::sincos(x, s, c);
        EXPECT_TRUE(std::isfinite(s) && std::isfinite(c)) << x;
        EXPECT_TRUE(std::isfinite(fm::log2(x))) << x;
        EXPECT_TRUE(std::isfinite(fm::exp2(x))) << x;
        EXPECT_TRUE(std::isfinite(fm::asin(x))) << x;
    }
}
