#ifndef RK_HANDLE_SHAPES_H
#define RK_HANDLE_SHAPES_H

#include "rkHandlePieces.h"
#include "rkWindowProjection.h"

#include <osg/Matrixd>
#include <osg/Node>
#include <osg/Vec2d>
#include <osg/Vec3>
#include <osgManipulator/Dragger>

#include <cstdint>
#include <vector>

namespace Rk {

/// The drawn shapes of the one-axis handles below a composite dragger (read
/// by `HandlePieces`), measured in the pointer's window pixels on demand:
/// "which shown handle is nearest to this pointer, and is it within N
/// pixels?".
///
/// Shapes below an `Rk::FacingTransform` are turned towards the camera's eye
/// at each query, as the transform turns them for that view, below whatever
/// transforms lie between it and the handle (a screen-scaling chain among
/// them). Queries never traverse the scene and never allocate: each handle's
/// local-to-world is `WindowProjection::localToWorld`.
///
/// Distances are measured in the pixels of the window the pointer is in (see
/// `WindowProjection`). A camera without a viewport, a singular projection or
/// a point behind the eye gives no candidate.
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

    /// Shapes of the handles below `owner` (the owner itself is no handle).
    explicit HandleShapes(osgManipulator::CompositeDragger& owner) : m_owner(owner), m_pieces(owner)
    {
    }

    /// Reads the handles and their shapes again when a handle or a child of a
    /// handle was added or removed since the last reading; cheap otherwise.
    /// The queries call it themselves.
    void refresh() { m_pieces.refresh(); }
    /// The handles found by the last reading, X before Y before Z, arrows
    /// before rings in a frame dragger.
    const std::vector<osgManipulator::Dragger*>& handles() const { return m_pieces.handles(); }

    /// The nearest shown handle (one that the owner's pick would enter, not
    /// excluded from picks; see `HandlePieces::shown`) whose image lies
    /// within `pixels` of the pointer; `handle` is null when there is none.
    /// `pixels` must be finite and positive.
    Nearest nearestWithin(const WindowProjection& projection, double pixels);
    /// Whether the pointer is within `pixels` of the bounding sphere's image
    /// of the owner, whose parents' local-to-world is `toWorld`: a cheap test
    /// before a pick or a shape search.
    /// The image is kept between calls and made again when the window
    /// transform, the owner's parents' transforms or its bound changed.
    bool nearOwner(const WindowProjection& projection, const osg::Matrixd& toWorld, double pixels);
    /// The owner's handle in `path`, or null.
    osgManipulator::Dragger* handleIn(const osg::NodePath& path);

private:
    using Piece = HandlePieces::Piece;
    using Kind = HandlePieces::Kind;

    static SphereImage boundImage(const Piece& piece, const osg::Matrixd& localToWindow);
    void measurePiece(const Piece& piece, const osg::Matrixd& localToWindow,
                      const SphereImage& bound, const osg::Vec2d& pointer, double pixels,
                      Nearest& best) const;
    /// A piece facing the camera (the view ring): measured turned as the
    /// camera of `projection` turns it, its nearest point in its handle's frame.
    void measureFacingPiece(const Piece& piece, const WindowProjection& projection,
                            const osg::Matrixd& handleToWorld, double pixels, Nearest& best) const;
    /// Drops the kept images when the pieces were read again.
    void forgetImagesOfFormerPieces();
    /// Gives the handle's transform a new stamp unless it is the one kept.
    void keepTransform(std::size_t handleIndex, const osg::Matrixd& localToWindow);
    /// The piece's bound image for its handle's kept transform, `localToWindow`.
    const SphereImage& keptBoundImage(std::size_t pieceIndex, const osg::Matrixd& localToWindow);
    void measureOutline(const Piece& piece, const osg::Matrixd& localToWindow,
                        const osg::Vec2d& pointer, Nearest& best) const;
    bool measureInsideFace(const Piece& piece, const osg::Matrixd& localToWindow,
                           const osg::Vec2d& pointer, Nearest& best) const;
    void measureBall(const Piece& piece, const osg::Matrixd& localToWindow,
                     const osg::Vec2d& pointer, Nearest& best) const;
    void consider(const Piece& piece, double pixels, const osg::Vec3d& local, Nearest& best) const;
    bool facingToWorld(const Piece& piece, const WindowProjection& projection,
                       osg::Matrixd& pieceToWorld) const;

    osgManipulator::CompositeDragger& m_owner;
    HandlePieces m_pieces;

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

    /// The images of the pieces' bounds, kept per handle for one
    /// local-to-window transform: a search under an unchanged camera and
    /// pose (pointer moves, repeated presses) projects none of them again.
    /// A piece's image is made again when its handle's transform got another
    /// stamp since, or the pieces were read again.
    struct HandleTransform
    {
        osg::Matrixd localToWindow;
        std::uint64_t stamp = 0;
    };
    struct KeptImage
    {
        SphereImage image;
        std::uint64_t stamp = 0;
    };
    std::vector<HandleTransform> m_handleTransforms;
    std::vector<KeptImage> m_pieceImages;
    unsigned int m_imagesGeneration = ~0u;
    std::uint64_t m_lastStamp = 0;
};

} // namespace Rk

#endif
