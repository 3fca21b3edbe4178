// Feeds a frame dragger with a receiver and a bound dialog, inside a real
// viewer, arbitrary sequences of pointer, key, frame and scroll events mixed
// with host writes (NaN and infinities included), scales, visibility,
// enabling, value-on-release and alignment toggles, dialog rebinding, and the
// handling options: snap steps, precision factor, cancel key (bad values
// included), Ctrl and Shift held or pressed at any time, cancels by key and slot.
// Two more frame draggers overlap it and are removed, re-added, destroyed,
// rebuilt, hidden and disabled between events, and a second viewer shows the
// same scene from elsewhere, through a camera relative to its own, and gets
// pointer events of its own: all draggers share one scene pick per event and
// view.
// It also sets the pick tolerance, hover highlight, view angle limit and the
// activation mouse button mask.
//
// Checked for every input, besides what the sanitizers catch (crashes,
// undefined behaviour, leaks):
// - a release while the dragger is shown and dragging is enabled always ends
//   the drag (with an activation button mask: a release of the drag's own
//   button, or one that names none), and so does a cancel (key or slot);
// - every matrix the library writes to the receiver is rigid: finite, an
//   orthonormal rotation with determinant +1, translation in the fourth row.
//   The library writes only when the pose it would write is finite. When the
//   dragger's own matrix is not finite (a degenerate handle produced it, or
//   the host set it), no write happens at all, as any pose formed from it
//   would carry the NaN; so the check holds for every write, and a non-finite
//   dragger matrix is put back on the receiver at the next frame event.
#include "rkDraggerDlg.h"
#include "rkFrameDragger.h"
#include "rkViewerHarness.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <fuzzer/FuzzedDataProvider.h>
#include <osg/Camera>
#include <osg/Notify>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

/// Longest event sequence taken from one input; keeps each run short.
constexpr int MAX_STEPS = 200;
/// Frame draggers beside the one with the dialog.
constexpr int NEIGHBOURS = 2;
/// How often one input may rebind the dialog: every rebinding doubles the
/// dialog's connections to the same dragger (by design), so unbounded
/// rebinding only measures Qt's signal fan-out.
constexpr int MAX_REBINDS = 3;
constexpr double RIGID_TOLERANCE = 1e-9;

void fail(const char* what)
{
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
}

bool isRigid(const osg::Matrixd& m)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            if (!std::isfinite(m(row, column)))
                return false;
    for (int row = 0; row < 3; ++row) {
        if (m(row, 3) != 0.0)
            return false;
        for (int other = 0; other < 3; ++other) {
            double dot = 0.0;
            for (int k = 0; k < 3; ++k)
                dot += m(row, k) * m(other, k);
            if (std::fabs(dot - (row == other ? 1.0 : 0.0)) > RIGID_TOLERANCE)
                return false;
        }
    }
    const osg::Vec3d x(m(0, 0), m(0, 1), m(0, 2)), y(m(1, 0), m(1, 1), m(1, 2)),
        z(m(2, 0), m(2, 1), m(2, 2));
    return m(3, 3) == 1.0 && (x ^ y) * z > 0.0;
}

/// The host side: a pose the dragger reads and writes, checked at each write.
struct Host
{
    osg::Matrixd pose;
    osg::ref_ptr<Rk::DraggerReceiver> makeReceiver()
    {
        return new Rk::DraggerReceiver([this] { return pose; },
                                       [this](const osg::Matrixd& written) {
                                           if (!isRigid(written))
                                               fail("non-rigid matrix written to the host");
                                           pose = written;
                                       });
    }
};

double specialOrPlain(FuzzedDataProvider& data, double low, double high)
{
    switch (data.ConsumeIntegralInRange(0, 7)) {
    case 0:
        return std::numeric_limits<double>::quiet_NaN();
    case 1:
        return std::numeric_limits<double>::infinity();
    case 2:
        return -std::numeric_limits<double>::infinity();
    case 3:
        return data.ConsumeFloatingPoint<double>();
    default:
        return data.ConsumeFloatingPointInRange(low, high);
    }
}

osg::Matrixd hostMatrix(FuzzedDataProvider& data)
{
    if (data.ConsumeBool()) {
        osg::Matrixd raw;
        for (int i = 0; i < 16; ++i)
            raw(i / 4, i % 4) = specialOrPlain(data, -2.0, 2.0);
        return raw;
    }
    const osg::Quat turn(data.ConsumeFloatingPointInRange(-7.0, 7.0),
                         osg::Vec3d(data.ConsumeFloatingPointInRange(-1.0, 1.0),
                                    data.ConsumeFloatingPointInRange(-1.0, 1.0), 1.0));
    return osg::Matrixd::rotate(turn) * osg::Matrixd::translate(specialOrPlain(data, -1.0, 1.0),
                                                                specialOrPlain(data, -1.0, 1.0),
                                                                specialOrPlain(data, -1.0, 1.0));
}

class Scenario
{
public:
    Scenario() : m_view(osg::Vec3d(2.5, -5.0, 3.0)), m_secondView(osg::Vec3d(-4.0, -3.0, 2.0))
    {
        // The second view sees the scene through a camera relative to its
        // own, as a host that draws its gizmos over the scene does.
        osg::ref_ptr<osg::Camera> over = new osg::Camera;
        over->setReferenceFrame(osg::Transform::RELATIVE_RF);
        over->setRenderOrder(osg::Camera::POST_RENDER);
        over->addChild(m_view.root());
        m_secondView.root()->addChild(over.get());
        for (int index = 0; index < NEIGHBOURS; ++index)
            rebuildNeighbour(index);
        m_dragger = new Rk::FrameDragger(m_host.makeReceiver().get(), true);
        m_dragger->setHandleSet(Rk::FrameDragger::PLANE_HANDLES | Rk::FrameDragger::SCREEN_HANDLE |
                                Rk::FrameDragger::VIEW_RING);
        m_dragger->setupDefaultGeometry();
        static_cast<Rk::Composite3DDragger*>(m_dragger.get())->showDraggers(true);
        m_view.root()->addChild(m_dragger.get());
        m_dialog = std::make_unique<Rk::DraggerDlg>(m_dragger.get(), nullptr);
        m_dialog->enableSystemAlignment();
        // The host cancels with Escape: the viewer must not quit on it.
        m_view.viewer().setKeyEventSetsDone(0);
    }
    ~Scenario()
    {
        // The dialog holds its dragger by a plain pointer: unbind first.
        m_dialog->setDragger(nullptr);
    }

    void step(FuzzedDataProvider& data)
    {
        switch (data.ConsumeIntegralInRange(0, 23)) {
        case 0:
            press(m_view, position(data), data.ConsumeIntegralInRange(1, 4));
            break;
        case 1:
        case 2:
            m_view.drag(position(data));
            break;
        case 3:
            release(position(data), data.ConsumeIntegralInRange(1, 4));
            break;
        case 4:
        case 5:
            m_view.frame();
            break;
        case 6:
            m_view.keyDown(data.ConsumeIntegral<int>());
            break;
        case 7:
            m_view.keyUp(data.ConsumeIntegral<int>());
            break;
        case 8:
            m_view.move(position(data));
            break;
        case 9:
            m_view.scroll(data.ConsumeBool() ? osgGA::GUIEventAdapter::SCROLL_UP
                                             : osgGA::GUIEventAdapter::SCROLL_DOWN);
            break;
        case 10:
            m_host.pose = hostMatrix(data);
            break;
        case 11:
            setScale(data);
            break;
        case 12:
            dialogChild<QGroupBox>("groupBoxDragger")->setChecked(data.ConsumeBool());
            break;
        case 13:
            m_dragger->setDraggingEnabled(data.ConsumeBool());
            break;
        case 14:
            dialogChild<QCheckBox>("valueOnReleaseCheckBox")->setChecked(data.ConsumeBool());
            break;
        case 15:
            alignment(data);
            break;
        case 16:
            typePose(data);
            break;
        case 17:
            secondView(data);
            break;
        case 18:
            changeNeighbour(data);
            break;
        case 19:
            handling(data);
            break;
        case 20:
            handlingAids(data);
            break;
        case 21:
            // Any set, also mid-drag (where the rebuild waits for the release).
            m_dragger->setHandleSet(data.ConsumeIntegral<int>());
            m_dragger->rebuildExtraHandles();
            break;
        case 22:
            moveCamera(data);
            break;
        default:
            rebind(data);
            break;
        }
    }

private:
    /// The host moves the main view's camera (also mid-drag, and into the
    /// gizmo) or switches it between a perspective and an orthographic
    /// projection.
    void moveCamera(FuzzedDataProvider& data)
    {
        osg::Camera* camera = m_view.viewer().getCamera();
        switch (data.ConsumeIntegralInRange(0, 2)) {
        case 0: {
            const osg::Vec3d eye(data.ConsumeFloatingPointInRange(-8.0, 8.0),
                                 data.ConsumeFloatingPointInRange(-8.0, 8.0),
                                 data.ConsumeFloatingPointInRange(-8.0, 8.0));
            m_view.lookAt(eye, osg::Vec3d(), osg::Vec3d(0.0, 0.0, 1.0));
            break;
        }
        case 1:
            camera->setProjectionMatrixAsOrtho(-4.0, 4.0, -3.0, 3.0,
                                               data.ConsumeFloatingPointInRange(-10.0, 1.0), 100.0);
            break;
        default:
            camera->setProjectionMatrixAsPerspective(30.0, 800.0 / 600.0, 0.1, 1000.0);
            break;
        }
    }

    /// Pick tolerance, hover highlight, view angle limit (bad values
    /// included) and the buttons that may grab.
    void handlingAids(FuzzedDataProvider& data)
    {
        switch (data.ConsumeIntegralInRange(0, 3)) {
        case 0:
            m_dragger->setPickTolerance(specialOrPlain(data, -2.0, 40.0));
            break;
        case 1:
            m_dragger->setHoverHighlight(data.ConsumeBool());
            break;
        case 2:
            m_dragger->setViewAngleLimit(specialOrPlain(data, -10.0, 120.0));
            break;
        default:
            m_dragger->setActivationMouseButtonMask(data.ConsumeIntegralInRange(0u, 7u));
            break;
        }
    }

    template <typename Widget> Widget* dialogChild(const char* name)
    {
        return m_dialog->findChild<Widget*>(name);
    }

    /// A handle point (where presses matter), a window point, or far off.
    osg::Vec2d position(FuzzedDataProvider& data)
    {
        switch (data.ConsumeIntegralInRange(0, 3)) {
        case 0:
        case 1: {
            const osg::Vec3d local(data.ConsumeFloatingPointInRange(-1.2, 1.2),
                                   data.ConsumeFloatingPointInRange(-1.2, 1.2),
                                   data.ConsumeFloatingPointInRange(-1.2, 1.2));
            const int axis = data.ConsumeIntegralInRange(0, 3);
            const osg::Vec3d onAxis =
                axis < 3 ? osg::Vec3d(axis == 0, axis == 1, axis == 2) * local.x() : local;
            return m_view.project(onAxis * m_dragger->getMatrix());
        }
        case 2:
            return osg::Vec2d(data.ConsumeFloatingPointInRange(0.0, 800.0),
                              data.ConsumeFloatingPointInRange(0.0, 600.0));
        default:
            return osg::Vec2d(data.ConsumeFloatingPointInRange(-1e6, 1e6),
                              data.ConsumeFloatingPointInRange(-1e6, 1e6));
        }
    }

    void rebuildNeighbour(int index)
    {
        if (m_neighbours[index])
            m_view.root()->removeChild(m_neighbours[index].get());
        m_neighbourHosts[index].pose = osg::Matrixd::translate(0.3 * (index + 1), -0.2, 0.1);
        m_neighbours[index] =
            new Rk::FrameDragger(m_neighbourHosts[index].makeReceiver().get(), index % 2 == 0);
        m_neighbours[index]->setupDefaultGeometry();
        static_cast<Rk::Composite3DDragger*>(m_neighbours[index].get())->showDraggers(true);
        m_view.root()->addChild(m_neighbours[index].get());
    }

    /// Scene changes between events: a neighbour removed, re-added,
    /// destroyed and rebuilt, hidden, shown, disabled or enabled.
    void changeNeighbour(FuzzedDataProvider& data)
    {
        const int index = data.ConsumeIntegralInRange(0, NEIGHBOURS - 1);
        Rk::FrameDragger* neighbour = m_neighbours[index].get();
        switch (data.ConsumeIntegralInRange(0, 4)) {
        case 0:
            m_view.root()->removeChild(neighbour);
            break;
        case 1:
            if (!m_view.root()->containsNode(neighbour))
                m_view.root()->addChild(neighbour);
            break;
        case 2:
            rebuildNeighbour(index);
            break;
        case 3:
            static_cast<Rk::Composite3DDragger*>(neighbour)->showDraggers(data.ConsumeBool());
            break;
        default:
            neighbour->setDraggingEnabled(data.ConsumeBool());
            break;
        }
    }

    /// A pointer event in the second viewer, anywhere in its window.
    void secondView(FuzzedDataProvider& data)
    {
        const osg::Vec2d at(data.ConsumeFloatingPointInRange(0.0, 800.0),
                            data.ConsumeFloatingPointInRange(0.0, 600.0));
        switch (data.ConsumeIntegralInRange(0, 2)) {
        case 0:
            press(m_secondView, at, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
            break;
        case 1:
            m_secondView.drag(at);
            break;
        default:
            m_secondView.release(at);
            break;
        }
    }

    bool neighbourDragging() const
    {
        for (const osg::ref_ptr<Rk::FrameDragger>& neighbour : m_neighbours)
            if (neighbour->getDraggerActive())
                return true;
        return false;
    }

    /// The button an event names for harness button `button` (none for
    /// what is no single button).
    static int namedButton(int button)
    {
        using Event = osgGA::GUIEventAdapter;
        const bool single = button == Event::LEFT_MOUSE_BUTTON ||
                            button == Event::MIDDLE_MOUSE_BUTTON ||
                            button == Event::RIGHT_MOUSE_BUTTON;
        return single ? button : 0;
    }

    /// Remembers the button a drag began with, while that is certain.
    void press(RkTest::ViewerHarness& view, const osg::Vec2d& at, int button)
    {
        const bool wasDragging = m_dragger->getDraggerActive();
        view.press(at, button);
        if (!m_dragger->getDraggerActive())
            return;
        if (!wasDragging) {
            m_dragButton = namedButton(button);
            m_dragButtonKnown = true;
        } else if (m_dragger->getActivationMouseButtonMask() == 0 &&
                   namedButton(button) != m_dragButton) {
            // Another press may or may not have taken the drag over.
            m_dragButtonKnown = false;
        }
    }

    void release(const osg::Vec2d& at, int button)
    {
        // A hidden dragger (node mask 0) is not visited by the event
        // traversal at all: hiding does not end a drag, and the release that
        // ends it is the first one after the dragger is shown again.
        // A neighbour dragged from the second view may take the release
        // first (it marks the release handled), as any handler before it may.
        // With a button mask, another button's release leaves the drag on.
        const int released = namedButton(button);
        const bool ownButton = m_dragger->getActivationMouseButtonMask() == 0 || released == 0 ||
                               (m_dragButtonKnown && released == m_dragButton);
        const bool reachable = m_dragger->draggingEnabled() && m_dragger->getNodeMask() != 0 &&
                               !neighbourDragging() && ownButton;
        m_view.release(at, button);
        if (reachable && m_dragger->getDraggerActive())
            fail("a release did not end the drag");
    }

    void handling(FuzzedDataProvider& data)
    {
        using Event = osgGA::GUIEventAdapter;
        static const int keys[] = {Event::KEY_Escape, Event::KEY_Control_L, Event::KEY_Shift_L,
                                   'a'};
        const int key = keys[data.ConsumeIntegralInRange<size_t>(0, std::size(keys) - 1)];
        switch (data.ConsumeIntegralInRange(0, 7)) {
        case 0:
            m_dragger->setTranslationSnap(specialOrPlain(data, -0.5, 0.5));
            break;
        case 1:
            m_dragger->setRotationSnap(specialOrPlain(data, -1.0, 4.0));
            break;
        case 2:
            m_dragger->setPrecisionFactor(specialOrPlain(data, -1.0, 200.0));
            break;
        case 3:
            m_dragger->setCancelKey(data.ConsumeBool() ? key : 0);
            break;
        case 4:
            m_view.holdModifiers(data.ConsumeIntegralInRange(0, 0xFF));
            break;
        case 5:
            m_view.keyUp(key);
            break;
        case 6:
            pressKey(key);
            break;
        default:
            m_dragger->cancelDrag();
            if (m_dragger->getDraggerActive())
                fail("the cancel slot did not end the drag");
            break;
        }
    }

    /// A key press; the cancel key ends a drag that the dragger can see.
    void pressKey(int key)
    {
        const bool cancels = key == m_dragger->cancelKey() && m_dragger->draggingEnabled() &&
                             m_dragger->getNodeMask() != 0;
        m_view.keyDown(key);
        if (cancels && m_dragger->getDraggerActive())
            fail("the cancel key did not end the drag");
    }

    void setScale(FuzzedDataProvider& data)
    {
        switch (data.ConsumeIntegralInRange(0, 3)) {
        case 0:
            m_dragger->setScale(0.0);
            break;
        case 1:
            m_dragger->setScale(-data.ConsumeFloatingPointInRange(0.0, 5.0));
            break;
        case 2:
            m_dragger->setScale(specialOrPlain(data, 1e3, 1e12));
            break;
        default:
            dialogChild<QDoubleSpinBox>("spinBoxScale")
                ->setValue(data.ConsumeFloatingPointInRange(-1.0, 11.0));
            break;
        }
    }

    void alignment(FuzzedDataProvider& data)
    {
        switch (data.ConsumeIntegralInRange(0, 3)) {
        case 0:
            dialogChild<QGroupBox>("groupBoxSystemAlignment")->setChecked(data.ConsumeBool());
            break;
        case 1:
            dialogChild<QAbstractButton>("radioButtonCustom")->setChecked(true);
            break;
        case 2:
            dialogChild<QAbstractButton>("radioButtonSystem")->setChecked(true);
            break;
        default:
            dialogChild<QAbstractButton>("pushButtonConnect")->click();
            break;
        }
    }

    void typePose(FuzzedDataProvider& data)
    {
        static const char* const boxes[] = {"spinBoxX", "spinBoxY", "spinBoxZ",
                                            "spinBoxR", "spinBoxP", "spinBoxH"};
        QDoubleSpinBox* box = dialogChild<QDoubleSpinBox>(
            boxes[data.ConsumeIntegralInRange<size_t>(0, std::size(boxes) - 1)]);
        box->setValue(specialOrPlain(data, -20.0, 20.0));
        emit box->editingFinished();
    }

    void rebind(FuzzedDataProvider& data)
    {
        if (m_rebinds >= MAX_REBINDS)
            return;
        ++m_rebinds;
        m_dialog->setDragger(data.ConsumeBool() ? m_dragger.get() : nullptr);
    }

    Host m_host;
    RkTest::ViewerHarness m_view;
    RkTest::ViewerHarness m_secondView;
    Host m_neighbourHosts[NEIGHBOURS];
    osg::ref_ptr<Rk::FrameDragger> m_neighbours[NEIGHBOURS];
    osg::ref_ptr<Rk::FrameDragger> m_dragger;
    std::unique_ptr<Rk::DraggerDlg> m_dialog;
    int m_rebinds = 0;
    int m_dragButton = 0;
    bool m_dragButtonKnown = false;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // One application for the whole run, as in a host; never destroyed.
    static QApplication* application = new QApplication(*argc, *argv);
    (void)application;
    // OSG reports every unreadable file and every context-less viewer; the
    // run's log should show the fuzzer's own findings.
    osg::setNotifyLevel(osg::FATAL);
    // Qt fills its font and style caches at the first dialog; doing that
    // here keeps those one-time allocations out of the per-input leak check.
    Scenario warmUp;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    Scenario scenario;
    for (int i = 0; i < MAX_STEPS && data.remaining_bytes() > 0; ++i)
        scenario.step(data);
    return 0;
}
