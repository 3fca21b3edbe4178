#include "rkCoordinateSystemTransformation.h"

#include <osg/Matrixd>

#include <cmath>

namespace {

// Below this cos(pitch) the yaw and roll axes coincide and only their sum
// (or difference) is defined.
const double kGimbalLockCosine = 1e-9;

// Element (row, column) of the rotation matrix in the column-vector
// convention (v' = R v); OpenSceneGraph stores its transpose.
double rotationElement(const osg::Matrixd& rowVectorMatrix, int row, int column)
{
    return rowVectorMatrix(column, row);
}

bool withinTolerance(double a, double b, double tolerance)
{
    return std::fabs(a - b) <= tolerance;
}

} // namespace

RkVector::RkVector() : m_x(0.0), m_y(0.0), m_z(0.0) {}

RkVector::RkVector(const double& x, const double& y, const double& z) : m_x(x), m_y(y), m_z(z) {}

RkOrientation::RkOrientation() : m_quat(0.0, 0.0, 0.0, 1.0) {}

void RkOrientation::get321Euler(double& yaw, double& pitch, double& roll) const
{
    const osg::Matrixd m = osg::Matrixd::rotate(m_quat);
    // atan2 rather than asin: asin loses half the digits near +-pi/2.
    const double sinPitch = -rotationElement(m, 2, 0);
    const double cosPitch = std::hypot(rotationElement(m, 0, 0), rotationElement(m, 1, 0));
    if (cosPitch < kGimbalLockCosine) {
        pitch = std::copysign(osg::PI_2, sinPitch);
        roll = 0.0;
        yaw = std::atan2(-rotationElement(m, 0, 1), rotationElement(m, 1, 1));
    } else {
        pitch = std::atan2(sinPitch, cosPitch);
        yaw = std::atan2(rotationElement(m, 1, 0), rotationElement(m, 0, 0));
        roll = std::atan2(rotationElement(m, 2, 1), rotationElement(m, 2, 2));
    }
    // atan2 may give -pi; the documented range is (-pi, pi].
    if (yaw <= -osg::PI)
        yaw = osg::PI;
    if (roll <= -osg::PI)
        roll = osg::PI;
}

void RkOrientation::setFrom321Euler(const double& yaw, const double& pitch, const double& roll)
{
    // Intrinsic Z, Y', X'' equals extrinsic X, Y, Z; osg::Quat products
    // apply the left factor first.
    m_quat =
        osg::Quat(roll, osg::X_AXIS) * osg::Quat(pitch, osg::Y_AXIS) * osg::Quat(yaw, osg::Z_AXIS);
}

void RkOrientation::setQuat(const osg::Quat& quat)
{
    const double length = quat.length();
    if (!std::isfinite(length) || length == 0.0) {
        m_quat = osg::Quat(0.0, 0.0, 0.0, 1.0);
        return;
    }
    m_quat = quat / length;
}

RkCoordinateSystemTransformation::RkCoordinateSystemTransformation() = default;

RkCoordinateSystemTransformation::RkCoordinateSystemTransformation(const RkVector& translation,
                                                                   const RkOrientation& orientation)
    : m_translation(translation), m_orientation(orientation)
{
}

bool RkCoordinateSystemTransformation::approxEq(const RkCoordinateSystemTransformation& other,
                                                double tolerance) const
{
    const RkVector& a = m_translation;
    const RkVector& b = other.m_translation;
    if (!withinTolerance(a.x(), b.x(), tolerance) || !withinTolerance(a.y(), b.y(), tolerance) ||
        !withinTolerance(a.z(), b.z(), tolerance))
        return false;
    const osg::Matrixd ra = osg::Matrixd::rotate(m_orientation.quat());
    const osg::Matrixd rb = osg::Matrixd::rotate(other.m_orientation.quat());
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            if (!withinTolerance(ra(row, column), rb(row, column), tolerance))
                return false;
    return true;
}
