#include "model/Blas.h"

#include "model/Failure.h"

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

}  // namespace Zarn
