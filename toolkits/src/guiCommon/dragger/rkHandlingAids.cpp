#include "rkHandlingAids.h"

#include "rkComposite3DDragger.h"
#include "rkPickCache.h"
#include "rkRootPath.h"

#include <osgViewer/View>

#include <algorithm>
#include <cmath>

namespace Rk {

namespace {

bool insideEventRange(const osgGA::GUIEventAdapter& event)
{
    return event.getX() >= event.getXmin() && event.getX() <= event.getXmax() &&
           event.getY() >= event.getYmin() && event.getY() <= event.getYmax();
}

bool acceptable(double value)
{
    return std::isfinite(value) && value >= 0.0;
}

// A hit on a dragger is that dragger's press.
bool onDragger(const osgUtil::LineSegmentIntersector::Intersection& hit)
{
    for (const osg::Node* node : hit.nodePath)
        if (dynamic_cast<const osgManipulator::Dragger*>(node))
            return true;
    return false;
}

// Any other hit in the dragger mask hides a handle behind it.
bool nearer(const osgUtil::LineSegmentIntersector::Intersection& hit,
            const HandleShapes::Nearest& candidate, const WindowProjection& projection)
{
    const double hitDepth = -(hit.getWorldIntersectPoint() * projection.worldToEye).z();
    const double handleDepth = -(candidate.worldPoint * projection.worldToEye).z();
    return hitDepth < handleDepth;
}

} // namespace

HandlingAids::HandlingAids(Composite3DDragger& owner)
    : m_owner(owner), m_shapes(owner), m_fader(m_shapes)
{
}

void HandlingAids::setPickTolerance(double pixels)
{
    if (acceptable(pixels))
        m_pickTolerance = pixels;
}

void HandlingAids::setHoverHighlight(bool highlight)
{
    m_hoverHighlight = highlight;
    if (!highlight)
        clearHover();
}

void HandlingAids::setViewAngleLimit(double degrees)
{
    if (!acceptable(degrees))
        return;
    m_viewAngleLimit = degrees;
    if (degrees == 0.0)
        m_fader.clear();
}

void HandlingAids::clearHover()
{
    m_resting.forget();
    showHover(nullptr);
}

void HandlingAids::showHover(osgManipulator::Dragger* target)
{
    if (m_hover.show(target))
        emit m_owner.signalHoverChanged();
}

osg::Camera* HandlingAids::cameraOf(osgViewer::View& view) const
{
    const osg::Camera* above = nullptr;
    for (const osg::Node* node = &m_owner; node && !above; node = RootPath::firstParent(*node))
        above = WindowProjection::ownCamera(*node);
    return pickCamera(above, view);
}

osg::Camera* HandlingAids::pickCamera(const osg::Camera* above, osgViewer::View& view)
{
    // The pick maps the pointer through the first camera above the dragger
    // in the scene (a HUD camera, say), else through the view's own camera.
    // A camera that belongs to a view is a view's master camera: with
    // several views of one scene the first parent may lead to another one.
    return above && !above->getView() ? const_cast<osg::Camera*>(above) : view.getCamera();
}

void HandlingAids::beforeEventAided(const osgGA::GUIEventAdapter& event, osgViewer::View* view)
{
    m_wasActive = m_owner.getDraggerActive();
    if (!view)
        return;
    if (missedTraversals(*view) && !m_wasActive)
        clearHover();
    if (m_wasActive)
        return;
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::FRAME:
        fadeFor(*view);
        // A faded handle can be taken by no press; what else the pointer
        // rests on is judged after the follow (see afterEventAided).
        if (m_fader.faded(m_hover.hovered()))
            showHover(nullptr);
        break;
    case osgGA::GUIEventAdapter::MOVE:
        // Several views may show the dragger: a pointer event picks with the
        // fading of the view it comes from, whichever view drew last.
        fadeFor(*view);
        if (m_hoverHighlight)
            hoverAt(event, *view);
        break;
    case osgGA::GUIEventAdapter::PUSH:
        // A press that this dragger will not take (taken before it, or of a
        // button that turns the camera) leaves no handle under the pointer
        // that a press would take until the next move.
        fadeFor(*view);
        if (m_hoverHighlight && (event.getHandled() || !m_owner.buttonActivates(event)))
            clearHover();
        break;
    default:
        break;
    }
}

bool HandlingAids::missedTraversals(const osgViewer::View& view)
{
    // Every event of one traversal carries the same frame number; a dragger
    // visited at every traversal sees it grow by at most one.
    const osg::FrameStamp* stamp = view.getFrameStamp();
    if (!stamp)
        return false;
    const unsigned int frame = stamp->getFrameNumber();
    for (SeenFrame& seen : m_seenFrames) {
        if (seen.stamp != stamp)
            continue;
        const bool missed = frame > seen.frame + 1;
        seen.frame = frame;
        return missed;
    }
    // A viewer not remembered replaces the one that was remembered first.
    m_seenFrames[m_nextSeenFrame] = {stamp, frame};
    m_nextSeenFrame = (m_nextSeenFrame + 1) % kViewersRemembered;
    return false;
}

bool HandlingAids::pressMayStart(const osgGA::GUIEventAdapter& event) const
{
    return m_owner.draggingEnabled() && !event.getHandled() &&
           m_owner.activationPermittedFor(event);
}

void HandlingAids::fadeFor(osgViewer::View& view)
{
    if (!(m_viewAngleLimit > 0.0))
        return;
    if (osg::Camera* camera = cameraOf(view))
        m_fader.update(*camera, m_owner, m_viewAngleLimit);
}

void HandlingAids::afterEventAided(const osgGA::GUIEventAdapter& event, osgViewer::View& view)
{
    // A frame event carries the view's last pointer position: a camera or a
    // gizmo (followed to the host's pose just now) that moved under a
    // resting pointer is judged again there.
    if (event.getEventType() == osgGA::GUIEventAdapter::FRAME) {
        if (m_resting.restsAt(event, view) &&
            (!m_resting.wasNear() || m_resting.sceneMoved(sceneUnderPointer(view))))
            hoverAt(event, view);
        return;
    }
    if (event.getEventType() == osgGA::GUIEventAdapter::PUSH) {
        showHover(m_owner.getDraggerActive() ? activeHandle() : nullptr);
        return;
    }
    if (event.getEventType() != osgGA::GUIEventAdapter::RELEASE || !m_wasActive)
        return;
    // The release gave the handle its own colour back.
    m_hover.adoptShownColour();
    hoverAt(event, view);
}

void HandlingAids::hoverAt(const osgGA::GUIEventAdapter& event, osgViewer::View& view)
{
    m_resting.judged(event, view);
    showHover(pressMayStart(event) ? pressTarget(event, view) : nullptr);
}

const osg::Camera* HandlingAids::placementIn(osgViewer::View& view,
                                             osg::Matrixd& parentToWorld) const
{
    // One walk up the scene gives both the camera and the owner's placement.
    const osg::Camera* above = nullptr;
    parentToWorld = WindowProjection::parentToWorld(m_owner, &above);
    return pickCamera(above, view);
}

RestingPointer::Scene HandlingAids::sceneUnderPointer(osgViewer::View& view) const
{
    osg::Matrixd toWorld;
    const osg::Camera* camera = placementIn(view, toWorld);
    return sceneOf(camera, toWorld);
}

RestingPointer::Scene HandlingAids::sceneOf(const osg::Camera* camera,
                                            const osg::Matrixd& parentToWorld) const
{
    return {camera, parentToWorld, m_owner.getMatrix(), m_owner.scale()};
}

osgManipulator::Dragger* HandlingAids::activeHandle() const
{
    for (osgManipulator::Dragger* handle : m_shapes.handles())
        if (handle->getDraggerActive())
            return handle;
    return nullptr;
}

osgManipulator::Dragger* HandlingAids::pressTarget(const osgGA::GUIEventAdapter& event,
                                                   osgViewer::View& view)
{
    osg::Matrixd toWorld;
    const osg::Camera* camera = placementIn(view, toWorld);
    const WindowProjection& projection = WindowProjection::of(camera, event);
    if (!projection.valid || !insideEventRange(event) ||
        !m_shapes.nearOwner(projection, toWorld, m_pickTolerance))
        return nullptr;
    m_resting.near(sceneOf(camera, toWorld));
    const auto* front = PickCache::frontHitOf(&m_owner, view, event, m_owner.getIntersectionMask());
    if (front)
        return m_shapes.handleIn(front->nodePath);
    return nearbyHandle(event, view, projection).handle;
}

HandleShapes::Nearest HandlingAids::nearbyHandle(const osgGA::GUIEventAdapter& event,
                                                 osgViewer::View& view,
                                                 const WindowProjection& projection)
{
    if (!(m_pickTolerance > 0.0) || !insideEventRange(event))
        return HandleShapes::Nearest();
    // A dragger under the pointer takes the press whatever lies near it:
    // then no handle of this one needs measuring.
    const auto* first = PickCache::firstHit(view, event, m_owner.getIntersectionMask());
    if (first && onDragger(*first))
        return HandleShapes::Nearest();
    HandleShapes::Nearest nearest = m_shapes.nearestWithin(projection, m_pickTolerance);
    if (nearest.handle && first && nearer(*first, nearest, projection))
        return HandleShapes::Nearest();
    return nearest;
}

bool HandlingAids::nearbyGrab(const osgGA::GUIEventAdapter& event, osgViewer::View& view,
                              Grab& grab)
{
    if (!(m_pickTolerance > 0.0))
        return false;
    grab.camera = cameraOf(view);
    const HandleShapes::Nearest nearest =
        nearbyHandle(event, view, WindowProjection::of(grab.camera, event));
    if (!nearest.handle)
        return false;
    // The path a hit on the handle would have: from the top of the scene
    // down to the handle, through every dragger that must see the press.
    grab.path.clear();
    for (osg::Node* node = nearest.handle; node && !WindowProjection::ownCamera(*node);
         node = RootPath::firstParent(*node))
        grab.path.push_back(node);
    std::reverse(grab.path.begin(), grab.path.end());
    grab.localPoint = nearest.localPoint;
    return true;
}

} // namespace Rk
