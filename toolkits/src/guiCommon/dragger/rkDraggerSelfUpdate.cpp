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
    // The same frame has the same inverse: a press handled twice inverts once.
    const osg::Matrixd localToWorld = RootPath::localToWorld(*transform);
    if (!sameBits(localToWorld, _localToWorld)) {
        _localToWorld = localToWorld;
        _worldToLocal = osg::Matrixd::inverse(localToWorld);
    }
    return true;
}

} // namespace Rk
