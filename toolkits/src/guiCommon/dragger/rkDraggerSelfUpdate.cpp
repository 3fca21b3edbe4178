#include "rkDraggerSelfUpdate.h"

#include "rkFinite.h"
#include "rkRootPath.h"

#include <osgManipulator/Command>

namespace Rk {

DraggerSelfUpdate::DraggerSelfUpdate(osg::MatrixTransform* transform)
    : DraggerTransformCallback(transform)
{
}

DraggerSelfUpdate::~DraggerSelfUpdate() = default;

bool DraggerSelfUpdate::receive(const osgManipulator::MotionCommand& command)
{
    if (command.getStage() != osgManipulator::MotionCommand::START || !_transform.valid())
        return DraggerTransformCallback::receive(command);
    osg::MatrixTransform* transform = _transform.get();
    _startMotionMatrix = transform->getMatrix();
    storeWithInverse(RootPath::localToWorld(*transform), _localToWorld, _worldToLocal);
    return true;
}

} // namespace Rk
