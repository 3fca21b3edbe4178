#include "rkDemoPlugin.h"

osg::Matrixd RkDemoPlugin::homePose()
{
    return osg::Matrixd::translate(0.5, 0.0, 0.6);
}

RkDemoPlugin::RkDemoPlugin()
{
    setEndEffectorPose(homePose());
}

void RkDemoPlugin::setPoseListener(PoseListener listener)
{
    m_listener = std::move(listener);
    if (m_listener)
        m_listener(endEffectorPose());
}

osg::Matrixd RkDemoPlugin::endEffectorPose() const
{
    return param<Rk::PARAM_END_EFFECTOR_POSE, osg::Matrixd>();
}

void RkDemoPlugin::setEndEffectorPose(const osg::Matrixd& pose)
{
    setParam<Rk::PARAM_END_EFFECTOR_POSE, osg::Matrixd>(pose);
}

void RkDemoPlugin::jog(const osg::Vec3d& step)
{
    osg::Matrixd pose = endEffectorPose();
    pose.setTrans(pose.getTrans() + step);
    setEndEffectorPose(pose);
}

bool RkDemoPlugin::writeMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                                    const osg::Matrixd& value)
{
    const bool stored = Rk::PluginGUI::writeMatrixParam(id, i, j, value);
    if (id == Rk::PARAM_END_EFFECTOR_POSE && m_listener)
        m_listener(value);
    return stored;
}
