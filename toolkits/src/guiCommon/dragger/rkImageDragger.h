#ifndef RK_IMAGE_DRAGGER_H
#define RK_IMAGE_DRAGGER_H

#include <QObject>
#include <boost/function.hpp>
#include <osg/Image>
#include <osg/MatrixTransform>
#include <osg/ref_ptr>
#include <osgManipulator/Dragger>
#include <osgManipulator/Projector>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

class QTimer;
class QWidget;

/// Maps the pointer to a point of an image dragger's display grid.
///
/// The display grid is D x D cells (D = display size). For the pointer's near
/// point n (world frame), taken into the projector's local frame as L with the
/// cached world-to-local matrix (row-vector convention, homogeneous divide),
/// and the widget's current size W x H in pixels, `project` gives
///   px = L.x * 2D / W - x0 - 1,  py = H - L.y * 2D / H - y0,
///   point = (px, py, px + py * D),
/// where the third component is the cell index before truncation. Points off
/// the image are projected too; the index is then outside the grid.
///
/// The widget is not owned, may be null and must outlive the projector. The
/// inverse of the local-to-world matrix is computed once after each
/// `setLocalToWorld` and reused by later projections.
class RkImageProjector : public osgManipulator::Projector
{
public:
    /// |2D| at or below this is treated as zero: the widget size cannot be
    /// divided by it (QSizeF's own fuzzy-zero bound for doubles).
    static constexpr double MIN_DIVISOR = 1e-12;

    /// `widget` shows the 3D view; its size is read at every projection.
    /// `x0`, `y0`: offsets in display units; `displaySize`: D. Any values are
    /// accepted; degenerate ones make `project` return false.
    RkImageProjector(QWidget* widget, double x0, double y0, double displaySize);

    /// Writes (px, py, cell index) into `point` and returns true. Returns
    /// false and leaves `point` untouched when no finite point exists: a null
    /// widget or one with no area, |2D| <= MIN_DIVISOR, a singular
    /// local-to-world matrix, a homogeneous divide by zero, or a result that
    /// overflows.
    bool project(const osgManipulator::PointerInfo& pointer, osg::Vec3d& point) const override;

    /// The image size in pixels, recorded for the dragger's region mapping;
    /// 0 x 0 until an image is loaded. The projection does not read it.
    void setImageSize(int width, int height);
    int getImageWidth() const { return m_imageWidth; }
    int getImageHeight() const { return m_imageHeight; }
    double getX0() const { return m_x0; }
    double getY0() const { return m_y0; }
    double getDisplaySize() const { return m_displaySize; }

protected:
    ~RkImageProjector() override;

private:
    bool refreshWorldToLocal() const;

    QWidget* m_widget;
    double m_x0;
    double m_y0;
    double m_displaySize;
    int m_imageWidth = 0;
    int m_imageHeight = 0;
    /// Whether the cached world-to-local matrix is a usable inverse.
    mutable bool m_worldToLocalValid = false;
};

/// The Qt object through which an image dragger's timer calls the function of
/// the pressed region. Its only slot is "callback()".
class RkImageDraggerCallback : public QObject
{
    Q_OBJECT

public:
    RkImageDraggerCallback() = default;

    /// Aims the slot at `function` (not owned; null aims at nothing). The
    /// function must stay alive while the object is aimed at it.
    void setFunction(const boost::function<void()>* function) { m_function = function; }
    const boost::function<void()>* getFunction() const { return m_function; }

public slots:
    /// Calls the function aimed at, with no arguments. Aimed at nothing or at
    /// an empty function, it does nothing. Exceptions thrown by the function
    /// pass through to the caller (the event loop).
    void callback();

private:
    const boost::function<void()>* m_function = nullptr;
};

/// An image on a flat quad whose regions act as press-and-hold buttons.
///
/// The quad is the unit square in the dragger's XY plane with the image as
/// texture, (0, 0) at the first pixel of the image data. `getTransformedNode`
/// places it at x0 - 1 .. x0 - 1 + D, y0 .. y0 + D, z = -1 in its parent's
/// frame. A region is a set of image pixels with a function; each pixel
/// claims the cell of the D x D display grid it falls in. While the pointer
/// button is held on a claimed cell (cell index from `RkImageProjector`), the
/// cell's function is called every REPEAT_INTERVAL_MS, from the first timer
/// tick after the press until the release. Nothing moves: the class uses
/// osgManipulator only for picking and event dispatch, which the host
/// switches on with `setHandleEvents(true)`.
///
/// Lives in the thread that constructs it, which must run a Qt event loop for
/// the timer; events must be handled in that thread.
class RkImageDragger : public osgManipulator::Dragger
{
public:
    /// Cell index -> function of the region that claimed the cell first.
    using RegionTable = std::map<unsigned int, boost::function<void()>>;

    /// Node mask of the quad: the draggers' bit 0x400, so that passes over
    /// draggers see it, plus 0x80, which marks it as an image panel.
    static const osg::Node::NodeMask QUAD_NODE_MASK = 0x480;
    /// Period of the repeated region call: 25 calls a second, steady enough
    /// for jogging a value while a button is held.
    static constexpr int REPEAT_INTERVAL_MS = 40;

    /// `widget`: the view whose size the projector reads at each press (not
    /// owned, may be null: then every press misses). `fileName`: read with
    /// osgDB's plug-ins; an unreadable, empty or corrupt file leaves the
    /// dragger without image (white quad, regions ignored). `x0`, `y0`:
    /// offsets; `displaySize`: D, cells per row of the display grid. Builds
    /// no geometry and does not switch event handling on.
    RkImageDragger(QWidget* widget, const std::string& fileName, double x0, double y0,
                   double displaySize);

    using osgManipulator::Dragger::handle;
    /// Press: projects the pointer, writes "Found point px py index" through
    /// Rk::Print (every press whose projection succeeds) and, on a claimed
    /// cell, aims the callback at the cell's function, (re)starts the timer,
    /// requests a redraw and returns true; a failed projection or an
    /// unclaimed cell returns false and changes nothing. The key is the index
    /// truncated toward zero, low 32 bits: -1 gives 4294967295; an index
    /// outside the 64-bit range is unclaimed. With several parents the first
    /// parental path places the projector. Release: stops the timer, returns
    /// true, also when nothing repeats. Anything else: false.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& actions) override;
    /// Adds the quad (mask QUAD_NODE_MASK) as the only child and, with an
    /// image, gives this node a state set with the texture, blending on and
    /// lighting off (protected), replacing any earlier one; without an image
    /// the dragger has no state set and the white quad inherits all state.
    /// Later calls do nothing.
    void setupDefaultGeometry() override;
    /// Registers a region: each pixel index p (row-major, p = row * width +
    /// column, row 0 first in the image data) claims the cell in cell row
    /// trunc(row * D / height) and cell column trunc(column * D / width),
    /// key cellRow * trunc(D) + cellColumn modulo 2^32, unless the cell is
    /// already claimed (the first claim wins). Pixels past the image's end
    /// map by the same formula. Ignored entirely without a loaded image;
    /// pixels whose cell is not finite or beyond the 64-bit range are
    /// skipped. An empty function claims its cells and calls nothing.
    virtual void addRegion(const std::set<unsigned int>& pixels, boost::function<void()> function);

    /// Builds the geometry if needed and returns a new transform, scale D
    /// then translation (x0 - 1, y0, -1), with this dragger as its child.
    /// Every call adds one more parent.
    osg::ref_ptr<osg::MatrixTransform> getTransformedNode();

    const osg::Image* getImage() const { return m_image.get(); }
    const RkImageProjector* getProjector() const { return m_projector.get(); }
    const RegionTable& getRegions() const { return m_regions; }
    /// True while a region's function is being called repeatedly.
    bool isRepeating() const;

protected:
    /// Stops the calls first, then releases the regions and companions.
    ~RkImageDragger() override;

private:
    bool pressed(const osgManipulator::PointerInfo& pointer, osgGA::GUIActionAdapter& actions);
    bool released();
    bool projectPointer(const osgManipulator::PointerInfo& pointer, osg::Vec3d& point);
    void claimPixel(unsigned int pixel, const boost::function<void()>& function);

    RegionTable m_regions;
    osg::ref_ptr<RkImageProjector> m_projector;
    osg::ref_ptr<osg::Image> m_image;
    std::unique_ptr<QTimer> m_timer;
    std::unique_ptr<RkImageDraggerCallback> m_callback;
};

#endif
