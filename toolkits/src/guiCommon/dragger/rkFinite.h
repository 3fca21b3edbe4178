#ifndef RK_FINITE_H
#define RK_FINITE_H

#include <osg/Matrixd>
#include <osg/Quat>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Rk {

/// True when all sixteen elements are finite (no NaN, no infinity). Poses
/// that fail this test are never handed to the host by the library.
inline bool isFinite(const osg::Matrixd& matrix)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            if (!std::isfinite(matrix(row, column)))
                return false;
    return true;
}

/// True when all three components are finite.
inline bool isFinite(const osg::Vec3d& vector)
{
    return std::isfinite(vector.x()) && std::isfinite(vector.y()) && std::isfinite(vector.z());
}

/// True when all four components are finite.
inline bool isFinite(const osg::Quat& rotation)
{
    for (int i = 0; i < 4; ++i)
        if (!std::isfinite(rotation[i]))
            return false;
    return true;
}

namespace detail {

/// True when the `count` doubles at `a` and `b` hold the same bits. Written
/// out word by word so that it inlines into a few vector compares: the
/// memories below ask it for every dragger at every event.
inline bool sameWords(const double* a, const double* b, std::size_t count)
{
    std::uint64_t difference = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t left = 0;
        std::uint64_t right = 0;
        std::memcpy(&left, a + i, sizeof left);
        std::memcpy(&right, b + i, sizeof right);
        difference |= left ^ right;
    }
    return difference == 0;
}

} // namespace detail

/// True when both matrices hold exactly the same bits. Stricter than `==`
/// (0.0 and -0.0 differ, a NaN equals itself): for memories that may only
/// reuse an answer for exactly the same inputs.
inline bool sameBits(const osg::Matrixd& a, const osg::Matrixd& b)
{
    return detail::sameWords(a.ptr(), b.ptr(), 16);
}

/// True when both vectors hold exactly the same bits (see above).
inline bool sameBits(const osg::Vec3d& a, const osg::Vec3d& b)
{
    return detail::sameWords(a.ptr(), b.ptr(), 3);
}

/// True when both rotations hold exactly the same bits (see above).
inline bool sameBits(const osg::Quat& a, const osg::Quat& b)
{
    return detail::sameWords(a._v, b._v, 4);
}

/// Stores `frame` in `stored` and its inverse in `inverse`. A frame of the
/// same bits as the stored one keeps the inverse already there, which is
/// the same: a press handled twice inverts its frame once.
inline void storeWithInverse(const osg::Matrixd& frame, osg::Matrixd& stored, osg::Matrixd& inverse)
{
    if (sameBits(frame, stored))
        return;
    stored = frame;
    inverse = osg::Matrixd::inverse(frame);
}

} // namespace Rk

#endif
