// Products, inverses and rotations of 4 x 4 matrices.
#include "qor/texsmith/raw/matrix.h"

#include "simd/canonical_nan.h"
#include "simd/fast_rsqrt.h"
#include "simd/lanes4.h"

#include <cmath>

namespace qor::Texsmith::Raw {
namespace {

using Simd::Float4;

template <typename Operation> Matrix eachRow(Operation operation) {
    Matrix result;
    for (unsigned row = 0; row < 4; ++row) {
        Simd::store(&result[row], Simd::canonical<Simd::Lanes4>(operation(row)));
    }
    return result;
}

Float4 rowOf(const Matrix& matrix, unsigned row) { return Simd::loadFloats(&matrix[row]); }

Float4 multiply(const Matrix& matrix, const VectorFloat& v) {
    return ((rowOf(matrix, 0) * Simd::splat(v[0]) + rowOf(matrix, 1) * Simd::splat(v[1])) +
            rowOf(matrix, 2) * Simd::splat(v[2])) +
           rowOf(matrix, 3) * Simd::splat(v[3]);
}

// The determinant of the 2 x 2 matrix in two rows and two columns.
double minorOf(const Matrix& m, unsigned row, unsigned a, unsigned b) {
    return double{m[row][a]} * m[row + 1][b] - double{m[row][b]} * m[row + 1][a];
}

// The minors of two neighbouring rows, by pairs of columns.
struct Minors {
    double m_01, m_02, m_03, m_12, m_13, m_23;

    Minors(const Matrix& m, unsigned row)
        : m_01(minorOf(m, row, 0, 1)), m_02(minorOf(m, row, 0, 2)), m_03(minorOf(m, row, 0, 3)),
          m_12(minorOf(m, row, 1, 2)), m_13(minorOf(m, row, 1, 3)), m_23(minorOf(m, row, 2, 3)) {}

    // The cofactors of a row whose three companions are these two and `other`, which goes with them.
    void cofactors(const VectorFloat& other, double sign, double (&column)[4]) const {
        column[0] = sign * (other[1] * m_23 - other[2] * m_13 + other[3] * m_12);
        column[1] = sign * (-other[0] * m_23 + other[2] * m_03 - other[3] * m_02);
        column[2] = sign * (other[0] * m_13 - other[1] * m_03 + other[3] * m_01);
        column[3] = sign * (-other[0] * m_12 + other[1] * m_02 - other[2] * m_01);
    }
};

} // namespace

Matrix MatrixTranspose(const Matrix& matrix) {
    Matrix result;
    for (unsigned row = 0; row < 4; ++row) {
        for (unsigned column = 0; column < 4; ++column) {
            result[row][column] = matrix[column][row];
        }
    }
    return result;
}

// The adjugate over the determinant, in double precision.
Matrix MatrixInverse(const Matrix& matrix) {
    const Minors upper(matrix, 0), lower(matrix, 2);
    double cofactors[4][4]; // row k: those of row k of the matrix
    lower.cofactors(matrix[1], 1, cofactors[0]);
    lower.cofactors(matrix[0], -1, cofactors[1]);
    upper.cofactors(matrix[3], 1, cofactors[2]);
    upper.cofactors(matrix[2], -1, cofactors[3]);
    double determinant = 0;
    for (unsigned column = 0; column < 4; ++column) {
        determinant += matrix[0][column] * cofactors[0][column];
    }
    Matrix result;
    for (unsigned row = 0; row < 4; ++row) {
        for (unsigned column = 0; column < 4; ++column) {
            result[row][column] = static_cast<float>(cofactors[column][row] / determinant);
        }
    }
    return result;
}

Matrix MatrixRotation(const VectorFloat& axis, float angle) {
    const float scale = Simd::fastRsqrt((axis[0] * axis[0] + axis[1] * axis[1]) + axis[2] * axis[2]);
    const float x = axis[0] * scale, y = axis[1] * scale, z = axis[2] * scale;
    const float s = std::sin(angle), c = std::cos(angle), rest = 1.0f - c;
    return {{{{rest * x * x + c, rest * x * y + s * z, rest * x * z - s * y, 0}},
             {{rest * x * y - s * z, rest * y * y + c, rest * y * z + s * x, 0}},
             {{rest * x * z + s * y, rest * y * z - s * x, rest * z * z + c, 0}},
             {{0, 0, 0, 1}}}};
}

Matrix MatrixScale(const VectorFloat& scale) {
    return {{{{scale[0], 0, 0, 0}}, {{0, scale[1], 0, 0}}, {{0, 0, scale[2], 0}}, {{0, 0, 0, scale[3]}}}};
}

bool operator==(const Matrix& a, const Matrix& b) {
    bool equal = true;
    for (unsigned element = 0; element < 16; ++element) {
        equal = equal && a[element / 4][element % 4] == b[element / 4][element % 4];
    }
    return equal;
}

Matrix operator+(const Matrix& a, const Matrix& b) {
    return eachRow([&](unsigned row) { return rowOf(a, row) + rowOf(b, row); });
}

Matrix operator-(const Matrix& a, const Matrix& b) {
    return eachRow([&](unsigned row) { return rowOf(a, row) - rowOf(b, row); });
}

Matrix operator*(const Matrix& a, const Matrix& b) {
    return eachRow([&](unsigned row) { return multiply(b, a[row]); });
}

Matrix operator*(const Matrix& matrix, float scalar) {
    return eachRow([&](unsigned row) { return rowOf(matrix, row) * Simd::splat(scalar); });
}

VectorFloat operator*(const Matrix& matrix, const VectorFloat& vector) {
    VectorFloat result;
    Simd::store(&result, Simd::canonical<Simd::Lanes4>(multiply(matrix, vector)));
    return result;
}

} // namespace qor::Texsmith::Raw
