// DGEMV against plain loops, and the arguments that must fail before they reach the BLAS error handler.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include "base/Blas.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using testsupport::approx;
using testsupport::raisesFailure;

constexpr double kGap = -777.0;

// Position of logical entry i of a vector of n entries with increment inc, as BLAS walks it: from the front for a
// positive increment, from the back for a negative one.
std::size_t slot(std::int32_t i, std::int32_t n, std::int32_t inc) {
  return static_cast<std::size_t>(inc > 0 ? i * inc : (n - 1 - i) * -inc);
}

struct Case {
  std::int32_t m, n, lda, incx, incy;
  double alpha, beta;
};

// Builds A (m x n in an lda-tall block, gaps elsewhere), x and y with distinct values, runs DGEMV, and compares y
// with y := alpha A x + beta y computed by loops; the gaps of y must stay as they were.
void checkAgainstLoops(const Case& c) {
  SCOPED_TRACE(testing::Message() << "m=" << c.m << " n=" << c.n << " lda=" << c.lda << " incx=" << c.incx
                                  << " incy=" << c.incy << " alpha=" << c.alpha << " beta=" << c.beta);
  std::vector<double> a(static_cast<std::size_t>(c.lda * c.n), kGap);
  for (std::int32_t j = 0; j < c.n; ++j)
    for (std::int32_t i = 0; i < c.m; ++i) a[static_cast<std::size_t>(i + j * c.lda)] = 0.5 * (i + 1) - 0.25 * j * j + 1.0;
  std::vector<double> x(static_cast<std::size_t>(1 + (c.n - 1) * std::abs(c.incx)), kGap);
  for (std::int32_t j = 0; j < c.n; ++j) x[slot(j, c.n, c.incx)] = 2.0 - 0.5 * j;
  std::vector<double> y(static_cast<std::size_t>(1 + (c.m - 1) * std::abs(c.incy)), kGap);
  for (std::int32_t i = 0; i < c.m; ++i) y[slot(i, c.m, c.incy)] = 3.0 * i - 4.0;

  std::vector<double> expected = y;
  for (std::int32_t i = 0; i < c.m; ++i) {
    double sum = 0.0;
    for (std::int32_t j = 0; j < c.n; ++j) sum += a[static_cast<std::size_t>(i + j * c.lda)] * x[slot(j, c.n, c.incx)];
    const std::size_t k = slot(i, c.m, c.incy);
    expected[k] = c.alpha * sum + c.beta * y[k];
  }

  const std::vector<double> aBefore = a, xBefore = x;
  DGEMV(c.m, c.n, c.alpha, a.data(), c.lda, x.data(), c.incx, c.beta, y.data(), c.incy);
  for (std::size_t k = 0; k < y.size(); ++k) EXPECT_TRUE(approx(y[k], expected[k], 1e-12, 1e-13)) << "y slot " << k;
  EXPECT_EQ(a, aBefore);
  EXPECT_EQ(x, xBefore);
}

TEST(Blas, RecoveryFormAlphaOneBetaZero) { checkAgainstLoops({4, 3, 4, 1, 1, 1.0, 0.0}); }

TEST(Blas, RemoveTheReferenceStateAlphaMinusOneBetaOne) { checkAgainstLoops({5, 2, 5, 1, 1, -1.0, 1.0}); }

TEST(Blas, AddAVelocityTermAlphaOneBetaOne) { checkAgainstLoops({3, 6, 3, 1, 1, 1.0, 1.0}); }

TEST(Blas, LeadingDimensionLargerThanTheRows) {
  checkAgainstLoops({3, 4, 7, 1, 1, 1.0, 0.0});
  checkAgainstLoops({1, 5, 4, 1, 1, -1.0, 1.0});
}

TEST(Blas, OtherAlphaAndBeta) {
  checkAgainstLoops({4, 4, 6, 1, 1, 2.5, -0.5});
  checkAgainstLoops({4, 3, 4, 1, 1, 0.0, 2.0});   // only beta y
  checkAgainstLoops({4, 3, 4, 1, 1, -0.75, 0.0});
}

TEST(Blas, VectorStrides) {
  checkAgainstLoops({4, 3, 5, 2, 1, 1.0, 0.0});
  checkAgainstLoops({4, 3, 4, 1, 3, 1.0, 1.0});
  checkAgainstLoops({5, 4, 8, 3, 2, -1.0, 1.0});
}

TEST(Blas, NegativeIncrementsWalkFromTheBack) {
  checkAgainstLoops({4, 3, 4, -1, 1, 1.0, 0.0});
  checkAgainstLoops({3, 5, 3, 2, -2, 1.5, 1.0});
}

TEST(Blas, SingleRowAndSingleColumn) {
  checkAgainstLoops({1, 1, 1, 1, 1, 1.0, 0.0});
  checkAgainstLoops({6, 1, 6, 1, 1, 1.0, 1.0});
  checkAgainstLoops({1, 6, 1, 1, 1, -1.0, 1.0});
}

TEST(Blas, BetaZeroIgnoresWhatYHeld) {
  // A result vector fresh from the allocator may hold anything; beta 0 must not carry it into the result.
  const double a[4] = {1, 2, 3, 4};  // 2 x 2
  const double x[2] = {1, 1};
  double y[2] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
  DGEMV(2, 2, 1.0, a, 2, x, 1, 0.0, y, 1);
  EXPECT_TRUE(approx(y[0], 1 + 3));
  EXPECT_TRUE(approx(y[1], 2 + 4));
}

TEST(Blas, NoRowsOrNoColumnsLeaveYAlone) {
  const double a[4] = {1, 2, 3, 4};
  const double x[2] = {1, 1};
  double y[2] = {5, 6};
  DGEMV(2, 0, 1.0, a, 2, x, 1, 2.0, y, 1);
  EXPECT_EQ(y[0], 5);
  EXPECT_EQ(y[1], 6);
  DGEMV(0, 2, 1.0, a, 1, x, 1, 0.0, y, 1);
  EXPECT_EQ(y[0], 5);
  EXPECT_EQ(y[1], 6);
  DGEMV(0, 0, 1.0, nullptr, 1, nullptr, 1, 0.0, nullptr, 1);
}

TEST(Blas, BadArgumentsFailWithTheIntegerException) {
  const double a[12] = {};
  const double x[4] = {};
  double y[4] = {1, 2, 3, 4};
  EXPECT_TRUE(raisesFailure([&] { DGEMV(3, 2, 1.0, a, 2, x, 1, 0.0, y, 1); }));   // lda < m
  EXPECT_TRUE(raisesFailure([&] { DGEMV(0, 2, 1.0, a, 0, x, 1, 0.0, y, 1); }));   // lda < 1
  EXPECT_TRUE(raisesFailure([&] { DGEMV(-1, 2, 1.0, a, 3, x, 1, 0.0, y, 1); }));  // negative m
  EXPECT_TRUE(raisesFailure([&] { DGEMV(2, -3, 1.0, a, 3, x, 1, 0.0, y, 1); }));  // negative n
  EXPECT_TRUE(raisesFailure([&] { DGEMV(2, 2, 1.0, a, 2, x, 0, 0.0, y, 1); }));   // incx 0
  EXPECT_TRUE(raisesFailure([&] { DGEMV(2, 2, 1.0, a, 2, x, 1, 0.0, y, 0); }));   // incy 0
  // None of them touched y.
  EXPECT_EQ(y[0], 1);
  EXPECT_EQ(y[1], 2);
  EXPECT_EQ(y[2], 3);
  EXPECT_EQ(y[3], 4);
}

}  // namespace
}  // namespace Zarn
