#include "rkPoseHistory.h"

#include "rkDraggerDlg.h"
#include "rkFinite.h"
#include "rkFrameDragger.h"
#include "rkPoseCommand.h"
#include "rkRotateDragger.h"
#include "rkThreeAxisDragger.h"
#include "rkTranslateDragger.h"

#include <QTimer>
#include <QUndoStack>
#include <osg/NodeCallback>
#include <osgGA/EventVisitor>

#include <cmath>
#include <utility>

namespace Rk {

namespace {

const double kMillimetresPerMetre = 1000.0;

bool samePose(const osg::Matrixd& a, const osg::Matrixd& b)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            if (std::abs(a(row, column) - b(row, column)) > PoseHistory::SAME_POSE_TOLERANCE)
                return false;
    return true;
}

bool carriesPress(osg::NodeVisitor* visitor)
{
    osgGA::EventVisitor* eventVisitor = visitor ? visitor->asEventVisitor() : nullptr;
    if (!eventVisitor)
        return false;
    for (const osg::ref_ptr<osgGA::Event>& event : eventVisitor->getEvents()) {
        const osgGA::GUIEventAdapter* adapter = event->asGUIEventAdapter();
        if (adapter && adapter->getEventType() == osgGA::GUIEventAdapter::PUSH)
            return true;
    }
    return false;
}

// The dragger's pose that goes with a receiver pose: the receiver's rotation
// is the dragger's times the alignment rotation, the translations agree.
osg::Matrixd inDraggerTerms(const osg::Matrixd& receiverPose, const osg::Quat& alignment)
{
    osg::Matrixd pose;
    pose.makeRotate(receiverPose.getRotate() * alignment.inverse());
    pose.setTrans(receiverPose.getTrans());
    return pose;
}

QString axisName(Composite3DDragger::AxisEnum axis)
{
    static const char* const kNames[] = {"X", "Y", "Z"};
    return QString::fromLatin1(kNames[axis]);
}

// The plane of a plane handle, named by the two axes in it.
QString planeName(Composite3DDragger::AxisEnum normal)
{
    static const char* const kNames[] = {"YZ", "ZX", "XY"};
    return QString::fromLatin1(kNames[normal]);
}

// The signed turn of a frame dragger's view ring in its last drag.
double viewRingRadians(const Composite3DDragger& dragger)
{
    const auto* frame = dynamic_cast<const FrameDragger*>(&dragger);
    return frame ? frame->commandValueOfDrag() : 0.0;
}

// One decimal with its sign, never "-0.0".
QString signedAmount(double value)
{
    const double rounded = std::round(value * 10.0) / 10.0;
    return QString::asprintf("%+.1f", rounded == 0.0 ? 0.0 : rounded);
}

// The same turn as an angle from -180 to 180 degrees.
double shortestDegrees(double radians)
{
    return osg::RadiansToDegrees(std::remainder(radians, 2.0 * osg::PI));
}

} // namespace

/// Tells the history what a traversal did to the dragger's drag state: a
/// press that made it active starts a drag, the event that ends its active
/// state ends the drag. The receiver's pose is read before a traversal that
/// carries a press, as the press may be the start of a drag.
class PoseHistory::DragWatch : public osg::NodeCallback
{
public:
    explicit DragWatch(PoseHistory* history) : m_history(history) {}

    void operator()(osg::Node* node, osg::NodeVisitor* visitor) override
    {
        // A slot run inside the traversal may delete the history, and with
        // it this callback's place on the node.
        osg::ref_ptr<DragWatch> keep(this);
        const auto* dragger = static_cast<osgManipulator::Dragger*>(node);
        const bool wasActive = dragger->getDraggerActive();
        if (m_history && !wasActive && carriesPress(visitor))
            m_history->beforePress();
        traverse(node, visitor);
        if (m_history)
            m_history->afterEvents(wasActive);
    }

private:
    QPointer<PoseHistory> m_history;
};

PoseHistory::PoseHistory(Rk::Composite3DDragger* dragger, QUndoStack* stack, QObject* parent)
    : QObject(parent), m_dragger(dragger), m_stack(stack)
{
    if (!dragger)
        return;
    m_watch = new DragWatch(this);
    dragger->addEventCallback(m_watch.get());
    connect(dragger, &Composite3DDragger::signalDragCancelled, this, &PoseHistory::forgetDrag);
    connect(dragger, &Composite3DDragger::signalPoseChanged, this,
            &PoseHistory::draggerPoseChanged);
}

PoseHistory::~PoseHistory()
{
    osg::ref_ptr<Rk::Composite3DDragger> dragger;
    if (m_watch && m_dragger.lock(dragger))
        dragger->removeEventCallback(m_watch.get());
}

void PoseHistory::trackDialog(Rk::DraggerDlg* dialog)
{
    if (!dialog || m_dialogs.contains(dialog))
        return;
    m_dialogs.removeAll(nullptr);
    m_dialogs.append(dialog);
    connect(dialog, &DraggerDlg::signalPoseChanged, this, &PoseHistory::dialogPoseChanged);
}

void PoseHistory::recordHostChange(const osg::Matrixd& before, const osg::Matrixd& after,
                                   const QString& text)
{
    if (isFinite(before) && isFinite(after))
        push(before, after, text);
}

void PoseHistory::forgetDrag()
{
    m_drag.reset();
}

void PoseHistory::beforePress()
{
    m_press.reset();
    osg::ref_ptr<Rk::Composite3DDragger> dragger;
    const std::optional<osg::Matrixd> pose = receiverPose();
    if (pose && m_dragger.lock(dragger))
        m_press = Press{*pose, dragger->alignmentRotation()};
}

void PoseHistory::afterEvents(bool wasActive)
{
    osg::ref_ptr<Rk::Composite3DDragger> dragger;
    if (!m_dragger.lock(dragger))
        return;
    const bool active = dragger->getDraggerActive();
    if (!wasActive && active)
        m_drag = std::exchange(m_press, std::nullopt);
    else if (wasActive && !active)
        endDrag();
}

void PoseHistory::endDrag()
{
    const std::optional<Press> press = std::exchange(m_drag, std::nullopt);
    if (!press)
        return;
    const std::optional<osg::Matrixd> after = receiverPose();
    if (after)
        push(press->receiverPose, *after, dragText(*press, *after));
}

void PoseHistory::draggerPoseChanged()
{
    // A dialog blocks its own signals exactly while it hands a typed pose to
    // the dragger; the dragger has just written its old pose to the receiver.
    if (!m_drag && typingIntoTrackedDialog())
        m_typedBefore = receiverPose();
    else
        m_typedBefore.reset();
}

void PoseHistory::dialogPoseChanged()
{
    if (!m_typedBefore)
        return;
    const osg::Matrixd before = *std::exchange(m_typedBefore, std::nullopt);
    // The host applies the typed pose in its own slot of this signal, which
    // may come after this one: the pose is read back in the event loop.
    QTimer::singleShot(0, this, [this, before] { finishTypedPose(before); });
}

void PoseHistory::finishTypedPose(const osg::Matrixd& before)
{
    const std::optional<osg::Matrixd> after = receiverPose();
    if (after)
        push(before, *after, tr("Typed pose"));
}

bool PoseHistory::typingIntoTrackedDialog() const
{
    for (const QPointer<Rk::DraggerDlg>& dialog : m_dialogs)
        if (dialog && dialog->signalsBlocked())
            return true;
    return false;
}

std::optional<osg::Matrixd> PoseHistory::receiverPose() const
{
    osg::ref_ptr<Rk::Composite3DDragger> dragger;
    if (!m_dragger.lock(dragger) || !dragger->receiver())
        return std::nullopt;
    const osg::Matrixd pose = dragger->receiver()->getMatrix();
    if (!isFinite(pose))
        return std::nullopt;
    return pose;
}

QString PoseHistory::dragText(const Press& press, const osg::Matrixd& after) const
{
    const Composite3DDragger::AxisEnum axis = m_dragger->activeAxis();
    const bool hasAxis = axis != Composite3DDragger::NO_AXIS;
    const osg::Matrixd start = inDraggerTerms(press.receiverPose, press.alignment);
    const osg::Matrixd end = inDraggerTerms(after, press.alignment);
    const double movedMillimetres =
        (end.getTrans() - start.getTrans()).length() * kMillimetresPerMetre;
    switch (m_dragger->dragMode()) {
    case TranslateDragger::TRANSLATION_DRAG_MODE:
        if (hasAxis)
            return tr("Move along %1 %2 mm")
                .arg(axisName(axis),
                     signedAmount(commandDistance(start, end, axis) * kMillimetresPerMetre));
        break;
    case RotateDragger::ROTATION_DRAG_MODE:
        if (hasAxis)
            return tr("Turn about %1 %2\u00b0")
                .arg(axisName(axis), signedAmount(shortestDegrees(
                                         commandAngle(start.getRotate(), end.getRotate(), axis))));
        break;
    case ExtraHandlesDragger::PLANE_DRAG_MODE:
        if (hasAxis)
            return tr("Move in %1 plane %2 mm")
                .arg(planeName(axis))
                .arg(movedMillimetres, 0, 'f', 1);
        break;
    case ExtraHandlesDragger::SCREEN_DRAG_MODE:
        return tr("Move in view plane %1 mm").arg(movedMillimetres, 0, 'f', 1);
    case ExtraHandlesDragger::VIEW_RING_DRAG_MODE:
        return tr("Turn about line of sight %1\u00b0")
            .arg(signedAmount(shortestDegrees(viewRingRadians(*m_dragger))));
    default:
        break;
    }
    return tr("Drag pose");
}

void PoseHistory::push(const osg::Matrixd& before, const osg::Matrixd& after, const QString& text)
{
    osg::ref_ptr<Rk::Composite3DDragger> dragger;
    if (!m_stack || !m_dragger.lock(dragger) || !dragger->receiver() || samePose(before, after))
        return;
    m_stack->push(new PoseCommand(dragger->receiver(), dragger.get(), this, before, after, text));
}

} // namespace Rk
