// Arithmetic of 4 x 4 matrices.
//
// A matrix times a vector weighs the rows: M * v = v.x * row 0 + v.y * row 1 + v.z * row 2 + v.w * row 3, as
// Transform applies it. In that order a * b is the ordinary product of the rows, and (a * b) * v = b * (a *
// v): `a` acts first, as in composeMadd(a, b). Sums run from row 0 to row 3, without fused multiply-add, so
// that the bits are the same on every machine.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/vector_math.h"

namespace qor::Texsmith::Raw {

// Rows become columns.
QOR_TEXSMITH_API Matrix MatrixTranspose(const Matrix& matrix);
// The general inverse. Of a singular matrix: infinities and NaNs.
QOR_TEXSMITH_API Matrix MatrixInverse(const Matrix& matrix);
// By `angle` radians about X, Y and Z of `axis`, counterclockwise as seen from the axis's tip. The axis need
// not be of length one: it is scaled by a reciprocal root of 12 bits of mantissa. sin and cos are the
// run-time library's, and may differ between machines in the last bit.
QOR_TEXSMITH_API Matrix MatrixRotation(const VectorFloat& axis, float angle);
// The vector on the diagonal.
QOR_TEXSMITH_API Matrix MatrixScale(const VectorFloat& scale);

// All 16 elements, as floats are equal: a NaN is not equal to itself.
QOR_TEXSMITH_API bool operator==(const Matrix& a, const Matrix& b);
inline bool operator!=(const Matrix& a, const Matrix& b) { return !(a == b); }

QOR_TEXSMITH_API Matrix operator+(const Matrix& a, const Matrix& b);
QOR_TEXSMITH_API Matrix operator-(const Matrix& a, const Matrix& b);
QOR_TEXSMITH_API Matrix operator*(const Matrix& a, const Matrix& b);
QOR_TEXSMITH_API Matrix operator*(const Matrix& matrix, float scalar);
inline Matrix operator*(float scalar, const Matrix& matrix) { return matrix * scalar; }
QOR_TEXSMITH_API VectorFloat operator*(const Matrix& matrix, const VectorFloat& vector);

inline Matrix& operator+=(Matrix& a, const Matrix& b) { return a = a + b; }
inline Matrix& operator-=(Matrix& a, const Matrix& b) { return a = a - b; }
inline Matrix& operator*=(Matrix& a, const Matrix& b) { return a = a * b; }
inline Matrix& operator*=(Matrix& matrix, float scalar) { return matrix = matrix * scalar; }

} // namespace qor::Texsmith::Raw
