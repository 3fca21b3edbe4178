#include "rkHandlePieces.h"

#include "rkBallGeometry.h"
#include "rkFacingTransform.h"
#include "rkOneAxisHandle.h"
#include "rkRootPath.h"

#include <osg/BoundingBox>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/LineWidth>
#include <osg/ShapeDrawable>

#include <algorithm>
#include <cstdint>

namespace Rk {

namespace {

// Lines without a LineWidth attribute are drawn one pixel wide.
const float kDefaultLineWidth = 1.0f;
// Points per run of a long outline (one more than its segments).
const std::size_t kRunPoints = 9;

float lineWidthOf(const osg::StateSet* stateSet)
{
    const auto* width = stateSet ? dynamic_cast<const osg::LineWidth*>(
                                       stateSet->getAttribute(osg::StateAttribute::LINEWIDTH))
                                 : nullptr;
    return width ? width->getWidth() : 0.0f;
}

} // namespace

void HandlePieces::refresh()
{
    const unsigned int signature = childSignature();
    if (signature == m_signature)
        return;
    collect();
    m_signature = signature;
}

unsigned int HandlePieces::childSignature() const
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

void HandlePieces::collect()
{
    ++m_generation;
    m_handles.clear();
    m_exclusions.clear();
    m_pieces.clear();
    m_facingFrames.clear();
    m_points.clear();
    collectHandles(m_owner);
    for (std::size_t index = 0; index < m_handles.size(); ++index)
        for (unsigned int child = 0; child < m_handles[index]->getNumChildren(); ++child)
            collectDrawn(index, *m_handles[index]->getChild(child), osg::Matrixd());
}

void HandlePieces::collectHandles(osgManipulator::CompositeDragger& composite)
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

void HandlePieces::collectDrawn(std::size_t handleIndex, osg::Node& node,
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

void HandlePieces::collectFacing(std::size_t handleIndex, osg::Group& facing)
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

void HandlePieces::collectShape(std::size_t handleIndex, const osg::ShapeDrawable& drawable,
                                const osg::Matrixd& toHandle)
{
    if (const auto* cone = dynamic_cast<const osg::Cone*>(drawable.getShape())) {
        const osg::Vec3 axis = cone->getRotation() * osg::Vec3(0.0f, 0.0f, 1.0f);
        const osg::Vec3 base = cone->getCenter() + axis * cone->getBaseOffset();
        const osg::Vec3 points[] = {base * toHandle, (base + axis * cone->getHeight()) * toHandle};
        addPiece({handleIndex, 0, 2, false, 0.0f, cone->getRadius(), 0.0f}, points, 2);
    } else if (const auto* sphere = dynamic_cast<const osg::Sphere*>(drawable.getShape())) {
        addBall(handleIndex, sphere->getCenter(), sphere->getRadius(), toHandle);
    }
}

void HandlePieces::addBall(std::size_t handleIndex, const osg::Vec3& centre, float radius,
                           const osg::Matrixd& toHandle)
{
    const osg::Vec3d scale = toHandle.getScale();
    const float handleRadius = radius * float(std::max({scale.x(), scale.y(), scale.z()}));
    const osg::Vec3 handleCentre = centre * toHandle;
    addPiece({handleIndex, 0, 1, false, 0.0f, handleRadius, handleRadius, Kind::BALL},
             &handleCentre, 1);
}

void HandlePieces::collectGeometry(std::size_t handleIndex, const osg::Geode& geode,
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

void HandlePieces::addLines(std::size_t handleIndex, GLenum mode, float halfWidth,
                            const std::vector<osg::Vec3>& points)
{
    const Piece piece{handleIndex, 0, 0, mode == GL_LINE_LOOP, halfWidth, 0.0f, 0.0f};
    if (mode != GL_LINES) {
        addPiece(piece, points.data(), points.size());
        return;
    }
    for (std::size_t k = 0; k + 1 < points.size(); k += 2)
        addPiece(piece, points.data() + k, 2);
}

void HandlePieces::addFaces(std::size_t handleIndex, const osg::PrimitiveSet& primitives,
                            const std::vector<osg::Vec3>& points)
{
    const std::size_t corners = primitives.getMode() == GL_QUADS ? 4 : 3;
    const Piece piece{handleIndex, 0, 0, true, 0.0f, 0.0f, 0.0f, Kind::FACE};
    for (std::size_t k = 0; k + corners <= points.size(); k += corners)
        addPiece(piece, points.data() + k, corners);
}

void HandlePieces::addPiece(Piece piece, const osg::Vec3* first, std::size_t count)
{
    // A long outline (a ring's line) goes in runs of a few segments, each
    // with its own bound, so that a query passes over the runs far from the
    // pointer. The segments are the same; a closed outline's last run ends
    // at its first point.
    if (piece.kind != Kind::OUTLINE || count <= kRunPoints) {
        addRun(piece, first, count);
        return;
    }
    std::vector<osg::Vec3> outline(first, first + count);
    if (piece.closed)
        outline.push_back(*first);
    piece.closed = false;
    for (std::size_t start = 0; start + 1 < outline.size(); start += kRunPoints - 1)
        addRun(piece, outline.data() + start, std::min(kRunPoints, outline.size() - start));
}

void HandlePieces::addRun(Piece piece, const osg::Vec3* first, std::size_t count)
{
    piece.first = m_points.size();
    piece.count = count;
    osg::BoundingBox box;
    for (std::size_t k = 0; k < count; ++k)
        box.expandBy(first[k]);
    piece.boundCentre = box.center();
    piece.boundRadius = 0.0f;
    for (std::size_t k = 0; k < count; ++k)
        piece.boundRadius = std::max(piece.boundRadius, (first[k] - piece.boundCentre).length());
    m_points.insert(m_points.end(), first, first + count);
    m_pieces.push_back(piece);
}

bool HandlePieces::shown(std::size_t handleIndex) const
{
    const PickExclusion* exclusion = m_exclusions[handleIndex];
    if (exclusion && exclusion->excludedFromPicks())
        return false;
    return pickEnters(*m_handles[handleIndex], &m_owner, m_owner.getIntersectionMask());
}

bool HandlePieces::ownerPickable() const
{
    return pickEnters(m_owner, nullptr, m_owner.getIntersectionMask());
}

bool HandlePieces::pickEnters(const osg::Node& node, const osg::Node* until, unsigned int pickMask)
{
    for (const osg::Node* at = &node; at && at != until; at = RootPath::firstParent(*at))
        if ((at->getNodeMask() & pickMask) == 0)
            return false;
    return true;
}

} // namespace Rk
