#include "rkExtraHandlesDragger.h"

#include "rkDragRefinement.h"

#include "rkDraggerUtility.h"
#include "rkExtraHandleGeometry.h"
#include "rkFacingTransform.h"
#include "rkPickSegment.h"
#include "rkSharedHandleGeometry.h"
#include "rkThreeAxisDragger.h"

namespace Rk {

// Snapping knows a plane handle by its drag mode.
static_assert(DragRefinement::PLANE_MODE == ExtraHandlesDragger::PLANE_DRAG_MODE);

namespace {

const int kNoDragMode = 0;
const osg::Vec4 kScreenHandleColour(1.0f, 1.0f, 1.0f, 1.0f);
const osg::Vec4 kViewRingColour(0.8f, 0.8f, 0.8f, 1.0f);
// The arrows' and rings' pick colour, with the planes' transparency.
const osg::Vec4 kPickYellow(1.0f, 1.0f, 0.0f, 1.0f);

osg::Vec3 unit(Composite3DDragger::AxisEnum axis)
{
    osg::Vec3 vector;
    vector[axis] = 1.0f;
    return vector;
}

osg::Vec4 withAlpha(osg::Vec4 colour, float alpha)
{
    colour.a() = alpha;
    return colour;
}

} // namespace

ExtraHandlesDragger::ExtraHandlesDragger(const Options& options)
    : Composite3DDragger(static_cast<Rk::DraggerReceiver*>(nullptr)), m_options(options)
{
    if (m_options.handleSet & PLANE_HANDLES) {
        for (int axis = X_AXIS; axis <= Z_AXIS; ++axis) {
            m_planeHandles[axis] = new PlaneHandle(AxisEnum(axis));
            addHandle(m_planeHandles[axis].get());
        }
    }
    if (m_options.handleSet & SCREEN_HANDLE) {
        m_screenHandle = new ScreenHandle;
        addHandle(m_screenHandle.get());
    }
    if (m_options.handleSet & VIEW_RING) {
        m_viewRing = new ViewRing;
        addHandle(m_viewRing.get());
    }
    // Makes this dragger the parent of its handles until the frame adopts it.
    setParentDragger(getParentDragger());
}

ExtraHandlesDragger::~ExtraHandlesDragger() = default;

void ExtraHandlesDragger::addHandle(osgManipulator::Dragger* handle)
{
    addChild(handle);
    addDragger(handle);
}

void ExtraHandlesDragger::setupDefaultGeometry()
{
    // Geometry is shared by every frame dragger with the same sizes; each
    // handle keeps its own colour.
    for (const osg::ref_ptr<PlaneHandle>& plane : m_planeHandles) {
        if (!plane)
            continue;
        const AxisEnum normal = plane->normalAxis();
        const osg::Vec3 first = unit(plane->firstInPlane());
        const osg::Vec3 second = unit(plane->secondInPlane());
        plane->addChild(SharedHandleGeometry::get(
                            "plane square", {float(normal), PLANE_OFFSET, PLANE_HALF_SIZE},
                            [=] {
                                return RkExtraHandleGeometry::createPlaneSquareGeode(
                                    (first + second) * PLANE_OFFSET, first, second,
                                    PLANE_HALF_SIZE);
                            })
                            .get());
        plane->setColor(withAlpha(axisColour(normal), PLANE_ALPHA));
        plane->setPickColor(withAlpha(kPickYellow, PLANE_ALPHA));
    }
    if (m_screenHandle) {
        m_screenHandle->addChild(
            SharedHandleGeometry::get("screen handle", {SCREEN_HANDLE_RADIUS}, [] {
                return RkExtraHandleGeometry::createScreenHandleGeode(SCREEN_HANDLE_RADIUS);
            }).get());
        m_screenHandle->setColor(kScreenHandleColour);
        m_screenHandle->setPickColor(kPickYellow);
    }
    if (m_viewRing) {
        viewRingParent()->addChild(
            RkDraggerUtility::sharedRotateDraggerTorusGeode(
                viewRingRadius(), m_options.pickTubeRadius, RotateDragger::RING_LINE_WIDTH)
                .get());
        m_viewRing->setColor(kViewRingColour);
    }
}

osg::Group* ExtraHandlesDragger::viewRingParent()
{
    FacingTransform* facing = new FacingTransform;
    if (m_options.autoScaleToScreen)
        RotateDragger::addScreenScaleChain(m_viewRing.get())->addChild(facing);
    else
        m_viewRing->addChild(facing);
    return facing;
}

void ExtraHandlesDragger::setFromChildDraggerActive()
{
    for (const osg::ref_ptr<PlaneHandle>& plane : m_planeHandles) {
        if (plane && plane->getDraggerActive()) {
            setActiveAxis(plane->normalAxis());
            setDragMode(PLANE_DRAG_MODE);
            return;
        }
    }
    setActiveAxis(NO_AXIS);
    if (m_screenHandle && m_screenHandle->getDraggerActive())
        setDragMode(SCREEN_DRAG_MODE);
    else if (m_viewRing && m_viewRing->getDraggerActive())
        setDragMode(VIEW_RING_DRAG_MODE);
    else
        setDragMode(kNoDragMode);
}

void ExtraHandlesDragger::traverse(osg::NodeVisitor& visitor)
{
    // The handles, told by their addresses (a failed cast across shared
    // libraries compares type names); none computes its frame other than
    // from its matrix.
    const auto asHandle = [this](osg::Node* child) -> const osg::MatrixTransform* {
        for (const osg::ref_ptr<PlaneHandle>& plane : m_planeHandles)
            if (child == plane.get())
                return plane.get();
        if (child == m_screenHandle.get())
            return m_screenHandle.get();
        if (child == m_viewRing.get())
            return m_viewRing.get();
        return nullptr;
    };
    if (!PickSegment::traverseSkippingMissed(*this, visitor, asHandle))
        Composite3DDragger::traverse(visitor);
}

bool ExtraHandlesDragger::ownsDragMode(int mode)
{
    return mode == PLANE_DRAG_MODE || mode == SCREEN_DRAG_MODE || mode == VIEW_RING_DRAG_MODE;
}

PlaneHandle* ExtraHandlesDragger::planeHandle(AxisEnum axis) const
{
    return axis >= X_AXIS && axis <= Z_AXIS ? m_planeHandles[axis].get() : nullptr;
}

} // namespace Rk
