#include "rkWindowProjection.h"

#include "rkFinite.h"

#include <osg/Camera>
#include <osg/Transform>
#include <osgGA/GUIEventAdapter>

#include <algorithm>
#include <atomic>

namespace Rk {

namespace {

// Deeper scene graphs than this above a node are measured from the node
// this many levels up: enough for any real scene, and no allocation.
const int kMaxDepth = 64;

// The last projection made on this thread, with the camera state it was made
// from: every dragger asks at every pointer move, all of them through the
// same camera, so the window transform is made again only when the view or
// projection matrix or the viewport differs from the kept ones.
struct KeptProjection
{
    WindowProjection projection;
    osg::Matrixd projectionMatrix;
    double viewport[4] = {0.0, 0.0, 0.0, 0.0};
    bool finite = false;

    bool madeFor(const osg::Camera& camera, const double (&now)[4]) const
    {
        return projection.transformId != 0 &&
               sameBits(projection.worldToEye, camera.getViewMatrix()) &&
               sameBits(projectionMatrix, camera.getProjectionMatrix()) &&
               std::equal(now, now + 4, viewport);
    }

    void makeFor(const osg::Camera& camera, const double (&now)[4])
    {
        // Different for every transform made, in any thread.
        static std::atomic<std::uint64_t> made(0);
        projection.worldToEye = camera.getViewMatrix();
        projectionMatrix = camera.getProjectionMatrix();
        std::copy(now, now + 4, viewport);
        projection.eyeToWindow = projectionMatrix * camera.getViewport()->computeWindowMatrix();
        projection.worldToWindow = projection.worldToEye * projection.eyeToWindow;
        projection.transformId = ++made;
        finite = !projection.worldToWindow.isNaN();
    }
};

} // namespace

const WindowProjection& WindowProjection::of(const osg::Camera* camera,
                                             const osgGA::GUIEventAdapter& event)
{
    static const WindowProjection kNone;
    if (!camera || !camera->getViewport())
        return kNone;
    thread_local KeptProjection kept;
    const osg::Viewport& viewport = *camera->getViewport();
    const double now[4] = {viewport.x(), viewport.y(), viewport.width(), viewport.height()};
    if (!kept.madeFor(*camera, now))
        kept.makeFor(*camera, now);
    // The pointer in the window's pixels, y up: the point the composite hands
    // its handles (see its pointer projection) and the one the pick uses.
    WindowProjection& projection = kept.projection;
    const bool yDownwards =
        event.getMouseYOrientation() == osgGA::GUIEventAdapter::Y_INCREASING_DOWNWARDS;
    projection.pointer.set(event.getX(),
                           yDownwards ? event.getYmax() - event.getY() : event.getY());
    projection.valid = projection.pointer.valid() && kept.finite;
    return projection;
}

osg::Matrixd WindowProjection::localToWorld(const osg::Node& node, const osg::Camera** cameraAbove)
{
    const osg::Node* chain[kMaxDepth];
    int depth = 0;
    const osg::Node* at = &node;
    for (; at && !at->asCamera(); at = at->getNumParents() ? at->getParent(0) : nullptr)
        if (depth < kMaxDepth)
            chain[depth++] = at;
    if (cameraAbove)
        *cameraAbove = at ? at->asCamera() : nullptr;
    osg::Matrixd matrix;
    // From the top down: each transform's own matrix goes in front.
    for (int level = depth - 1; level >= 0; --level)
        if (const osg::Transform* transform = chain[level]->asTransform())
            transform->computeLocalToWorldMatrix(matrix, nullptr);
    return matrix;
}

osg::Matrixd WindowProjection::parentToWorld(const osg::Node& node, const osg::Camera** cameraAbove)
{
    if (node.getNumParents())
        return localToWorld(*node.getParent(0), cameraAbove);
    if (cameraAbove)
        *cameraAbove = nullptr;
    return osg::Matrixd();
}

} // namespace Rk
