#ifndef RK_DEMO_ARM_H
#define RK_DEMO_ARM_H

#include <osg/Group>
#include <osg/MatrixTransform>
#include <osg/ref_ptr>

/// The demo's scene: a ground grid and a two-link arm on a pedestal whose
/// tool sits at the end-effector pose. The links follow the tool by a simple
/// planar two-link solution; out of reach, the arm points at the tool and the
/// tool stays where the pose puts it.
class RkDemoArm
{
public:
    RkDemoArm();

    /// Grid and arm, to be added to the scene.
    osg::Node* node() const { return m_root.get(); }
    /// Places the tool at `pose` (world, metres) and bends the links to it.
    void setEndEffectorPose(const osg::Matrixd& pose);

private:
    osg::ref_ptr<osg::Group> m_root;
    osg::ref_ptr<osg::MatrixTransform> m_upperArm;
    osg::ref_ptr<osg::MatrixTransform> m_forearm;
    osg::ref_ptr<osg::MatrixTransform> m_tool;
};

#endif
