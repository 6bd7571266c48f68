// The BLAS routines the library calls, declared once with their Fortran calling convention.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {
// y := alpha*op(A)*x + beta*y. Every argument is passed by address; the trailing hidden argument is the length
// of the character argument `trans`, as Fortran compilers pass it.
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy,
            std::size_t transLength);
// C := alpha*op(A)*op(B) + beta*C. Every argument by address; the two trailing hidden arguments are the lengths
// of the character arguments `transa` and `transb`.
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
            const double* beta, double* c, const int* ldc, std::size_t transaLength, std::size_t transbLength);
}

namespace Zarn {

// y := alpha * A * x + beta * y with A of m rows and n columns, column-major with leading dimension lda
// (transpose "N"). The arguments are checked first and a bad one fails the call: the BLAS error handler must
// never run, since some implementations stop the whole process from it. m or n of 0 does nothing.
void DGEMV(std::int32_t m, std::int32_t n, double alpha, const double* a, std::int32_t lda, const double* x,
           std::int32_t incx, double beta, double* y, std::int32_t incy);

// C := alpha * A * B + beta * C (transposes "N", "N") with A of m by k, B of k by n and C of m by n, each
// column-major with its own leading dimension. Checked like DGEMV: a bad argument fails the call before the
// routine is reached. m or n of 0 does nothing; k of 0 leaves beta * C.
void DGEMM(std::int32_t m, std::int32_t n, std::int32_t k, double alpha, const double* a, std::int32_t lda,
           const double* b, std::int32_t ldb, double beta, double* c, std::int32_t ldc);

}  // namespace Zarn
