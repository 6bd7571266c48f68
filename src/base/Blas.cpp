#include "base/Blas.h"

#include "base/Failure.h"

namespace Zarn {

void DGEMV(std::int32_t m, std::int32_t n, double alpha, const double* a, std::int32_t lda, const double* x,
           std::int32_t incx, double beta, double* y, std::int32_t incy) {
  // The conditions under which the routine would call its error handler.
  TK_CHECK(m >= 0 && n >= 0);
  TK_CHECK(lda >= (m > 1 ? m : 1));
  TK_CHECK(incx != 0 && incy != 0);
  if (m == 0 || n == 0) return;
  TK_CHECK(a != nullptr && x != nullptr && y != nullptr);
  const char trans = 'N';
  const int im = m, in = n, ilda = lda, iincx = incx, iincy = incy;
  dgemv_(&trans, &im, &in, &alpha, a, &ilda, x, &iincx, &beta, y, &iincy, 1);
}

void DGEMM(std::int32_t m, std::int32_t n, std::int32_t k, double alpha, const double* a, std::int32_t lda,
           const double* b, std::int32_t ldb, double beta, double* c, std::int32_t ldc) {
  // The conditions under which the routine would call its error handler (no transposes: A is m by k, B k by n).
  TK_CHECK(m >= 0 && n >= 0 && k >= 0);
  TK_CHECK(lda >= (m > 1 ? m : 1));
  TK_CHECK(ldb >= (k > 1 ? k : 1));
  TK_CHECK(ldc >= (m > 1 ? m : 1));
  if (m == 0 || n == 0) return;
  TK_CHECK(c != nullptr);
  if (k == 0) {
    // No product term: C := beta * C here, since implementations differ in how they treat an empty sum.
    for (std::int64_t j = 0; j < n; ++j) {
      double* column = c + j * ldc;
      for (std::int32_t i = 0; i < m; ++i) column[i] = beta == 0.0 ? 0.0 : beta * column[i];
    }
    return;
  }
  TK_CHECK(a != nullptr && b != nullptr);
  const char trans = 'N';
  const int im = m, in = n, ik = k, ilda = lda, ildb = ldb, ildc = ldc;
  dgemm_(&trans, &trans, &im, &in, &ik, &alpha, a, &ilda, b, &ildb, &beta, c, &ildc, 1, 1);
}

}  // namespace Zarn
