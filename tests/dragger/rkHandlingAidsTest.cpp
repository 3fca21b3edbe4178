#include "rkFinite.h"
#include "rkFrameDragger.h"
#include "rkGizmoTestHelpers.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <osg/Geode>
#include <osg/MatrixTransform>
#include <osg/ShapeDrawable>
#include <osg/Switch>

#include <cmath>
#include <functional>

using Rk::Composite3DDragger;
using Rk::FrameDragger;
using namespace RkTest;

namespace {

const osg::Vec3d kEye(1.5, -3.0, 4.0);
const double kTolerance = 8.0;
// Between two direction cones, so that the ring's line alone is beside the pointer.
const double kRingDegrees = 67.5;
// Near the tip, away from the rings that cross the shaft halfway.
const double kArrowAt = 0.8;
const float kFadedAlpha = 0.2f;
// Straight above the XY square, where the other squares are seen edge-on.
const osg::Vec3d kAbove(0.0, 0.0, 5.0);
// Towards the viewer, where an unturned view ring would lie well inside the turned one.
const double kUnturnedRadians = osg::DegreesToRadians(295.0);

/// A frame dragger of scale 1 (a ring of about 100 px, so that the pixels
/// beside one handle are far from every other), seen from `kEye`.
class HandlingAidsTest : public ::testing::Test, public FrameScene
{
protected:
    HandlingAidsTest() : FrameScene(kEye) {}

    /// The window point `pixels` beside the image of the handle point at
    /// `local` (handle coordinates), across the image of the handle's line
    /// through `local` and `ahead`, on the side away from the centre.
    osg::Vec2d beside(const osg::Node* handle, const osg::Vec3d& local, const osg::Vec3d& ahead,
                      double pixels) const
    {
        const osg::Vec2d at = harness.project(worldOf(handle, local));
        osg::Vec2d along = harness.project(worldOf(handle, ahead)) - at;
        along.normalize();
        osg::Vec2d across(-along.y(), along.x());
        const osg::Vec2d centre = harness.project(dragger->getMatrix().getTrans());
        if ((at - centre) * across < 0.0)
            across = -across;
        return at + across * pixels;
    }
    osg::Vec2d besideRing(int axis, double pixels) const
    {
        return beside(ring(axis), ringPoint(kRingDegrees), ringPoint(kRingDegrees + 1.0), pixels);
    }
    osg::Vec2d besideArrow(int axis, double pixels) const
    {
        return beside(arrow(axis), osg::Vec3d(0, 0, kArrowAt), osg::Vec3d(0, 0, kArrowAt + 0.05),
                      pixels);
    }
    /// Faded handles are see-through; the others show their own axis colour.
    void expectFaded(const std::vector<bool>& arrows, const std::vector<bool>& rings) const
    {
        for (int axis = 0; axis < 3; ++axis) {
            SCOPED_TRACE(axis);
            osg::Vec4 faded = kAxisColours[axis];
            faded.a() = kFadedAlpha;
            EXPECT_EQ(shownColour(arrow(axis)), arrows[axis] ? faded : kAxisColours[axis]);
            EXPECT_EQ(shownColour(ring(axis)), rings[axis] ? faded : kAxisColours[axis]);
        }
    }
    /// `pixels` out from the middle of the XY square's edge nearest to the Y
    /// axis, away from the square's centre. Seen from `kAbove` the other
    /// handles are far from there.
    osg::Vec2d besideXYSquare(double pixels) const
    {
        const double offset = Rk::ExtraHandlesDragger::PLANE_OFFSET;
        const double edge = offset - Rk::ExtraHandlesDragger::PLANE_HALF_SIZE;
        const osg::Vec2d at = harness.project(worldOf(planeHandle(2), osg::Vec3d(edge, offset, 0)));
        osg::Vec2d out = at - harness.project(squareCentre(2));
        out.normalize();
        return at + out * pixels;
    }
    /// `pixels` from the centre's image, away from the images of all three arrows.
    osg::Vec2d awayFromTheArrows(double pixels) const
    {
        const osg::Vec2d centre = harness.project(osg::Vec3d());
        osg::Vec2d away;
        for (const osg::Vec3d& axis : kAxes) {
            const osg::Vec2d image = harness.project(axis) - centre;
            away -= image / image.length();
        }
        return centre + away * (pixels / away.length());
    }
};

} // namespace

TEST_F(HandlingAidsTest, PressesBesideAHandleGrabItWithinTheToleranceOnly)
{
    using C = Composite3DDragger;
    // A handle: the axis and drag mode a grab gives, and the window point
    // `pixels` beside it. Lines are counted from the middle of the 3 px line;
    // squares and the screen handle are filled: counted from their edge.
    struct Handle
    {
        int axis, mode;
        bool optional;
        std::function<osg::Vec2d(double pixels)> beside;
    };
    const Handle xArrow{C::X_AXIS, 1, false, [&](double px) { return besideArrow(C::X_AXIS, px); }};
    const Handle zRing{C::Z_AXIS, 2, false, [&](double px) { return besideRing(C::Z_AXIS, px); }};
    const Handle xySquare{C::Z_AXIS, 4, true, [&](double px) { return besideXYSquare(px); }};
    const double ballRadius = Rk::ExtraHandlesDragger::SCREEN_HANDLE_RADIUS;
    const Handle screenHandle{C::NO_AXIS, 5, true, [&](double px) {
                                  return awayFromTheArrows(imagePixels(ballRadius) + px);
                              }};
    const Handle viewRing{C::NO_AXIS, 6, true,
                          [&](double px) { return awayFromTheArrows(viewRingPixels() + px); }};
    // The view ring faces the camera: nothing is left where it would be
    // drawn unturned, in the XY plane.
    const osg::Vec3d unturned(std::cos(kUnturnedRadians), std::sin(kUnturnedRadians), 0);
    const Handle unturnedViewRing{
        C::NO_AXIS, 0, true, [&](double) { return harness.project(unturned * kViewRingRadius); }};
    struct Case
    {
        const char* name;
        const Handle& handle;
        double pixels, tolerance;
        bool blocker, grabs;
    };
    const Case cases[] = {
        {"ring 5 px out, tolerance 8", zRing, 5, kTolerance, false, true},
        {"ring 9 px out: 7.5 px from its line", zRing, 9, kTolerance, false, true},
        {"ring 11 px out", zRing, 11, kTolerance, false, false},
        {"ring 5 px out, option off", zRing, 5, 0, false, false},
        // The arrow's own pick cylinder reaches about 6 px at this distance.
        {"arrow 9 px beside: 7.5 px from its line", xArrow, 9, kTolerance, false, true},
        {"arrow 11 px beside", xArrow, 11, kTolerance, false, false},
        {"arrow 9 px beside, option off", xArrow, 9, 0, false, false},
        {"ring behind an object in front", zRing, 5, kTolerance, true, false},
        {"XY square 5 px beside", xySquare, 5, kTolerance, false, true},
        {"XY square 12 px beside", xySquare, 12, kTolerance, false, false},
        {"XY square 5 px beside, option off", xySquare, 5, 0, false, false},
        {"screen handle 5 px beside", screenHandle, 5, kTolerance, false, true},
        {"screen handle 12 px beside", screenHandle, 12, kTolerance, false, false},
        {"view ring 5 px out", viewRing, 5, kTolerance, false, true},
        {"view ring 12 px out", viewRing, 12, kTolerance, false, false},
        {"where an unturned view ring would be", unturnedViewRing, 0, kTolerance, false, false},
    };
    dragger->setHoverHighlight(true);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        showExtraHandles(c.handle.optional);
        const bool above = &c.handle == &xySquare;
        harness.lookAt(above ? kAbove : kEye, osg::Vec3d(), above ? osg::Y_AXIS : osg::Z_AXIS);
        const osg::Vec2d at = c.handle.beside(c.pixels);
        osg::ref_ptr<osg::Geode> blocker = new osg::Geode;
        if (c.blocker) {
            // Halfway to the ring point beside which the pointer is: some 20 px wide.
            const osg::Vec3d onRing = worldOf(ring(2), ringPoint(kRingDegrees));
            blocker->addDrawable(
                new osg::ShapeDrawable(new osg::Sphere((kEye + onRing) * 0.5, 0.05f)));
            harness.root()->addChild(blocker.get());
        }
        dragger->setPickTolerance(c.tolerance);
        const osg::Matrixd before = dragger->getMatrix();
        store.writes.clear();

        // The pointer passing there highlights what the press then takes.
        harness.move(at);
        osgManipulator::Dragger* const hovered = dragger->hoveredHandle();
        EXPECT_EQ(hovered != nullptr, c.grabs);
        if (hovered) {
            EXPECT_EQ(shownColour(hovered), kPickYellow);
        }
        EXPECT_EQ(harness.press(at), c.grabs);

        if (c.grabs) {
            EXPECT_EQ(dragger->hoveredHandle(), hovered);
            EXPECT_EQ(dragger->activeAxis(), c.handle.axis);
            EXPECT_EQ(dragger->dragMode(), c.handle.mode);
        }
        harness.drag(at + osg::Vec2d(12, 12));
        harness.release(at + osg::Vec2d(12, 12));
        harness.move(osg::Vec2d(20, 20));
        if (hovered) {
            EXPECT_NE(shownColour(hovered), kPickYellow) << "its own colour back";
        }
        EXPECT_EQ(!store.writes.empty(), c.grabs);
        EXPECT_EQ(dragger->getMatrix() != before, c.grabs);
        dragger->setMatrix(before);
        store.pose = before;
        harness.root()->removeChild(blocker.get());
    }
    showExtraHandles(false);

    // The shapes' window images, kept while the gizmo and the camera stay,
    // follow the gizmo when it moves away and back.
    harness.lookAt(kEye, osg::Vec3d(), osg::Z_AXIS);
    dragger->setPickTolerance(kTolerance);
    const osg::Matrixd home = dragger->getMatrix();
    for (const osg::Vec3d& offset : {osg::Vec3d(), osg::Vec3d(-1.0, 0.0, 1.0), osg::Vec3d()}) {
        SCOPED_TRACE(offset.z());
        dragger->setMatrix(home * osg::Matrixd::translate(offset));
        store.pose = dragger->getMatrix();
        const osg::Vec2d at = besideArrow(C::X_AXIS, 9);
        EXPECT_TRUE(harness.press(at));
        EXPECT_EQ(dragger->activeAxis(), C::X_AXIS);
        harness.release(at);
    }
    dragger->setMatrix(home);
    store.pose = home;

    // Through an orthographic camera, far to the right of its axis, the view
    // ring faces back along the line of sight, and so do its shapes.
    showExtraHandles(true);
    osg::Camera* camera = harness.viewer().getCamera();
    const osg::Matrixd perspective = camera->getProjectionMatrix();
    camera->setProjectionMatrixAsOrtho(-4, 4, -3, 3, 0.1, 100);
    store.pose = osg::Matrixd::translate(2.24, 1.12, 0);
    harness.frame();
    const osg::Vec2d outside = aroundCentre(0, viewRingPixels() + 5);
    EXPECT_TRUE(harness.press(outside));
    EXPECT_EQ(dragger->dragMode(), Rk::ExtraHandlesDragger::VIEW_RING_DRAG_MODE);
    harness.release(outside);
    camera->setProjectionMatrix(perspective);
}

TEST_F(HandlingAidsTest, PointerMovesHighlightTheHandleAPressWouldTake)
{
    dragger->setPickTolerance(kTolerance);
    dragger->setHoverHighlight(true);
    QSignalSpy hoverChanges(dragger.get(), &Composite3DDragger::signalHoverChanged);
    const osg::Vec2d onXArrow = onArrow(0, kArrowAt);
    struct Case
    {
        const char* name;
        osg::Vec2d at;
        osgManipulator::Dragger* hovered;
        int emitted;
    };
    const Case cases[] = {
        {"on the X arrow", onXArrow, arrow(0), 1},
        {"beside the Z ring", besideRing(2, 5), ring(2), 1},
        {"beside the Z ring again", besideRing(2, 6), ring(2), 0},
        {"far from every handle", osg::Vec2d(20, 20), nullptr, 1},
        {"beside the X arrow", besideArrow(0, 6), arrow(0), 1},
        {"outside the window", osg::Vec2d(-50, onXArrow.y()), nullptr, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        hoverChanges.clear();
        EXPECT_FALSE(harness.move(c.at));
        EXPECT_EQ(dragger->hoveredHandle(), c.hovered);
        EXPECT_EQ(hoverChanges.count(), c.emitted);
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(shownColour(arrow(axis)),
                      arrow(axis) == c.hovered ? kPickYellow : kAxisColours[axis]);
            EXPECT_EQ(shownColour(ring(axis)),
                      ring(axis) == c.hovered ? kPickYellow : kAxisColours[axis]);
        }
    }
    EXPECT_TRUE(store.writes.empty());
    EXPECT_EQ(dragger->getMatrix(), osg::Matrixd());

    // The grabbed ring stays highlighted through its drag, whatever the pointer passes.
    harness.move(besideRing(2, 5));
    harness.press(besideRing(2, 5));
    harness.drag(onXArrow);
    EXPECT_EQ(dragger->hoveredHandle(), ring(2));
    EXPECT_EQ(shownColour(arrow(0)), kRed);
    harness.release(osg::Vec2d(20, 20));
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    EXPECT_EQ(shownColour(ring(2)), kAxisColours[2]);
    store.pose = osg::Matrixd();
    dragger->setMatrix(store.pose);

    const std::pair<const char*, void (*)(FrameDragger&, bool)> clearings[] = {
        {"disabled", [](FrameDragger& d, bool on) { d.setDraggingEnabled(on); }},
        {"hidden", [](FrameDragger& d, bool on) { d.showDraggers(on); }},
        {"option off", [](FrameDragger& d, bool on) { d.setHoverHighlight(on); }},
    };
    for (const auto& [name, set] : clearings) {
        SCOPED_TRACE(name);
        harness.move(onXArrow);
        ASSERT_EQ(dragger->hoveredHandle(), arrow(0));
        set(*dragger, false);
        EXPECT_EQ(dragger->hoveredHandle(), nullptr);
        EXPECT_EQ(shownColour(arrow(0)), kRed);
        harness.move(onXArrow + osg::Vec2d(1, 0));
        EXPECT_EQ(dragger->hoveredHandle(), nullptr);
        set(*dragger, true);
    }

    // Hidden by the host while highlighted: the pointer may have gone
    // anywhere meanwhile, so the highlight goes at the first frame shown.
    osg::ref_ptr<osg::Switch> showing = new osg::Switch;
    harness.root()->replaceChild(dragger.get(), showing.get());
    showing->addChild(dragger.get());
    const std::pair<const char*, std::function<void(bool)>> hostHidings[] = {
        {"own node mask",
         [&](bool on) { dragger->setNodeMask(on ? Composite3DDragger::DRAGGER_MASK : 0); }},
        {"switch above", [&](bool on) { showing->setValue(0, on); }},
    };
    for (const auto& [name, show] : hostHidings) {
        SCOPED_TRACE(name);
        harness.move(onXArrow);
        ASSERT_EQ(dragger->hoveredHandle(), arrow(0));
        show(false);
        harness.frame();
        show(true);
        harness.frame();
        EXPECT_EQ(dragger->hoveredHandle(), nullptr);
        EXPECT_EQ(shownColour(arrow(0)), kRed);
    }
    // Each viewer is judged by its own frames: a second one in turn clears
    // nothing, and sees the dragger hidden in its scene alone by itself.
    ViewerHarness second(kEye);
    osg::ref_ptr<osg::Switch> showingThere = new osg::Switch;
    showingThere->addChild(dragger.get());
    second.root()->addChild(showingThere.get());
    harness.move(onXArrow);
    for (int frame = 0; frame < 2; ++frame) {
        harness.frame();
        second.frame();
    }
    EXPECT_EQ(dragger->hoveredHandle(), arrow(0)) << "frames seen keep the highlight";
    showingThere->setValue(0, false);
    harness.frame();
    second.frame();
    showingThere->setValue(0, true);
    harness.frame();
    second.frame();
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    showingThere->removeChild(dragger.get());
    showing->removeChild(dragger.get());
    harness.root()->replaceChild(showing.get(), dragger.get());

    // With an activation modifier or key, a press takes a handle only while
    // it is held: so does the highlight, from the next pointer move on.
    using Event = osgGA::GUIEventAdapter;
    const std::pair<const char*, std::function<void(bool)>> activations[] = {
        {"modifier", [&](bool held) { harness.holdModifiers(held ? Event::MODKEY_LEFT_CTRL : 0); }},
        {"key", [&](bool held) { held ? harness.keyDown('a') : harness.keyUp('a'); }},
    };
    dragger->setActivationModKeyMask(Event::MODKEY_CTRL);
    dragger->setActivationKeyEvent('a');
    for (const auto& [name, hold] : activations) {
        SCOPED_TRACE(name);
        for (bool held : {false, true, false}) {
            hold(held);
            harness.move(onXArrow + osg::Vec2d(held, 0));
            EXPECT_EQ(dragger->hoveredHandle(), held ? arrow(0) : nullptr);
        }
    }
    dragger->setActivationModKeyMask(0);
    dragger->setActivationKeyEvent(0);

    // A press of a button that does not grab turns the camera: the
    // highlight goes with it, and comes back at the next move.
    dragger->setActivationMouseButtonMask(Event::LEFT_MOUSE_BUTTON);
    harness.move(onXArrow);
    ASSERT_EQ(dragger->hoveredHandle(), arrow(0));
    EXPECT_FALSE(harness.press(onXArrow, Event::RIGHT_MOUSE_BUTTON));
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    EXPECT_EQ(shownColour(arrow(0)), kRed);
    harness.release(onXArrow, Event::RIGHT_MOUSE_BUTTON);
    harness.move(onXArrow + osg::Vec2d(1, 0));
    EXPECT_EQ(dragger->hoveredHandle(), arrow(0));
    dragger->setActivationMouseButtonMask(0);

    // Optional handles rebuilt under the pointer: the hovered one goes, and
    // so does its highlight, with a signal.
    showExtraHandles(true);
    harness.move(harness.project(centre()));
    ASSERT_EQ(dragger->hoveredHandle(), dragger->extraHandles()->screenHandle());
    hoverChanges.clear();
    showExtraHandles(false);
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    EXPECT_EQ(hoverChanges.count(), 1);

    // A move of the camera, of the host's pose, of a transform above the
    // gizmo or of its scale is seen by the first pointer move after it, and
    // under a resting pointer by the next frame.
    const osg::Matrixd away = osg::Matrixd::translate(4.0, 2.0, 0.0);
    osg::ref_ptr<osg::MatrixTransform> above;
    const std::pair<const char*, std::function<void(bool)>> moves[] = {
        {"transform above", [&](bool on) { above->setMatrix(on ? away : osg::Matrixd()); }},
        {"host's pose", [&](bool on) { store.pose = on ? away : osg::Matrixd(); }},
        {"scale", [&](bool on) { dragger->setScale(on ? 0.3 : 1.0); }},
        {"camera",
         [&](bool on) {
             const osg::Vec3d shift = on ? away.getTrans() : osg::Vec3d();
             harness.lookAt(kEye + shift, shift, osg::Z_AXIS);
         }},
    };
    for (const auto& [name, moveAway] : moves) {
        SCOPED_TRACE(name);
        rebuild();
        dragger->setHoverHighlight(true);
        above = new osg::MatrixTransform;
        harness.root()->replaceChild(dragger.get(), above.get());
        above->addChild(dragger.get());
        moveAway(true);
        harness.frame();
        harness.move(onXArrow);
        EXPECT_EQ(dragger->hoveredHandle(), nullptr);
        moveAway(false);
        harness.frame();
        EXPECT_EQ(dragger->hoveredHandle(), arrow(0)) << "moved under the resting pointer";
        moveAway(true);
        harness.frame();
        EXPECT_EQ(dragger->hoveredHandle(), nullptr) << "moved away from the resting pointer";
        moveAway(false);
    }
    // Only the frames of the view that the pointer rests in judge again.
    second.root()->addChild(dragger.get());
    second.move(onXArrow);
    ASSERT_EQ(dragger->hoveredHandle(), arrow(0));
    store.pose = away;
    harness.frame();
    EXPECT_EQ(dragger->hoveredHandle(), arrow(0)) << "the pointer rests in the other view";
    second.frame();
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    second.root()->removeChild(dragger.get());
    // A button held where the pointer rests (a press on empty space) waits for its release.
    harness.move(onXArrow);
    EXPECT_FALSE(harness.press(onXArrow));
    store.pose = osg::Matrixd();
    harness.frame();
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    harness.release(onXArrow);
    EXPECT_EQ(dragger->hoveredHandle(), arrow(0));
}

TEST_F(HandlingAidsTest, HandlesSeenAlongTheirMotionFadeAndCannotBeGrabbed)
{
    // Nearly along X: the X arrow points at the eye, the Y and Z rings are edge-on.
    harness.lookAt(osg::Vec3d(5, 0.3, 0.2), osg::Vec3d(), osg::Z_AXIS);
    dragger->setPickTolerance(kTolerance);
    dragger->setViewAngleLimit(8.0);
    harness.frame();
    expectFaded({true, false, false}, {false, true, true});
    // The edge-on Z ring's line at 225 degrees: clear of the other handles.
    const osg::Vec2d onZRing = onRing(2, 225);
    EXPECT_FALSE(harness.press(onZRing));
    harness.release(onZRing);

    // Decided at frame events but never during a drag.
    const osg::Vec2d onXRing = onRing(0, 45);
    ASSERT_TRUE(harness.press(onXRing));
    harness.lookAt(osg::Vec3d(0.3, 5, 0.2), osg::Vec3d(), osg::Z_AXIS);
    harness.frame();
    EXPECT_FLOAT_EQ(shownColour(ring(0)).a(), 1.0f);
    harness.drag(onXRing + osg::Vec2d(0, 20));
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::X_AXIS);
    harness.release(onXRing + osg::Vec2d(0, 20));
    harness.frame();
    EXPECT_FLOAT_EQ(shownColour(ring(0)).a(), kFadedAlpha);

    // Off again: every handle back in its own colour and pickable.
    dragger->setViewAngleLimit(0.0);
    expectFaded({false, false, false}, {false, false, false});
    harness.lookAt(osg::Vec3d(5, 0.3, 0.2), osg::Vec3d(), osg::Z_AXIS);
    EXPECT_TRUE(harness.press(onZRing));
    harness.release(onZRing);

    // Drawn over the scene by a camera relative to the view's: the view's
    // camera still decides what fades, what the pointer is near and what
    // lights up.
    osg::ref_ptr<osg::Camera> over = new osg::Camera;
    over->setReferenceFrame(osg::Transform::RELATIVE_RF);
    over->setRenderOrder(osg::Camera::POST_RENDER);
    harness.root()->replaceChild(dragger.get(), over.get());
    over->addChild(dragger.get());
    dragger->setViewAngleLimit(8.0);
    dragger->setHoverHighlight(true);
    harness.frame();
    expectFaded({true, false, false}, {false, true, true});
    harness.lookAt(kEye, osg::Vec3d(), osg::Z_AXIS);
    harness.frame();
    expectFaded({false, false, false}, {false, false, false});
    const osg::Vec2d besideXArrow = besideArrow(0, 7);
    harness.move(besideXArrow);
    EXPECT_EQ(dragger->hoveredHandle(), arrow(0));
    EXPECT_TRUE(harness.press(besideXArrow));
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::X_AXIS);
    harness.release(besideXArrow);
}

TEST_F(HandlingAidsTest, BadValuesAndOddViewsAreHarmless)
{
    // Kept out of the pick by a node mask without the pick's bit (the
    // dragger's own, a handle's, a group's above them): neither the
    // tolerance nor the highlight takes a handle the pick leaves alone.
    dragger->setPickTolerance(kTolerance);
    dragger->setHoverHighlight(true);
    osg::ref_ptr<osg::Group> above = new osg::Group;
    harness.root()->replaceChild(dragger.get(), above.get());
    above->addChild(dragger.get());
    const osg::Vec2d nearXArrow = besideArrow(0, 5);
    const std::pair<const char*, osg::Node*> outOfThePick[] = {{"dragger", dragger.get()},
                                                               {"arrow", arrow(0)},
                                                               {"group above", above.get()},
                                                               {"none", nullptr}};
    for (const auto& [name, node] : outOfThePick) {
        SCOPED_TRACE(name);
        const osg::Node::NodeMask mask = node ? node->getNodeMask() : 0;
        if (node)
            node->setNodeMask(0x1);
        harness.move(nearXArrow);
        EXPECT_EQ(dragger->hoveredHandle(), node ? nullptr : arrow(0));
        EXPECT_EQ(harness.press(nearXArrow), !node);
        harness.release(nearXArrow);
        if (node)
            node->setNodeMask(mask);
    }
    harness.root()->replaceChild(above.get(), dragger.get());
    dragger->setHoverHighlight(false);

    dragger->setPickTolerance(5.0);
    dragger->setViewAngleLimit(10.0);
    for (double bad : {kNaN, kInfinity, -kInfinity, -1.0}) {
        SCOPED_TRACE(bad);
        dragger->setPickTolerance(bad);
        dragger->setViewAngleLimit(bad);
        EXPECT_EQ(dragger->pickTolerance(), 5.0);
        EXPECT_EQ(dragger->viewAngleLimit(), 10.0);
    }

    // 90 degrees or more fades every arrow and ring whatever the view.
    dragger->setViewAngleLimit(120.0);
    harness.frame();
    expectFaded({true, true, true}, {true, true, true});
    dragger->setViewAngleLimit(0.0);

    // Not an osgViewer::View: nothing happens.
    dragger->setHoverHighlight(true);
    StubActions noView;
    osg::ref_ptr<osgGA::GUIEventAdapter> move = new osgGA::GUIEventAdapter;
    move->setEventType(osgGA::GUIEventAdapter::MOVE);
    EXPECT_FALSE(dragger->handle(*move, noView));
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);

    // The eye inside the ball, squares and rings around and behind it: what
    // lies behind the eye is no candidate, and nothing leaves a bad pose.
    showExtraHandles(true);
    dragger->setPickTolerance(kTolerance);
    harness.lookAt(osg::Vec3d(0.02, 0.01, 0.03), osg::Vec3d(1, 1, 0), osg::Z_AXIS);
    for (const osg::Vec2d& at : {osg::Vec2d(400, 300), osg::Vec2d(10, 10), osg::Vec2d(267, 360)}) {
        harness.move(at);
        harness.dragFromTo(at, at + osg::Vec2d(15, 15), 1);
        EXPECT_TRUE(Rk::isFinite(dragger->getMatrix()));
    }
    showExtraHandles(false);
    dragger->setMatrix(osg::Matrixd());
    harness.lookAt(kEye, osg::Vec3d(), osg::Z_AXIS);

    // A camera without a viewport: no hover, no grab beside a handle.
    const osg::Vec2d besideArrowAt = besideArrow(0, 5);
    harness.viewer().getCamera()->setViewport(nullptr);
    harness.move(besideArrowAt);
    EXPECT_EQ(dragger->hoveredHandle(), nullptr);
    EXPECT_FALSE(harness.press(besideArrowAt));
    harness.release(besideArrowAt);
}
