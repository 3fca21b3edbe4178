#ifndef RK_EXTRA_HANDLES_DRAGGER_H
#define RK_EXTRA_HANDLES_DRAGGER_H

#include "rkComposite3DDragger.h"
#include "rkPlaneHandle.h"
#include "rkRotateDragger.h"
#include "rkScreenHandle.h"
#include "rkViewRing.h"

namespace Rk {

/// The optional handles of a frame dragger, as its third child: three plane
/// handles, a screen handle and a view ring, each only when asked for. Its
/// dragger list (and scene-graph order) is: the plane handles by normal
/// axis (YZ, ZX, XY), then the screen handle, then the view ring.
///
/// Every handle moves the outermost parent dragger (the frame), like the
/// arrows and rings. This composite writes no receiver of its own (it has
/// none) and keeps no pose; it only tells the frame which handle is active.
///
/// Shapes, in this dragger's coordinates (the frame scales it as a whole):
/// - plane handle with normal `n`: a square centred on `PLANE_OFFSET` along
///   each of its two in-plane axes, half a side `PLANE_HALF_SIZE`, in the
///   colour of `n` with alpha `PLANE_ALPHA`;
/// - screen handle: a sphere of `SCREEN_HANDLE_RADIUS` about the origin;
/// - view ring: a circle about the origin facing the camera, of radius
///   `VIEW_RING_RADIUS_FACTOR` times the axis rings' radius, with the axis
///   rings' pick tube; with `autoScaleToScreen` it sits below the same
///   screen-scaling chain as the axis rings, so both keep their ratio.
class ExtraHandlesDragger : public Composite3DDragger
{
public:
    /// Bits of the handle set (also those of `FrameDragger`).
    static constexpr int PLANE_HANDLES = 1;
    static constexpr int SCREEN_HANDLE = 2;
    static constexpr int VIEW_RING = 4;
    static constexpr int ALL_HANDLES = PLANE_HANDLES | SCREEN_HANDLE | VIEW_RING;

    /// Drag modes of a press on each kind of handle.
    static constexpr int PLANE_DRAG_MODE = 4;
    static constexpr int SCREEN_DRAG_MODE = 5;
    static constexpr int VIEW_RING_DRAG_MODE = 6;

    static constexpr float PLANE_OFFSET = 0.3f;
    static constexpr float PLANE_HALF_SIZE = 0.08f;
    static constexpr float PLANE_ALPHA = 0.5f;
    static constexpr float SCREEN_HANDLE_RADIUS = 0.06f;
    static constexpr float VIEW_RING_RADIUS_FACTOR = 1.25f;

    /// What to build, set by the frame dragger.
    struct Options
    {
        /// `PLANE_HANDLES | SCREEN_HANDLE | VIEW_RING`; other bits are ignored.
        int handleSet = 0;
        bool autoScaleToScreen = false;
        float ringRadius = RotateDragger::DEFAULT_RING_RADIUS;
        float pickTubeRadius = RotateDragger::DEFAULT_PICK_TUBE_RADIUS;
    };

    /// The handles of `options.handleSet`, without geometry, and no receiver.
    explicit ExtraHandlesDragger(const Options& options);

    /// Adds each handle's geometry and colour. Call once.
    void setupDefaultGeometry() override;
    /// Active handle: a plane handle gives its normal axis and
    /// `PLANE_DRAG_MODE`; the screen handle and view ring give `NO_AXIS` and
    /// their drag mode. None active: `NO_AXIS` and drag mode 0.
    void setFromChildDraggerActive() override;
    /// Every visitor but a pick goes the base's way; a pick skips each
    /// handle that its segment certainly misses (`PickSegment`).
    void traverse(osg::NodeVisitor& visitor) override;
    /// Whether `mode` is one of this dragger's drag modes.
    static bool ownsDragMode(int mode);

    /// The plane handle with normal `axis`, or null when not built.
    PlaneHandle* planeHandle(AxisEnum axis) const;
    /// The screen handle, or null when not built.
    ScreenHandle* screenHandle() const { return m_screenHandle.get(); }
    /// The view ring, or null when not built.
    ViewRing* viewRing() const { return m_viewRing.get(); }
    /// Radius of the view ring (this dragger's coordinates, before any
    /// screen scaling).
    float viewRingRadius() const { return m_options.ringRadius * VIEW_RING_RADIUS_FACTOR; }

protected:
    ~ExtraHandlesDragger() override;

private:
    void addHandle(osgManipulator::Dragger* handle);
    osg::Group* viewRingParent();

    Options m_options;
    osg::ref_ptr<PlaneHandle> m_planeHandles[3];
    osg::ref_ptr<ScreenHandle> m_screenHandle;
    osg::ref_ptr<ViewRing> m_viewRing;
};

} // namespace Rk

#endif
