#ifndef RK_DRAGGER_SELF_UPDATE_H
#define RK_DRAGGER_SELF_UPDATE_H

#include <osgManipulator/Dragger>

namespace Rk {

/// How a composite dragger moves its own matrix by its handles' motion
/// commands: osgManipulator's `DraggerTransformCallback`, with the frame at
/// the start of a motion taken by `RootPath` (the same matrix, without
/// collecting every parental path of the dragger). A press is handled twice
/// by the event loop, and each time the command's start asks for that frame.
/// Every other stage, and a transform that is gone, is the base's.
class DraggerSelfUpdate : public osgManipulator::DraggerTransformCallback
{
public:
    explicit DraggerSelfUpdate(osg::MatrixTransform* transform);

    bool receive(const osgManipulator::MotionCommand& command) override;

    // The typed overloads stay the base's (they end in the one above).
    using osgManipulator::DraggerTransformCallback::receive;

protected:
    ~DraggerSelfUpdate() override;
};

} // namespace Rk

#endif
