#include "rkHandleShapes.h"

#include "rkFacingTransform.h"
#include "rkFinite.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Rk {

namespace {

// A transform that shears or scales unevenly can stretch the owner's bound
// beyond its largest axis scale; this margin keeps the owner test on the
// safe side.
const double kBoundMargin = 1.25;

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

bool HandleShapes::nearOwner(const WindowProjection& projection, const osg::Matrixd& toWorld,
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
    m_pieces.refresh();
    for (osg::Node* node : path)
        for (osgManipulator::Dragger* handle : handles())
            if (node == handle)
                return handle;
    return nullptr;
}

HandleShapes::Nearest HandleShapes::nearestWithin(const WindowProjection& projection, double pixels)
{
    Nearest best;
    best.pixels = std::numeric_limits<double>::infinity();
    if (!projection.valid || !(pixels > 0.0) || !m_pieces.ownerPickable())
        return best;
    m_pieces.refresh();
    forgetImagesOfFormerPieces();
    std::size_t matrixOf = handles().size();
    bool shown = false;
    osg::Matrixd handleToWorld;
    osg::Matrixd localToWindow;
    for (std::size_t index = 0; index < m_pieces.pieces().size(); ++index) {
        const Piece& piece = m_pieces.pieces()[index];
        // The pieces of one handle stand together: its matrix is made once.
        if (matrixOf != piece.handleIndex) {
            matrixOf = piece.handleIndex;
            shown = m_pieces.shown(matrixOf);
            if (shown) {
                handleToWorld = WindowProjection::localToWorld(*handles()[matrixOf]);
                localToWindow = handleToWorld * projection.worldToWindow;
                keepTransform(matrixOf, localToWindow);
            }
        }
        if (!shown)
            continue;
        if (piece.facingFrame < 0)
            measurePiece(piece, localToWindow, keptBoundImage(index, localToWindow),
                         projection.pointer, pixels, best);
        else
            measureFacingPiece(piece, projection, handleToWorld, pixels, best);
    }
    if (!best.handle || best.pixels > pixels)
        return Nearest();
    best.worldPoint = best.localPoint * WindowProjection::localToWorld(*best.handle);
    return best;
}

void HandleShapes::forgetImagesOfFormerPieces()
{
    if (m_imagesGeneration == m_pieces.generation())
        return;
    m_handleTransforms.assign(handles().size(), HandleTransform());
    m_pieceImages.assign(m_pieces.pieces().size(), KeptImage());
    m_imagesGeneration = m_pieces.generation();
}

void HandleShapes::measureFacingPiece(const Piece& piece, const WindowProjection& projection,
                                      const osg::Matrixd& handleToWorld, double pixels,
                                      Nearest& best) const
{
    // Turned for this camera at each search: its image is not kept.
    osg::Matrixd pieceToWorld;
    osg::Matrixd worldToHandle;
    if (!facingToWorld(piece, projection, pieceToWorld) || !worldToHandle.invert(handleToWorld))
        return;
    const double nearestBefore = best.pixels;
    const osg::Matrixd pieceToWindow = pieceToWorld * projection.worldToWindow;
    measurePiece(piece, pieceToWindow, boundImage(piece, pieceToWindow), projection.pointer, pixels,
                 best);
    // The nearest point goes into the handle's frame, as every other piece's.
    if (best.pixels < nearestBefore)
        best.localPoint = best.localPoint * pieceToWorld * worldToHandle;
}

SphereImage HandleShapes::boundImage(const Piece& piece, const osg::Matrixd& localToWindow)
{
    // A cone's bound grows by its largest radius (see measurePiece).
    const double widening = std::max({0.0f, piece.startRadius, piece.endRadius});
    return SphereImage::of(piece.boundCentre, piece.boundRadius + widening, localToWindow);
}

void HandleShapes::keepTransform(std::size_t handleIndex, const osg::Matrixd& localToWindow)
{
    HandleTransform& transform = m_handleTransforms[handleIndex];
    if (transform.stamp == 0 || !sameBits(transform.localToWindow, localToWindow)) {
        transform.localToWindow = localToWindow;
        transform.stamp = ++m_lastStamp;
    }
}

const SphereImage& HandleShapes::keptBoundImage(std::size_t pieceIndex,
                                                const osg::Matrixd& localToWindow)
{
    const HandleTransform& transform =
        m_handleTransforms[m_pieces.pieces()[pieceIndex].handleIndex];
    KeptImage& kept = m_pieceImages[pieceIndex];
    if (kept.stamp != transform.stamp) {
        kept.image = boundImage(m_pieces.pieces()[pieceIndex], localToWindow);
        kept.stamp = transform.stamp;
    }
    return kept.image;
}

void HandleShapes::measurePiece(const Piece& piece, const osg::Matrixd& localToWindow,
                                const SphereImage& bound, const osg::Vec2d& pointer, double pixels,
                                Nearest& best) const
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

bool HandleShapes::facingToWorld(const Piece& piece, const WindowProjection& projection,
                                 osg::Matrixd& pieceToWorld) const
{
    const osg::Matrixd parentToWorld =
        WindowProjection::parentToWorld(m_pieces.facingFrame(piece.facingFrame));
    osg::Matrixd worldToParent;
    osg::Matrixd eyeToWorld;
    if (!worldToParent.invert(parentToWorld) || !eyeToWorld.invert(projection.worldToEye))
        return false;
    // Turned as the facing transform turns it for this camera's viewer.
    const osg::Vec4d viewer =
        WindowProjection::viewerInEye(projection.eyeToWindow) * (eyeToWorld * worldToParent);
    osg::Quat facing;
    if (!FacingTransform::facingFor(viewer, facing))
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
        best.handle = handles()[piece.handleIndex];
        best.localPoint = local;
    }
}

bool HandleShapes::measureInsideFace(const Piece& piece, const osg::Matrixd& localToWindow,
                                     const osg::Vec2d& pointer, Nearest& best) const
{
    const auto cross = [](const osg::Vec2d& u, const osg::Vec2d& v) {
        return u.x() * v.y() - u.y() * v.x();
    };
    const osg::Vec3d first = m_pieces.point(piece.first);
    const WindowPoint a = WindowPoint::of(first, localToWindow);
    if (!a.inFront())
        return false;
    // A convex face is a fan of triangles about its first corner.
    for (std::size_t k = 1; k + 1 < piece.count; ++k) {
        const osg::Vec3d second = m_pieces.point(piece.first + k);
        const osg::Vec3d third = m_pieces.point(piece.first + k + 1);
        const WindowPoint b = WindowPoint::of(second, localToWindow);
        const WindowPoint c = WindowPoint::of(third, localToWindow);
        const double area = cross(b.at - a.at, c.at - a.at);
        if (!b.inFront() || !c.inFront() || area == 0.0)
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
    const osg::Vec3d centre = m_pieces.point(piece.first);
    const WindowPoint image = WindowPoint::of(centre, localToWindow);
    if (!image.inFront())
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
        const WindowPoint rim = WindowPoint::of(centre + step, localToWindow);
        if (!rim.inFront())
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
    const WindowPoint first = WindowPoint::of(m_pieces.point(piece.first), localToWindow);
    WindowPoint wb = first;
    for (std::size_t s = 0; s < segments; ++s) {
        const std::size_t next = (s + 1) % piece.count;
        const osg::Vec3d a = m_pieces.point(piece.first + s);
        const osg::Vec3d b = m_pieces.point(piece.first + next);
        const WindowPoint wa = wb;
        wb = next == 0 ? first : WindowPoint::of(b, localToWindow);
        if (!wa.inFront() || !wb.inFront())
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
            const WindowPoint centre = WindowPoint::of(local, localToWindow);
            const WindowPoint rim1 = WindowPoint::of(local + side * radius, localToWindow);
            const WindowPoint rim2 = WindowPoint::of(local + other * radius, localToWindow);
            pixels -= std::max((rim1.at - centre.at).length(), (rim2.at - centre.at).length());
        }
        consider(piece, pixels, local, best);
    }
}

} // namespace Rk
