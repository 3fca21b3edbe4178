#ifndef RK_HANDLE_SHAPES_H
#define RK_HANDLE_SHAPES_H

#include <osg/Matrixd>
#include <osg/Node>
#include <osg/PrimitiveSet>
#include <osg/Vec2d>
#include <osg/Vec3>
#include <osgManipulator/Dragger>

#include <cstdint>
#include <vector>

namespace osgGA {
class GUIEventAdapter;
}

namespace osg {
class Geode;
class Geometry;
class ShapeDrawable;
} // namespace osg

namespace Rk {

class PickExclusion;

/// The drawn shapes of the one-axis handles below a composite dragger,
/// projected into the pointer's window pixels on demand: "which shown handle
/// is nearest to this pointer, and is it within N pixels?".
///
/// Shapes live in each handle's own coordinates. `collect()` reads them from
/// the drawn geometry once (line segments, line strips and loops with their
/// line width, cones as tapered segments, spheres (`osg::Sphere` shapes and
/// `BallGeometry`) as balls, triangles and
/// quads as filled faces: a pointer over a face's image is 0 px from it;
/// drawables with a cull callback are pick targets that are never drawn and
/// are skipped; shapes below an `Rk::FacingTransform` are turned towards the
/// camera's eye at each query, as the transform turns them for that view,
/// below whatever transforms lie between it and the handle (a screen-scaling
/// chain among them); other transforms below a handle that are not matrix
/// transforms count as plain groups);
/// handles of other
/// kinds may add theirs with `addSegment`, `addPolyline` (a closed polyline
/// serves for circles, squares and any polygon outline). Queries never
/// traverse the scene and never allocate: each handle's local-to-world is
/// built from its first parent chain up to the first camera, with each
/// transform's own `computeLocalToWorldMatrix` (so an auto-scaling transform
/// gives the scale of its last cull, as the scene pick sees it).
///
/// Distances are measured in the event's own coordinates (`getXmin()` to
/// `getXmax()`, y as the event counts it): the pixels of the window the
/// pointer is in. A camera without a viewport, a singular projection or a
/// point behind the eye gives no candidate.
class HandleShapes
{
public:
    /// A candidate handle under or beside the pointer.
    struct Nearest
    {
        osgManipulator::Dragger* handle = nullptr;
        /// The nearest point of the handle's drawn shape, handle coordinates.
        osg::Vec3d localPoint;
        /// The same point in world coordinates.
        osg::Vec3d worldPoint;
        /// Window pixels from the pointer to the drawn image (0 on it).
        double pixels = 0.0;
    };

    /// The projection of one event: world to the event's window coordinates.
    struct Projection
    {
        osg::Matrixd worldToWindow;
        osg::Matrixd worldToEye;
        osg::Matrixd eyeToWindow;
        osg::Vec2d pointer;
        /// Names the window transform: equal ids, equal transforms (0: none).
        std::uint64_t transformId = 0;
        bool valid = false;
    };

    /// Where the image of a sphere can lie in the window: any point of the
    /// sphere appears within `spread` pixels (per axis) of `centre`.
    /// `anywhere` when the sphere reaches the eye plane, or lies behind it,
    /// and nothing can be ruled out.
    struct SphereImage
    {
        osg::Vec2d centre;
        osg::Vec2d spread;
        bool anywhere = true;

        /// The image of the sphere at `centre` with `radius` (local
        /// coordinates) through `localToWindow`.
        static SphereImage of(const osg::Vec3d& centre, double radius,
                              const osg::Matrixd& localToWindow);
        /// False when no point of the image lies within `reach` pixels of
        /// `pointer`; true when one may.
        bool reaches(const osg::Vec2d& pointer, double reach) const;
    };

    /// Shapes of the handles below `owner` (the owner itself is no handle).
    explicit HandleShapes(osgManipulator::CompositeDragger& owner) : m_owner(owner) {}

    /// Reads the handles and their drawn geometry again, keeping the shapes
    /// added by hand. The queries call it whenever a handle or a child of a
    /// handle was added or removed since the last reading.
    void collect();
    /// A straight piece of a handle's image from `start` to `end` (handle
    /// coordinates), drawn `pixelWidth` wide, or a cone-like piece whose
    /// radius (handle units) goes from `startRadius` to `endRadius`.
    void addSegment(osgManipulator::Dragger* handle, const osg::Vec3& start, const osg::Vec3& end,
                    float pixelWidth, float startRadius = 0.0f, float endRadius = 0.0f);
    /// A polyline through `points` (handle coordinates), closed back to the
    /// first point when `closed`, drawn `pixelWidth` wide.
    void addPolyline(osgManipulator::Dragger* handle, const std::vector<osg::Vec3>& points,
                     bool closed, float pixelWidth);

    /// Calls `collect()` when a handle or a child of a handle was added or
    /// removed since the last reading; cheap otherwise.
    void refresh();
    /// The handles found by the last `collect()`, X before Y before Z, arrows
    /// before rings in a frame dragger.
    const std::vector<osgManipulator::Dragger*>& handles() const { return m_handles; }

    /// The camera, pointer and window transform of `event` in `camera`;
    /// invalid without a viewport or with a degenerate event range. The
    /// reference stays valid until the next call on the same thread.
    static const Projection& projectionOf(const osg::Camera* camera,
                                          const osgGA::GUIEventAdapter& event);
    /// The node's local-to-world (its own transform included), up to (not
    /// including) the first camera, along the first parent of each node.
    /// `cameraAbove`, when given, receives that camera (null when the walk
    /// reached a node without parents).
    static osg::Matrixd localToWorld(const osg::Node& node,
                                     const osg::Camera** cameraAbove = nullptr);
    /// The same without the node's own transform.
    static osg::Matrixd parentToWorld(const osg::Node& node,
                                      const osg::Camera** cameraAbove = nullptr);

    /// The nearest shown handle (node mask not 0, not excluded from picks)
    /// whose image lies within `pixels` of the pointer; `handle` is null when
    /// there is none. `pixels` must be finite and positive.
    Nearest nearestWithin(const Projection& projection, double pixels);
    /// Whether the pointer is within `pixels` of the bounding sphere's image
    /// of the owner, whose parents' local-to-world is `toWorld`: a cheap test
    /// before a pick or a shape search.
    /// The image is kept between calls and made again when the window
    /// transform, the owner's parents' transforms or its bound changed.
    bool nearOwner(const Projection& projection, const osg::Matrixd& toWorld, double pixels);
    /// The owner's handle in `path`, or null.
    osgManipulator::Dragger* handleIn(const osg::NodePath& path);

private:
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

    struct Piece
    {
        osgManipulator::Dragger* handle;
        std::size_t handleIndex;
        std::size_t first;
        std::size_t count;
        bool closed;
        float halfWidth;
        float startRadius;
        float endRadius;
        Kind kind = Kind::OUTLINE;
        /// Below a `FacingTransform`: the index of its frame in
        /// `m_facingFrames`, the points being in the transform's children's
        /// coordinates; -1 for points in handle coordinates.
        int facingFrame = -1;
        /// A sphere (in the points' coordinates) that holds every point.
        osg::Vec3 boundCentre = osg::Vec3();
        float boundRadius = 0.0f;
    };

    unsigned int childSignature() const;
    void collectHandles(osgManipulator::CompositeDragger& composite);
    void collectDrawn(std::size_t handleIndex, osg::Node& node, const osg::Matrixd& toHandle);
    void addPiece(std::vector<Piece>& pieces, std::vector<osg::Vec3>& points, Piece piece,
                  const osg::Vec3* first, std::size_t count);
    void appendAddedPieces();
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
    void addRun(std::vector<Piece>& pieces, std::vector<osg::Vec3>& points, Piece piece,
                const osg::Vec3* first, std::size_t count);
    void measurePiece(const Piece& piece, const osg::Matrixd& localToWindow,
                      const osg::Vec2d& pointer, double pixels, Nearest& best) const;
    void measureOutline(const Piece& piece, const osg::Matrixd& localToWindow,
                        const osg::Vec2d& pointer, Nearest& best) const;
    bool measureInsideFace(const Piece& piece, const osg::Matrixd& localToWindow,
                           const osg::Vec2d& pointer, Nearest& best) const;
    void measureBall(const Piece& piece, const osg::Matrixd& localToWindow,
                     const osg::Vec2d& pointer, Nearest& best) const;
    void consider(const Piece& piece, double pixels, const osg::Vec3d& local, Nearest& best) const;
    bool facingToWorld(const Piece& piece, const Projection& projection,
                       osg::Matrixd& pieceToWorld) const;

    osgManipulator::CompositeDragger& m_owner;
    std::vector<osgManipulator::Dragger*> m_handles;
    std::vector<PickExclusion*> m_exclusions;
    std::vector<Piece> m_pieces;
    std::vector<osg::Vec3> m_points;
    std::vector<Piece> m_addedPieces;
    std::vector<osg::Vec3> m_addedPoints;
    /// The facing transforms below the handles.
    std::vector<const osg::Node*> m_facingFrames;
    unsigned int m_signature = ~0u;

    /// The owner's bound's image for one window transform and placement.
    struct OwnerImage
    {
        std::uint64_t transformId = 0;
        osg::Matrixd toWorld;
        osg::Vec3f centre;
        float radius = 0.0f;
        SphereImage image;
    };
    OwnerImage m_ownerImage;
};

} // namespace Rk

#endif
