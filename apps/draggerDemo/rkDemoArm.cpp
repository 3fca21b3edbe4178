#include "rkDemoArm.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/Material>
#include <osg/ShapeDrawable>

#include <algorithm>
#include <cmath>

namespace {

const osg::Vec3d kShoulder(0.0, 0.0, 0.45); // top of the pedestal
const double kUpperArmLength = 0.45;
const double kForearmLength = 0.45;
const double kLinkRadius = 0.035;
const int kGridHalfCells = 10;
const double kGridCell = 0.1;

osg::Geode* solid(osg::Shape* shape, const osg::Vec4& colour)
{
    osg::ref_ptr<osg::ShapeDrawable> drawable = new osg::ShapeDrawable(shape);
    drawable->setColor(colour);
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(drawable.get());
    return geode.release();
}

osg::Geode* grid()
{
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    const double extent = kGridHalfCells * kGridCell;
    for (int i = -kGridHalfCells; i <= kGridHalfCells; ++i) {
        const double at = i * kGridCell;
        vertices->push_back(osg::Vec3(at, -extent, 0));
        vertices->push_back(osg::Vec3(at, extent, 0));
        vertices->push_back(osg::Vec3(-extent, at, 0));
        vertices->push_back(osg::Vec3(extent, at, 0));
    }
    osg::ref_ptr<osg::Geometry> lines = new osg::Geometry;
    lines->setVertexArray(vertices.get());
    osg::ref_ptr<osg::Vec4Array> colours = new osg::Vec4Array;
    colours->push_back(osg::Vec4(0.55f, 0.58f, 0.62f, 1.0f));
    lines->setColorArray(colours.get(), osg::Array::BIND_OVERALL);
    lines->addPrimitiveSet(new osg::DrawArrays(GL_LINES, 0, vertices->size()));
    lines->getOrCreateStateSet()->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(lines.get());
    return geode.release();
}

// A link of `length` along local +Z from the transform's origin.
osg::MatrixTransform* link(double length, const osg::Vec4& colour)
{
    osg::ref_ptr<osg::MatrixTransform> transform = new osg::MatrixTransform;
    transform->addChild(
        solid(new osg::Cylinder(osg::Vec3(0, 0, length / 2), kLinkRadius, length), colour));
    transform->addChild(solid(new osg::Sphere(osg::Vec3(), kLinkRadius * 1.4), colour));
    return transform.release();
}

osg::Matrixd placeLink(const osg::Vec3d& from, const osg::Vec3d& to)
{
    osg::Matrixd placement;
    placement.makeRotate(osg::Vec3d(0, 0, 1), to - from);
    placement.setTrans(from);
    return placement;
}

} // namespace

RkDemoArm::RkDemoArm() : m_root(new osg::Group)
{
    const osg::Vec4 steel(0.72f, 0.74f, 0.78f, 1.0f);
    const osg::Vec4 orange(0.95f, 0.55f, 0.15f, 1.0f);
    m_root->addChild(grid());
    m_root->addChild(
        solid(new osg::Cylinder(osg::Vec3(0, 0, kShoulder.z() / 2), 0.09f, kShoulder.z()), steel));
    m_upperArm = link(kUpperArmLength, orange);
    m_forearm = link(kForearmLength, orange);
    m_tool = new osg::MatrixTransform;
    m_tool->addChild(solid(new osg::Box(osg::Vec3(0, 0, -0.04f), 0.09f, 0.05f, 0.03f), steel));
    m_tool->addChild(solid(new osg::Box(osg::Vec3(0.03f, 0, 0.0f), 0.015f, 0.04f, 0.06f), steel));
    m_tool->addChild(solid(new osg::Box(osg::Vec3(-0.03f, 0, 0.0f), 0.015f, 0.04f, 0.06f), steel));
    m_root->addChild(m_upperArm.get());
    m_root->addChild(m_forearm.get());
    m_root->addChild(m_tool.get());
}

void RkDemoArm::setEndEffectorPose(const osg::Matrixd& pose)
{
    m_tool->setMatrix(pose);
    // The wrist sits behind the tool, along its local -Z.
    const osg::Vec3d wrist = osg::Vec3d(0, 0, -0.06) * pose;
    const osg::Vec3d reach = wrist - kShoulder;
    const double distance =
        std::clamp(reach.length(), 1e-6, kUpperArmLength + kForearmLength - 1e-6);
    // Elbow from the law of cosines, bent upwards in the plane of Z and the reach.
    const double along = (kUpperArmLength * kUpperArmLength - kForearmLength * kForearmLength +
                          distance * distance) /
                         (2.0 * distance);
    const double up = std::sqrt(std::max(0.0, kUpperArmLength * kUpperArmLength - along * along));
    osg::Vec3d direction = reach;
    direction.normalize();
    osg::Vec3d bend = osg::Vec3d(0, 0, 1) - direction * direction.z();
    if (bend.length2() < 1e-12)
        bend = osg::Vec3d(1, 0, 0);
    bend.normalize();
    const osg::Vec3d elbow = kShoulder + direction * along + bend * up;
    m_upperArm->setMatrix(placeLink(kShoulder, elbow));
    // Out of reach the forearm stretches so that the arm still meets the tool.
    const double forearmLength = (wrist - elbow).length();
    m_forearm->setMatrix(osg::Matrixd::scale(1, 1, forearmLength / kForearmLength) *
                         placeLink(elbow, wrist));
}
