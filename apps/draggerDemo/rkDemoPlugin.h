#ifndef RK_DEMO_PLUGIN_H
#define RK_DEMO_PLUGIN_H

#include "rkPlugin.h"

#include <functional>

/// The demo's GUI plug-in: parameter 261 is the end-effector pose of the arm
/// (metres, row-vector matrix). Every write is stored and announced to the
/// listener, which moves the model.
class RkDemoPlugin : public Rk::PluginGUI
{
public:
    using PoseListener = std::function<void(const osg::Matrixd&)>;

    /// The pose the arm starts in and returns to with "Home".
    static osg::Matrixd homePose();

    RkDemoPlugin();
    void setPoseListener(PoseListener listener);

    osg::Matrixd endEffectorPose() const;
    void setEndEffectorPose(const osg::Matrixd& pose);
    /// Moves the end effector by `step` (metres, world axes).
    void jog(const osg::Vec3d& step);

protected:
    bool writeMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                          const osg::Matrixd& value) override;

private:
    PoseListener m_listener;
};

#endif
