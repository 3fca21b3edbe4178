#ifndef RK_HANDLE_PIECES_H
#define RK_HANDLE_PIECES_H

#include <osg/Matrixd>
#include <osg/PrimitiveSet>
#include <osg/Vec3>
#include <osgManipulator/Dragger>

#include <cstddef>
#include <vector>

namespace osg {
class Geode;
class Geometry;
class Group;
class Node;
class ShapeDrawable;
} // namespace osg

namespace Rk {

class PickExclusion;

/// The drawn shapes of the one-axis handles below a composite dragger, read
/// from their geometry into pieces that `HandleShapes` measures the pointer
/// against.
///
/// The handles are the draggers below the owner's composites, X before Y
/// before Z, arrows before rings in a frame dragger. Their shapes are read
/// once, in each handle's own coordinates: line segments, line strips and
/// loops with their line width; cones as tapered segments; spheres
/// (`osg::Sphere` shapes and `BallGeometry`) as balls; triangles and quads as
/// filled faces. Drawables with a cull callback are pick targets that are
/// never drawn and are skipped. Shapes below an `Rk::FacingTransform` keep
/// that transform's children's coordinates, since it turns them towards each
/// view's eye; other transforms below a handle that are not matrix transforms
/// count as plain groups. Other primitive modes (points, strips and fans of
/// faces) give no piece.
class HandlePieces
{
public:
    /// How a piece's points make up its image.
    enum class Kind
    {
        /// A polyline (closed or not), each point of it widened by the radius.
        OUTLINE,
        /// A flat convex polygon, filled: its outline, and 0 px inside.
        FACE,
        /// A sphere: one point (the centre) with `startRadius`.
        BALL
    };

    /// A run of points of one handle's shape.
    struct Piece
    {
        std::size_t handleIndex;
        /// The piece's points: `count` of `points()`, from index `first`.
        std::size_t first;
        std::size_t count;
        bool closed;
        /// Half the drawn line width, window pixels.
        float halfWidth;
        /// A cone's radius at the first and last point (a ball's radius in
        /// both), in the points' units.
        float startRadius;
        float endRadius;
        Kind kind = Kind::OUTLINE;
        /// Below a `FacingTransform`: the index of its frame in
        /// `facingFrames()`, the points being in the transform's children's
        /// coordinates; -1 for points in handle coordinates.
        int facingFrame = -1;
        /// A sphere (in the points' coordinates) that holds every point.
        osg::Vec3 boundCentre = osg::Vec3();
        float boundRadius = 0.0f;
    };

    /// Pieces of the handles below `owner` (the owner itself is no handle).
    explicit HandlePieces(osgManipulator::CompositeDragger& owner) : m_owner(owner) {}

    /// Reads the handles and their shapes again when a handle or a child of a
    /// handle was added or removed since the last reading; cheap otherwise.
    void refresh();

    const std::vector<osgManipulator::Dragger*>& handles() const { return m_handles; }
    const std::vector<Piece>& pieces() const { return m_pieces; }
    /// Changes whenever the pieces are read again.
    unsigned int generation() const { return m_generation; }
    const osg::Vec3& point(std::size_t index) const { return m_points[index]; }
    /// The facing transform that places the pieces with `facingFrame` `index`.
    const osg::Node& facingFrame(int index) const { return *m_facingFrames[std::size_t(index)]; }
    /// Whether the owner's pick enters the owner: every node mask from the
    /// owner up to the top of the scene (along first parents) shares a bit
    /// with the owner's intersection mask.
    bool ownerPickable() const;
    /// Whether the handle may be grabbed in a pickable owner: not excluded
    /// from picks, and every node mask from the handle up to the owner shares
    /// a bit with the owner's intersection mask. A hidden handle (node mask
    /// 0) is not shown.
    bool shown(std::size_t handleIndex) const;

private:
    /// Whether every node mask from `node` up to `until` (excluded) or the
    /// top of the scene shares a bit with `pickMask`.
    static bool pickEnters(const osg::Node& node, const osg::Node* until, unsigned int pickMask);
    unsigned int childSignature() const;
    void collect();
    void collectHandles(osgManipulator::CompositeDragger& composite);
    void collectDrawn(std::size_t handleIndex, osg::Node& node, const osg::Matrixd& toHandle);
    void collectFacing(std::size_t handleIndex, osg::Group& facing);
    void collectShape(std::size_t handleIndex, const osg::ShapeDrawable& drawable,
                      const osg::Matrixd& toHandle);
    void collectGeometry(std::size_t handleIndex, const osg::Geode& geode,
                         const osg::Geometry& geometry, const osg::Matrixd& toHandle);
    void addBall(std::size_t handleIndex, const osg::Vec3& centre, float radius,
                 const osg::Matrixd& toHandle);
    void addLines(std::size_t handleIndex, GLenum mode, float halfWidth,
                  const std::vector<osg::Vec3>& points);
    void addFaces(std::size_t handleIndex, const osg::PrimitiveSet& primitives,
                  const std::vector<osg::Vec3>& points);
    void addPiece(Piece piece, const osg::Vec3* first, std::size_t count);
    void addRun(Piece piece, const osg::Vec3* first, std::size_t count);

    osgManipulator::CompositeDragger& m_owner;
    std::vector<osgManipulator::Dragger*> m_handles;
    std::vector<PickExclusion*> m_exclusions;
    std::vector<Piece> m_pieces;
    std::vector<osg::Vec3> m_points;
    /// The facing transforms below the handles.
    std::vector<const osg::Node*> m_facingFrames;
    unsigned int m_signature = ~0u;
    unsigned int m_generation = 0;
};

} // namespace Rk

#endif
