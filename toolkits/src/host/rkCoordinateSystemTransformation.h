#ifndef RK_COORDINATE_SYSTEM_TRANSFORMATION_H
#define RK_COORDINATE_SYSTEM_TRANSFORMATION_H

#include <QMetaType>
#include <osg/Quat>

/// A position or displacement in metres (the host's length unit), x, y, z.
class RkVector
{
public:
    RkVector(); ///< (0, 0, 0)
    RkVector(const double& x, const double& y, const double& z);

    double x() const { return m_x; }
    double y() const { return m_y; }
    double z() const { return m_z; }

private:
    double m_x, m_y, m_z;
};

/// A rotation; the default is the identity.
///
/// Angles follow the 3-2-1 Euler sequence, in radians: a turn `yaw` about Z,
/// then `pitch` about the new Y, then `roll` about the new X.
class RkOrientation
{
public:
    RkOrientation(); ///< identity

    /// The angles of this rotation: pitch in [-pi/2, pi/2], yaw and roll in
    /// (-pi, pi]. At gimbal lock (pitch +-pi/2) roll is 0 and the whole turn
    /// about Z goes into yaw.
    void get321Euler(double& yaw, double& pitch, double& roll) const;
    /// Sets the rotation from any three angles (no range is required).
    void setFrom321Euler(const double& yaw, const double& pitch, const double& roll);

    /// The rotation as an OpenSceneGraph quaternion (unit length).
    const osg::Quat& quat() const { return m_quat; }
    /// Sets the rotation from a quaternion; a non-unit one is normalised, a
    /// zero or non-finite one gives the identity.
    void setQuat(const osg::Quat& quat);

private:
    osg::Quat m_quat;
};

/// A pose: an orientation followed by a translation. The default is the identity.
class RkCoordinateSystemTransformation
{
public:
    RkCoordinateSystemTransformation();
    RkCoordinateSystemTransformation(const RkVector& translation, const RkOrientation& orientation);

    const RkVector& translation() const { return m_translation; }
    const RkOrientation& orientation() const { return m_orientation; }
    void setTranslation(const RkVector& translation) { m_translation = translation; }
    void setOrientation(const RkOrientation& orientation) { m_orientation = orientation; }

    /// True when every translation component differs by at most `tolerance`
    /// and every element of the two 3x3 rotation matrices differs by at most
    /// `tolerance`. Any NaN makes the poses differ.
    bool approxEq(const RkCoordinateSystemTransformation& other, double tolerance) const;

private:
    RkVector m_translation;
    RkOrientation m_orientation;
};

Q_DECLARE_METATYPE(RkCoordinateSystemTransformation)

#endif
