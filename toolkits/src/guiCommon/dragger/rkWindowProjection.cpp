#include "rkWindowProjection.h"

#include "rkCameraState.h"
#include "rkRootPath.h"

#include <osg/Camera>
#include <osg/Transform>
#include <osgGA/GUIEventAdapter>

#include <atomic>

namespace Rk {

namespace {

// Deeper scene graphs than this above a node are measured from the node
// this many levels up: enough for any real scene, and no allocation.
const int kMaxDepth = 64;

// A camera with matrices of its own for what lies below it, as the scene
// pick takes it: not relative to a camera above it.
bool mapsOnItsOwn(const osg::Camera& camera)
{
    return camera.getReferenceFrame() != osg::Transform::RELATIVE_RF || camera.getNumParents() == 0;
}

// The last projection made on this thread, with the camera state it was made
// from: every dragger asks at every pointer move, all of them through the
// same camera, so the window transform is made again only when the view or
// projection matrix or the viewport differs from the kept ones.
struct KeptProjection
{
    WindowProjection projection;
    CameraState state;
    bool finite = false;

    void makeFor(const osg::Camera& camera)
    {
        // Different for every transform made, in any thread.
        static std::atomic<std::uint64_t> made(0);
        state = CameraState(camera);
        projection.worldToEye = camera.getViewMatrix();
        projection.eyeToWindow =
            camera.getProjectionMatrix() * camera.getViewport()->computeWindowMatrix();
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
    if (!kept.state.describes(*camera))
        kept.makeFor(*camera);
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

const osg::Camera* WindowProjection::ownCamera(const osg::Node& node)
{
    const osg::Camera* camera = node.asCamera();
    return camera && mapsOnItsOwn(*camera) ? camera : nullptr;
}

osg::Matrixd WindowProjection::localToWorld(const osg::Node& node, const osg::Camera** cameraAbove)
{
    const osg::Node* chain[kMaxDepth];
    int depth = 0;
    const osg::Camera* camera = nullptr;
    for (const osg::Node* at = &node; at; at = RootPath::firstParent(*at)) {
        camera = at->asCamera();
        if (camera && mapsOnItsOwn(*camera))
            break;
        camera = nullptr;
        if (depth < kMaxDepth)
            chain[depth++] = at;
    }
    if (cameraAbove)
        *cameraAbove = camera;
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
