#include "rkHandleShapes.h"

#include "rkBallGeometry.h"
#include "rkFacingTransform.h"
#include "rkFinite.h"
#include "rkOneAxisHandle.h"

#include <osg/BoundingBox>
#include <osg/Camera>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/LineWidth>
#include <osg/ShapeDrawable>
#include <osgGA/GUIEventAdapter>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Rk {

namespace {

// Deeper scene graphs than this above a handle are measured from the node
// this many levels up: enough for any real scene, and no allocation.
const int kMaxDepth = 64;
// Lines without a LineWidth attribute are drawn one pixel wide.
const float kDefaultLineWidth = 1.0f;
// Points this close to the eye plane (clip w) are behind or at the eye.
const double kMinClipW = 1e-9;
// A transform that shears or scales unevenly can stretch the owner's bound
// beyond its largest axis scale; this margin keeps the owner test on the
// safe side.
const double kBoundMargin = 1.25;
// Points per run of a long outline (one more than its segments).
const std::size_t kRunPoints = 9;
// Pixels added to a bound's reach, for rounding.
const double kReachSlack = 1e-6;

struct WindowPoint
{
    osg::Vec2d at;
    double w;
};

WindowPoint toWindow(const osg::Vec3d& point, const osg::Matrixd& matrix)
{
    const double x = point.x() * matrix(0, 0) + point.y() * matrix(1, 0) +
                     point.z() * matrix(2, 0) + matrix(3, 0);
    const double y = point.x() * matrix(0, 1) + point.y() * matrix(1, 1) +
                     point.z() * matrix(2, 1) + matrix(3, 1);
    const double w = point.x() * matrix(0, 3) + point.y() * matrix(1, 3) +
                     point.z() * matrix(2, 3) + matrix(3, 3);
    if (!(w > kMinClipW))
        return {osg::Vec2d(), w};
    return {osg::Vec2d(x / w, y / w), w};
}

float lineWidthOf(const osg::StateSet* stateSet)
{
    const auto* width = stateSet ? dynamic_cast<const osg::LineWidth*>(
                                       stateSet->getAttribute(osg::StateAttribute::LINEWIDTH))
                                 : nullptr;
    return width ? width->getWidth() : 0.0f;
}

// Two unit directions perpendicular to `axis` (not zero) and to each other.
void perpendiculars(osg::Vec3d axis, osg::Vec3d& side, osg::Vec3d& other)
{
    axis.normalize();
    const osg::Vec3d helper = std::fabs(axis.x()) < 0.9 ? osg::X_AXIS : osg::Y_AXIS;
    side = axis ^ helper;
    side.normalize();
    other = axis ^ side;
}

} // namespace

HandleShapes::SphereImage HandleShapes::SphereImage::of(const osg::Vec3d& centre, double radius,
                                                        const osg::Matrixd& localToWindow)
{
    // A point c + d projects to ((X + a.d) / (W + w.d), ...), so its window
    // offset from the centre's image is at most
    // radius |a W - w X| / (W (W - radius |w|)).
    SphereImage image;
    const osg::Matrixd& m = localToWindow;
    const osg::Vec3d toW(m(0, 3), m(1, 3), m(2, 3));
    const double w = centre * toW + m(3, 3);
    const double nearest = w - radius * toW.length();
    if (!(w > kMinClipW) || !(nearest > kMinClipW))
        return image;
    for (int axis = 0; axis < 2; ++axis) {
        const osg::Vec3d toAxis(m(0, axis), m(1, axis), m(2, axis));
        const double value = centre * toAxis + m(3, axis);
        image.centre[axis] = value / w;
        image.spread[axis] = radius * (toAxis * w - toW * value).length() / (w * nearest);
    }
    image.anywhere = false;
    return image;
}

bool HandleShapes::SphereImage::reaches(const osg::Vec2d& pointer, double reach) const
{
    if (anywhere)
        return true;
    for (int axis = 0; axis < 2; ++axis)
        if (!(std::fabs(pointer[axis] - centre[axis]) <= spread[axis] + reach + kReachSlack))
            return false;
    return true;
}

osg::Matrixd HandleShapes::localToWorld(const osg::Node& node, const osg::Camera** cameraAbove)
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

osg::Matrixd HandleShapes::parentToWorld(const osg::Node& node, const osg::Camera** cameraAbove)
{
    if (node.getNumParents())
        return localToWorld(*node.getParent(0), cameraAbove);
    if (cameraAbove)
        *cameraAbove = nullptr;
    return osg::Matrixd();
}

namespace {

// The last projection made on this thread, with the camera state it was made
// from: every dragger asks at every pointer move, all of them through the
// same camera, so the window transform is made again only when the view or
// projection matrix or the viewport differs from the kept ones.
struct KeptProjection
{
    HandleShapes::Projection projection;
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

const HandleShapes::Projection& HandleShapes::projectionOf(const osg::Camera* camera,
                                                           const osgGA::GUIEventAdapter& event)
{
    static const Projection kNone;
    if (!camera || !camera->getViewport())
        return kNone;
    thread_local KeptProjection kept;
    const osg::Viewport& viewport = *camera->getViewport();
    const double now[4] = {viewport.x(), viewport.y(), viewport.width(), viewport.height()};
    if (!kept.madeFor(*camera, now))
        kept.makeFor(*camera, now);
    // The pointer in the window's pixels, y up: the point the composite hands
    // its handles (see its pointer projection) and the one the pick uses.
    Projection& projection = kept.projection;
    const bool yDownwards =
        event.getMouseYOrientation() == osgGA::GUIEventAdapter::Y_INCREASING_DOWNWARDS;
    projection.pointer.set(event.getX(),
                           yDownwards ? event.getYmax() - event.getY() : event.getY());
    projection.valid = projection.pointer.valid() && kept.finite;
    return projection;
}

void HandleShapes::addSegment(osgManipulator::Dragger* handle, const osg::Vec3& start,
                              const osg::Vec3& end, float pixelWidth, float startRadius,
                              float endRadius)
{
    const osg::Vec3 points[] = {start, end};
    addPiece(m_addedPieces, m_addedPoints,
             {handle, 0, 0, 2, false, 0.5f * pixelWidth, startRadius, endRadius}, points, 2);
    m_signature = ~0u;
}

void HandleShapes::addPolyline(osgManipulator::Dragger* handle,
                               const std::vector<osg::Vec3>& points, bool closed, float pixelWidth)
{
    if (points.empty())
        return;
    addPiece(m_addedPieces, m_addedPoints,
             {handle, 0, 0, points.size(), closed, 0.5f * pixelWidth, 0.0f, 0.0f}, points.data(),
             points.size());
    m_signature = ~0u;
}

void HandleShapes::addPiece(std::vector<Piece>& pieces, std::vector<osg::Vec3>& points, Piece piece,
                            const osg::Vec3* first, std::size_t count)
{
    // A long outline (a ring's line) goes in runs of a few segments, each
    // with its own bound, so that a query passes over the runs far from the
    // pointer. The segments are the same; a closed outline's last run ends
    // at its first point.
    if (piece.kind != Kind::OUTLINE || count <= kRunPoints) {
        addRun(pieces, points, piece, first, count);
        return;
    }
    std::vector<osg::Vec3> outline(first, first + count);
    if (piece.closed)
        outline.push_back(*first);
    piece.closed = false;
    for (std::size_t start = 0; start + 1 < outline.size(); start += kRunPoints - 1)
        addRun(pieces, points, piece, outline.data() + start,
               std::min(kRunPoints, outline.size() - start));
}

void HandleShapes::addRun(std::vector<Piece>& pieces, std::vector<osg::Vec3>& points, Piece piece,
                          const osg::Vec3* first, std::size_t count)
{
    piece.first = points.size();
    piece.count = count;
    osg::BoundingBox box;
    for (std::size_t k = 0; k < count; ++k)
        box.expandBy(first[k]);
    piece.boundCentre = box.center();
    piece.boundRadius = 0.0f;
    for (std::size_t k = 0; k < count; ++k)
        piece.boundRadius = std::max(piece.boundRadius, (first[k] - piece.boundCentre).length());
    points.insert(points.end(), first, first + count);
    pieces.push_back(piece);
}

unsigned int HandleShapes::childSignature() const
{
    // Handles and their children only ever get added or removed as a whole,
    // so the handles themselves and their counts of children tell when the
    // shapes read before are out of date (a frame dragger replaces its
    // optional handles with new ones of the same layout).
    unsigned int signature = 0;
    const auto count = [&signature](osgManipulator::CompositeDragger& composite,
                                    const auto& self) -> void {
        for (unsigned int i = 0; i < composite.getNumDraggers(); ++i) {
            osgManipulator::Dragger* dragger = composite.getDragger(i);
            const auto address = reinterpret_cast<std::uintptr_t>(dragger);
            signature = signature * 31u + dragger->getNumChildren() + 1u;
            signature = signature * 31u + static_cast<unsigned int>(address ^ (address >> 32));
            if (osgManipulator::CompositeDragger* inner = dragger->getComposite())
                self(*inner, self);
        }
    };
    count(m_owner, count);
    return signature;
}

void HandleShapes::refresh()
{
    const unsigned int signature = childSignature();
    if (signature == m_signature)
        return;
    collect();
    m_signature = signature;
}

void HandleShapes::collect()
{
    m_handles.clear();
    m_exclusions.clear();
    m_pieces.clear();
    m_facingFrames.clear();
    m_points.clear();
    collectHandles(m_owner);
    for (std::size_t index = 0; index < m_handles.size(); ++index)
        for (unsigned int child = 0; child < m_handles[index]->getNumChildren(); ++child)
            collectDrawn(index, *m_handles[index]->getChild(child), osg::Matrixd());
    appendAddedPieces();
    m_signature = childSignature();
}

void HandleShapes::appendAddedPieces()
{
    for (Piece piece : m_addedPieces) {
        const auto found = std::find(m_handles.begin(), m_handles.end(), piece.handle);
        if (found == m_handles.end())
            continue;
        piece.handleIndex = std::size_t(found - m_handles.begin());
        addPiece(m_pieces, m_points, piece, m_addedPoints.data() + piece.first, piece.count);
    }
}

void HandleShapes::collectHandles(osgManipulator::CompositeDragger& composite)
{
    for (unsigned int i = 0; i < composite.getNumDraggers(); ++i) {
        osgManipulator::Dragger* dragger = composite.getDragger(i);
        if (osgManipulator::CompositeDragger* inner = dragger->getComposite()) {
            collectHandles(*inner);
            continue;
        }
        m_handles.push_back(dragger);
        m_exclusions.push_back(dynamic_cast<PickExclusion*>(dragger));
    }
}

void HandleShapes::collectDrawn(std::size_t handleIndex, osg::Node& node,
                                const osg::Matrixd& toHandle)
{
    if (dynamic_cast<FacingTransform*>(&node)) {
        collectFacing(handleIndex, *node.asGroup());
        return;
    }
    if (auto* transform = dynamic_cast<osg::MatrixTransform*>(&node)) {
        for (unsigned int child = 0; child < transform->getNumChildren(); ++child)
            collectDrawn(handleIndex, *transform->getChild(child),
                         transform->getMatrix() * toHandle);
        return;
    }
    // Geodes are groups of drawables in OpenSceneGraph 3.6: asked first.
    osg::Geode* geode = node.asGeode();
    osg::Group* group = node.asGroup();
    if (!geode && group) {
        for (unsigned int child = 0; child < group->getNumChildren(); ++child)
            collectDrawn(handleIndex, *group->getChild(child), toHandle);
        return;
    }
    if (!geode)
        return;
    for (unsigned int i = 0; i < geode->getNumDrawables(); ++i) {
        osg::Drawable* drawable = geode->getDrawable(i);
        // Pick targets are culled in every frame by a callback: not drawn.
        if (drawable->getCullCallback())
            continue;
        if (auto* ball = dynamic_cast<BallGeometry*>(drawable))
            addBall(handleIndex, ball->centre(), ball->radius(), toHandle);
        else if (auto* shape = dynamic_cast<osg::ShapeDrawable*>(drawable))
            collectShape(handleIndex, *shape, toHandle);
        else if (osg::Geometry* geometry = drawable->asGeometry())
            collectGeometry(handleIndex, *geode, *geometry, toHandle);
    }
}

void HandleShapes::collectFacing(std::size_t handleIndex, osg::Group& facing)
{
    // Its rotation depends on the eye, and the transforms above it may
    // depend on the view: the pieces below stay in its children's
    // coordinates and are placed at each query.
    const std::size_t firstPiece = m_pieces.size();
    for (unsigned int child = 0; child < facing.getNumChildren(); ++child)
        collectDrawn(handleIndex, *facing.getChild(child), osg::Matrixd());
    m_facingFrames.push_back(&facing);
    for (std::size_t k = firstPiece; k < m_pieces.size(); ++k)
        if (m_pieces[k].facingFrame < 0)
            m_pieces[k].facingFrame = int(m_facingFrames.size() - 1);
}

void HandleShapes::collectShape(std::size_t handleIndex, const osg::ShapeDrawable& drawable,
                                const osg::Matrixd& toHandle)
{
    osgManipulator::Dragger* handle = m_handles[handleIndex];
    if (const auto* cone = dynamic_cast<const osg::Cone*>(drawable.getShape())) {
        const osg::Vec3 axis = cone->getRotation() * osg::Vec3(0.0f, 0.0f, 1.0f);
        const osg::Vec3 base = cone->getCenter() + axis * cone->getBaseOffset();
        const osg::Vec3 points[] = {base * toHandle, (base + axis * cone->getHeight()) * toHandle};
        addPiece(m_pieces, m_points,
                 {handle, handleIndex, 0, 2, false, 0.0f, cone->getRadius(), 0.0f}, points, 2);
    } else if (const auto* sphere = dynamic_cast<const osg::Sphere*>(drawable.getShape())) {
        addBall(handleIndex, sphere->getCenter(), sphere->getRadius(), toHandle);
    }
}

void HandleShapes::addBall(std::size_t handleIndex, const osg::Vec3& centre, float radius,
                           const osg::Matrixd& toHandle)
{
    const osg::Vec3d scale = toHandle.getScale();
    const float handleRadius = radius * float(std::max({scale.x(), scale.y(), scale.z()}));
    const osg::Vec3 handleCentre = centre * toHandle;
    addPiece(m_pieces, m_points,
             {m_handles[handleIndex], handleIndex, 0, 1, false, 0.0f, handleRadius, handleRadius,
              Kind::BALL},
             &handleCentre, 1);
}

void HandleShapes::collectGeometry(std::size_t handleIndex, const osg::Geode& geode,
                                   const osg::Geometry& geometry, const osg::Matrixd& toHandle)
{
    const auto* vertices = dynamic_cast<const osg::Vec3Array*>(geometry.getVertexArray());
    if (!vertices)
        return;
    float width = lineWidthOf(geometry.getStateSet());
    if (width <= 0.0f)
        width = lineWidthOf(geode.getStateSet());
    if (width <= 0.0f)
        width = kDefaultLineWidth;
    for (unsigned int p = 0; p < geometry.getNumPrimitiveSets(); ++p) {
        const osg::PrimitiveSet* primitives = geometry.getPrimitiveSet(p);
        const GLenum mode = primitives->getMode();
        if (mode != GL_LINES && mode != GL_LINE_STRIP && mode != GL_LINE_LOOP &&
            mode != GL_TRIANGLES && mode != GL_QUADS)
            continue;
        std::vector<osg::Vec3> points;
        for (unsigned int k = 0; k < primitives->getNumIndices(); ++k) {
            const unsigned int index = primitives->index(k);
            if (index < vertices->size())
                points.push_back((*vertices)[index] * toHandle);
        }
        if (mode == GL_TRIANGLES || mode == GL_QUADS)
            addFaces(handleIndex, *primitives, points);
        else
            addLines(handleIndex, mode, 0.5f * width, points);
    }
}

void HandleShapes::addLines(std::size_t handleIndex, GLenum mode, float halfWidth,
                            const std::vector<osg::Vec3>& points)
{
    const Piece piece{m_handles[handleIndex], handleIndex, 0,    0,
                      mode == GL_LINE_LOOP,   halfWidth,   0.0f, 0.0f};
    if (mode != GL_LINES) {
        addPiece(m_pieces, m_points, piece, points.data(), points.size());
        return;
    }
    for (std::size_t k = 0; k + 1 < points.size(); k += 2)
        addPiece(m_pieces, m_points, piece, points.data() + k, 2);
}

void HandleShapes::addFaces(std::size_t handleIndex, const osg::PrimitiveSet& primitives,
                            const std::vector<osg::Vec3>& points)
{
    const std::size_t corners = primitives.getMode() == GL_QUADS ? 4 : 3;
    const Piece piece{
        m_handles[handleIndex], handleIndex, 0, 0, true, 0.0f, 0.0f, 0.0f, Kind::FACE};
    for (std::size_t k = 0; k + corners <= points.size(); k += corners)
        addPiece(m_pieces, m_points, piece, points.data() + k, corners);
}

bool HandleShapes::nearOwner(const Projection& projection, const osg::Matrixd& toWorld,
                             double pixels)
{
    // Without a bound yet (screen-scaled handles before their first cull)
    // nothing can be ruled out.
    const osg::BoundingSphere& bound = m_owner.getBound();
    if (!bound.valid())
        return true;
    // Most pointer moves change neither the camera nor where the owner
    // stands: its bound's image is made again only when one of them did.
    OwnerImage& kept = m_ownerImage;
    if (kept.transformId != projection.transformId || kept.transformId == 0 ||
        !sameBits(kept.toWorld, toWorld) || !(kept.centre == bound.center()) ||
        !(kept.radius == bound.radius())) {
        const osg::Vec3d scale = toWorld.getScale();
        const double radius = bound.radius() * std::max({scale.x(), scale.y(), scale.z()});
        kept.image = SphereImage::of(osg::Vec3d(bound.center()) * toWorld, kBoundMargin * radius,
                                     projection.worldToWindow);
        kept.transformId = projection.transformId;
        kept.toWorld = toWorld;
        kept.centre = bound.center();
        kept.radius = bound.radius();
    }
    return kept.image.reaches(projection.pointer, pixels);
}

osgManipulator::Dragger* HandleShapes::handleIn(const osg::NodePath& path)
{
    refresh();
    for (osg::Node* node : path)
        for (osgManipulator::Dragger* handle : m_handles)
            if (node == handle)
                return handle;
    return nullptr;
}

HandleShapes::Nearest HandleShapes::nearestWithin(const Projection& projection, double pixels)
{
    Nearest best;
    best.pixels = std::numeric_limits<double>::infinity();
    if (!projection.valid || !(pixels > 0.0))
        return best;
    refresh();
    std::size_t matrixOf = m_handles.size();
    osg::Matrixd handleToWorld;
    osg::Matrixd localToWindow;
    for (const Piece& piece : m_pieces) {
        osgManipulator::Dragger* handle = m_handles[piece.handleIndex];
        const PickExclusion* exclusion = m_exclusions[piece.handleIndex];
        if (handle->getNodeMask() == 0 || (exclusion && exclusion->excludedFromPicks()))
            continue;
        if (matrixOf != piece.handleIndex) {
            matrixOf = piece.handleIndex;
            handleToWorld = localToWorld(*handle);
            localToWindow = handleToWorld * projection.worldToWindow;
        }
        if (piece.facingFrame < 0) {
            measurePiece(piece, localToWindow, projection.pointer, pixels, best);
            continue;
        }
        osg::Matrixd pieceToWorld;
        osg::Matrixd worldToHandle;
        if (!facingToWorld(piece, projection, pieceToWorld) || !worldToHandle.invert(handleToWorld))
            continue;
        const double nearestBefore = best.pixels;
        measurePiece(piece, pieceToWorld * projection.worldToWindow, projection.pointer, pixels,
                     best);
        if (best.pixels < nearestBefore)
            best.localPoint = best.localPoint * pieceToWorld * worldToHandle;
    }
    if (!best.handle || best.pixels > pixels)
        return Nearest();
    best.worldPoint = best.localPoint * localToWorld(*best.handle);
    return best;
}

void HandleShapes::measurePiece(const Piece& piece, const osg::Matrixd& localToWindow,
                                const osg::Vec2d& pointer, double pixels, Nearest& best) const
{
    // A piece of plain lines or faces measures at least its bound's distance
    // less its half width. A widened piece (a cone) measures at least the
    // distance of its bound grown by its largest radius, less its half width
    // and the diagonal of that bound's image, which holds the axis point
    // and the rim points whose offset it subtracts. One that cannot come
    // nearer than the nearest so far, or than the tolerance, is passed over.
    // Balls are always measured.
    const double reach = std::min(best.pixels, pixels) + piece.halfWidth;
    if (piece.kind != Kind::BALL) {
        const double widening = std::max({0.0f, piece.startRadius, piece.endRadius});
        const SphereImage bound =
            SphereImage::of(piece.boundCentre, piece.boundRadius + widening, localToWindow);
        const double rimAllowance = widening > 0.0 ? 2.0 * bound.spread.length() : 0.0;
        if (!bound.reaches(pointer, reach + rimAllowance))
            return;
    }
    switch (piece.kind) {
    case Kind::BALL:
        measureBall(piece, localToWindow, pointer, best);
        return;
    case Kind::FACE:
        if (measureInsideFace(piece, localToWindow, pointer, best))
            return;
        break;
    case Kind::OUTLINE:
        break;
    }
    measureOutline(piece, localToWindow, pointer, best);
}

bool HandleShapes::facingToWorld(const Piece& piece, const Projection& projection,
                                 osg::Matrixd& pieceToWorld) const
{
    const osg::Node& facingNode = *m_facingFrames[std::size_t(piece.facingFrame)];
    const osg::Matrixd parentToWorld = HandleShapes::parentToWorld(facingNode);
    osg::Matrixd worldToParent;
    osg::Matrixd eyeToWorld;
    if (!worldToParent.invert(parentToWorld) || !eyeToWorld.invert(projection.worldToEye))
        return false;
    // Turned as the facing transform turns it for this camera's eye.
    osg::Quat facing;
    if (!FacingTransform::facingFor(eyeToWorld.getTrans() * worldToParent, facing))
        return false;
    pieceToWorld = osg::Matrixd::rotate(facing) * parentToWorld;
    return true;
}

void HandleShapes::consider(const Piece& piece, double pixels, const osg::Vec3d& local,
                            Nearest& best) const
{
    pixels = std::max(pixels, 0.0);
    if (pixels < best.pixels) {
        best.pixels = pixels;
        best.handle = m_handles[piece.handleIndex];
        best.localPoint = local;
    }
}

bool HandleShapes::measureInsideFace(const Piece& piece, const osg::Matrixd& localToWindow,
                                     const osg::Vec2d& pointer, Nearest& best) const
{
    const auto cross = [](const osg::Vec2d& u, const osg::Vec2d& v) {
        return u.x() * v.y() - u.y() * v.x();
    };
    const osg::Vec3d first = m_points[piece.first];
    const WindowPoint a = toWindow(first, localToWindow);
    if (!(a.w > kMinClipW))
        return false;
    // A convex face is a fan of triangles about its first corner.
    for (std::size_t k = 1; k + 1 < piece.count; ++k) {
        const osg::Vec3d second = m_points[piece.first + k];
        const osg::Vec3d third = m_points[piece.first + k + 1];
        const WindowPoint b = toWindow(second, localToWindow);
        const WindowPoint c = toWindow(third, localToWindow);
        const double area = cross(b.at - a.at, c.at - a.at);
        if (!(b.w > kMinClipW) || !(c.w > kMinClipW) || area == 0.0)
            continue;
        const double atB = cross(pointer - a.at, c.at - a.at) / area;
        const double atC = cross(b.at - a.at, pointer - a.at) / area;
        const double atA = 1.0 - atB - atC;
        if (!(atA >= 0.0 && atB >= 0.0 && atC >= 0.0))
            continue;
        // Window weights are linear in 1/w: these are the face's own.
        const double wa = atA / a.w;
        const double wb = atB / b.w;
        const double wc = atC / c.w;
        consider(piece, 0.0, (first * wa + second * wb + third * wc) / (wa + wb + wc), best);
        return true;
    }
    return false;
}

void HandleShapes::measureBall(const Piece& piece, const osg::Matrixd& localToWindow,
                               const osg::Vec2d& pointer, Nearest& best) const
{
    const osg::Vec3d centre = m_points[piece.first];
    const WindowPoint image = toWindow(centre, localToWindow);
    if (!(image.w > kMinClipW))
        return;
    // The images of the radius along each own axis give the image's radius,
    // and, weighed by how far each goes towards the pointer, the direction
    // of the ball's point nearest to the pointer.
    const osg::Vec2d offset = pointer - image.at;
    double imageRadius = 0.0;
    osg::Vec3d towardsPointer;
    for (int axis = 0; axis < 3; ++axis) {
        osg::Vec3d step;
        step[axis] = piece.startRadius;
        const WindowPoint rim = toWindow(centre + step, localToWindow);
        if (!(rim.w > kMinClipW))
            continue;
        imageRadius = std::max(imageRadius, (rim.at - image.at).length());
        towardsPointer[axis] = (rim.at - image.at) * offset;
    }
    const double length = towardsPointer.length();
    const double reach = std::min(offset.length(), imageRadius);
    const osg::Vec3d local =
        length > 0.0 && imageRadius > 0.0
            ? centre + towardsPointer * (piece.startRadius * reach / (imageRadius * length))
            : centre;
    consider(piece, offset.length() - imageRadius, local, best);
}

void HandleShapes::measureOutline(const Piece& piece, const osg::Matrixd& localToWindow,
                                  const osg::Vec2d& pointer, Nearest& best) const
{
    if (piece.count < 2)
        return;
    const std::size_t segments = piece.closed ? piece.count : piece.count - 1;
    // Each point is taken to the window once: a segment ends where the next begins.
    const WindowPoint first = toWindow(m_points[piece.first], localToWindow);
    WindowPoint wb = first;
    for (std::size_t s = 0; s < segments; ++s) {
        const std::size_t next = (s + 1) % piece.count;
        const osg::Vec3d a = m_points[piece.first + s];
        const osg::Vec3d b = m_points[piece.first + next];
        const WindowPoint wa = wb;
        wb = next == 0 ? first : toWindow(b, localToWindow);
        if (!(wa.w > kMinClipW) || !(wb.w > kMinClipW))
            continue;
        const osg::Vec2d along = wb.at - wa.at;
        const double length2 = along.length2();
        const double t =
            length2 > 0.0 ? std::clamp((pointer - wa.at) * along / length2, 0.0, 1.0) : 0.0;
        double pixels = (pointer - (wa.at + along * t)).length() - piece.halfWidth;
        // The window parameter t is linear in 1/w, not in the handle's own
        // coordinates: this gives the handle point that is seen there.
        const double tLocal = (t / wb.w) / ((1.0 - t) / wa.w + t / wb.w);
        const osg::Vec3d local = a + (b - a) * tLocal;
        const double radius = piece.startRadius + (piece.endRadius - piece.startRadius) * tLocal;
        if (radius > 0.0 && (b - a).length2() > 0.0) {
            osg::Vec3d side;
            osg::Vec3d other;
            perpendiculars(b - a, side, other);
            const WindowPoint centre = toWindow(local, localToWindow);
            const WindowPoint rim1 = toWindow(local + side * radius, localToWindow);
            const WindowPoint rim2 = toWindow(local + other * radius, localToWindow);
            pixels -= std::max((rim1.at - centre.at).length(), (rim2.at - centre.at).length());
        }
        consider(piece, pixels, local, best);
    }
}

} // namespace Rk
