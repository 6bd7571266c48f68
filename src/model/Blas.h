// The one BLAS routine the library calls, declared once with its Fortran calling convention.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {
// y := alpha*op(A)*x + beta*y. Every argument is passed by address; the trailing hidden argument is the length
// of the character argument `trans`, as Fortran compilers pass it.
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy, std::size_t transLength);
}

namespace Zarn {

// y := alpha * A * x + beta * y with A of m rows and n columns, column-major with leading dimension lda
// (transpose "N"). The arguments are checked first and a bad one fails the call: the BLAS error handler must never
// run, since some implementations stop the whole process from it. m or n of 0 does nothing.
void DGEMV(std::int32_t m, std::int32_t n, double alpha, const double* a, std::int32_t lda, const double* x,
           std::int32_t incx, double beta, double* y, std::int32_t incy);

}  // namespace Zarn
