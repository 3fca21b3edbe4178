// The composite dragger and the receivers it writes through.
#include "rkComposite3DDragger.h"
#include "rkDraggerReceiver.h"
#include "rkGizmoTestHelpers.h"
#include "rkPlugin.h"
#include "rkRenderTypes.h"

#include <QSignalSpy>
#include <boost/function.hpp>
#include <gtest/gtest.h>
#include <osgManipulator/Translate1DDragger>

namespace {

using Rk::Composite3DDragger;
using namespace RkTest;

Rk::DraggerReceiver* const kNoReceiver = nullptr;

osg::ref_ptr<Composite3DDragger> draggerOn(PoseStore& store, const osg::Matrixd& pose)
{
    store.pose = pose;
    return new Composite3DDragger(store.makeReceiver());
}

osg::Matrixd turnAndShift(double angle, const osg::Vec3d& axis, const osg::Vec3d& shift)
{
    return osg::Matrixd::rotate(angle, axis) * osg::Matrixd::translate(shift);
}

void expectMatrixNear(const osg::Matrixd& a, const osg::Matrixd& b, double tolerance)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            EXPECT_NEAR(a(row, column), b(row, column), tolerance) << row << "," << column;
}

TEST(Composite3DDragger, NewDraggerIsHiddenEnabledAndTakesTheReceiversPose)
{
    PoseStore store;
    osg::ref_ptr<Composite3DDragger> dragger =
        draggerOn(store, turnAndShift(0.5, osg::Z_AXIS, osg::Vec3d(1, 2, 3)));
    EXPECT_EQ(dragger->getNodeMask(), 0u);
    EXPECT_EQ(dragger->getIntersectionMask(), 1024u);
    EXPECT_TRUE(dragger->getHandleEvents());
    EXPECT_EQ(dragger->scale(), 0.3);
    EXPECT_EQ(dragger->activeAxis(), Composite3DDragger::NO_AXIS);
    EXPECT_EQ(dragger->dragMode(), 0);
    EXPECT_TRUE(dragger->draggingEnabled());
    EXPECT_TRUE(dragger->receiverUpdate());
    EXPECT_TRUE(dragger->receiverFollow());
    EXPECT_EQ(dragger->getMatrix(), store.pose);
    EXPECT_TRUE(store.writes.empty());

    // Enabling signals only on a change.
    QSignalSpy spy(dragger.get(), &Composite3DDragger::signalDraggingEnableChanged);
    dragger->setDraggingEnabled(true);
    EXPECT_EQ(spy.count(), 0);
    dragger->setDraggingEnabled(false);
    dragger->setDraggingEnabled(false);
    EXPECT_EQ(spy.count(), 1);
    EXPECT_FALSE(dragger->draggingEnabled());
}

TEST(Composite3DDragger, PluginConstructorBindsTheEndEffectorPoseAndSlotsAreReachableByName)
{
    Rk::PluginGUI plugin;
    plugin.setParam<261u, osg::Matrixd>(osg::Matrixd::translate(0, 0, 2));
    osg::ref_ptr<Composite3DDragger> dragger = new Composite3DDragger(&plugin);
    EXPECT_EQ(dragger->getMatrix(), osg::Matrixd::translate(0, 0, 2));
    dragger->setMatrix(osg::Matrixd::translate(1, 0, 2));
    dragger->setReceiverMatrix();
    EXPECT_EQ((plugin.param<261u, osg::Matrixd>()), osg::Matrixd::translate(1, 0, 2));

    // The slots are reachable by name.
    const RkCoordinateSystemTransformation coord(RkVector(0, 0, 4), RkOrientation());
    EXPECT_TRUE(QMetaObject::invokeMethod(dragger.get(), "setPose",
                                          Q_ARG(RkCoordinateSystemTransformation, coord)));
    EXPECT_NEAR(dragger->getMatrix().getTrans().z(), 4.0, 1e-6);
    EXPECT_TRUE(QMetaObject::invokeMethod(dragger.get(), "setValueOnRelease", Q_ARG(bool, true)));
    EXPECT_TRUE(dragger->valueOnRelease());
}

TEST(Composite3DDragger, ShowDraggersReachesEveryHandleOfNestedComposites)
{
    osg::ref_ptr<Composite3DDragger> outer = new Composite3DDragger(kNoReceiver);
    std::vector<osg::ref_ptr<osgManipulator::Dragger>> nodes = {outer};
    for (int part = 0; part < 2; ++part) {
        osg::ref_ptr<Composite3DDragger> inner = new Composite3DDragger(kNoReceiver);
        outer->addDragger(inner.get());
        nodes.push_back(inner);
        for (int axis = 0; axis < 3; ++axis) {
            nodes.push_back(new osgManipulator::Translate1DDragger);
            inner->addDragger(nodes.back().get());
        }
    }
    QSignalSpy poseSpy(outer.get(), &Composite3DDragger::signalPoseChanged);
    for (bool show : {true, false}) {
        outer->showDraggers(show);
        for (const auto& node : nodes)
            EXPECT_EQ(node->getNodeMask(), show ? 1024u : 0u);
    }
    EXPECT_EQ(poseSpy.count(), 0);
}

TEST(Composite3DDragger, ReceiverGetsTranslationAndRotationOnlyAndNeverANonFinitePose)
{
    PoseStore store;
    osg::ref_ptr<Composite3DDragger> dragger = draggerOn(store, osg::Matrixd());
    for (double bad : {kNaN, kInfinity, -kInfinity}) {
        osg::Matrixd turned;
        turned(1, 1) = bad;
        for (const osg::Matrixd& matrix : {osg::Matrixd::translate(bad, 0, 0), turned}) {
            dragger->setMatrix(matrix);
            dragger->setReceiverMatrix();
        }
    }
    EXPECT_TRUE(store.writes.empty());

    const osg::Matrixd rigid = turnAndShift(0.4, osg::X_AXIS, {1, 2, 3});
    dragger->setMatrix(osg::Matrixd::scale(2, 2, 2) * rigid);
    dragger->setReceiverMatrix();
    expectMatrixNear(store.pose, rigid, 1e-12);
}

TEST(Composite3DDragger, SetPoseMovesTheDraggerSyncWritesThePreviousPoseAndNonFinitePosesAreIgnored)
{
    PoseStore store;
    osg::ref_ptr<Composite3DDragger> dragger = draggerOn(store, osg::Matrixd::translate(1, 2, 3));
    QSignalSpy spy(dragger.get(), &Composite3DDragger::signalPoseChanged);
    dragger->setPose(RkTest::makePose(kNaN, 0, 0, 0, 0, 0));
    dragger->setPose(RkTest::makePose(0, 0, 0, kInfinity, 0, 0));
    // Finite, but beyond single precision.
    dragger->setPose(RkTest::makePose(1e300, 0, 0, 0, 0, 0));
    EXPECT_EQ(dragger->getMatrix(), osg::Matrixd::translate(1, 2, 3));
    EXPECT_EQ(spy.count(), 3);

    osg::Matrixd broken = osg::Matrixd::translate(4, 5, 6);
    broken(0, 0) = kNaN;
    dragger->syncReceiverToPose(broken);
    ASSERT_EQ(store.writes.size(), 1u) << "the previous, finite pose is still written";
    EXPECT_EQ(store.pose, osg::Matrixd::translate(1, 2, 3));
    EXPECT_EQ(dragger->getMatrix(), osg::Matrixd::translate(1, 2, 3));
    EXPECT_EQ(spy.count(), 4);

    // A good pose moves only the dragger; a sync writes the previous pose first.
    const RkCoordinateSystemTransformation coord = RkTest::makePose(1, -2, 0.5, 0.3, -0.2, 1.1);
    dragger->setPose(coord);
    EXPECT_EQ(store.writes.size(), 1u);
    expectMatrixNear(dragger->getMatrix(), RkRenderTypes::rk2osg(coord), 1e-6);
    const osg::Matrixd typed = turnAndShift(0.25, osg::Z_AXIS, {0, 3, 0});
    dragger->syncReceiverToPose(typed);
    ASSERT_EQ(store.writes.size(), 2u);
    expectMatrixNear(store.pose, RkRenderTypes::rk2osg(coord), 1e-6);
    expectMatrixNear(dragger->getMatrix(), typed, 1e-6);
    EXPECT_EQ(spy.count(), 6);

    // With the receiver-update flag clear nothing is written; the dragger
    // still moves and signals.
    dragger->setReceiverUpdate(false);
    dragger->setReceiverMatrix();
    dragger->syncReceiverToPose(osg::Matrixd::translate(5, 0, 0));
    EXPECT_EQ(store.writes.size(), 2u);
    EXPECT_EQ(spy.count(), 7);
    EXPECT_EQ(dragger->getMatrix(), osg::Matrixd::translate(5, 0, 0));
}

TEST(Composite3DDragger, AlignmentRotationIsTheInverseFrameTimesTheReceiverRotation)
{
    PoseStore store;
    const osg::Quat q(0.7, osg::Vec3d(0.2, 0.5, 1.0) / osg::Vec3d(0.2, 0.5, 1.0).length());
    osg::ref_ptr<Composite3DDragger> dragger =
        draggerOn(store, osg::Matrixd::rotate(q) * osg::Matrixd::translate(1, 1, 1));
    const osg::Quat r(-0.4, osg::Y_AXIS);
    dragger->setReferenceFrame(r);
    const osg::Matrixd before = dragger->getMatrix();

    dragger->setIsAlignedWithReferenceFrame(true);
    EXPECT_TRUE(RkTest::sameRotation(dragger->alignmentRotation(), r.inverse() * q, 1e-12));
    EXPECT_EQ(dragger->getMatrix(), before);

    // As long as the user has not turned it, the aligned dragger shows r and
    // writes the receiver's own rotation back.
    dragger->setMatrix(osg::Matrixd::rotate(r) * osg::Matrixd::translate(1, 1, 1));
    dragger->setReceiverMatrix();
    EXPECT_TRUE(RkTest::sameRotation(store.pose.getRotate(), q, 1e-9));

    dragger->setIsAlignedWithReferenceFrame(false);
    EXPECT_TRUE(RkTest::sameRotation(dragger->alignmentRotation(), osg::Quat(0, 0, 0, 1), 0.0));
}

// The receiver's pose is taken, and the alignment computed, only when both
// are finite; without a receiver nothing is written.
TEST(Composite3DDragger, WithoutReceiverOrFinitePoseNothingIsWrittenTakenOrAligned)
{
    PoseStore store;
    osg::ref_ptr<Composite3DDragger> dragger = draggerOn(store, osg::Matrixd::translate(2, 0, 0));
    store.pose(3, 1) = kNaN;
    dragger->setReceiver(dragger->receiver());
    // osg::Matrixd::operator== cannot see a NaN; EXPECT_NEAR can.
    expectMatrixNear(dragger->getMatrix(), osg::Matrixd::translate(2, 0, 0), 0.0);
    dragger->setIsAlignedWithReferenceFrame(true);
    EXPECT_TRUE(RkTest::sameRotation(dragger->alignmentRotation(), osg::Quat(), 0.0));

    // A zero reference frame has no inverse: the alignment stays as it was.
    store.pose = turnAndShift(0.3, osg::X_AXIS, {3, 3, 3});
    dragger->setReferenceFrame(osg::Quat(0.3, osg::Z_AXIS));
    dragger->setIsAlignedWithReferenceFrame(true);
    const osg::Quat aligned = dragger->alignmentRotation();
    dragger->setReferenceFrame(osg::Quat(0, 0, 0, 0));
    dragger->setIsAlignedWithReferenceFrame(true);
    EXPECT_TRUE(RkTest::sameRotation(dragger->alignmentRotation(), aligned, 0.0));
    // Attaching the same receiver again takes its (now finite) pose.
    dragger->setReceiver(dragger->receiver());
    EXPECT_EQ(dragger->getMatrix(), store.pose);

    osg::ref_ptr<Rk::DraggerReceiver> receiver = dragger->receiver();
    dragger->setReceiver(nullptr);
    EXPECT_EQ(receiver->referenceCount(), 1);
    EXPECT_EQ(dragger->getMatrix(), store.pose);
    dragger->setReferenceFrame(osg::Quat(1.0, osg::X_AXIS));
    dragger->setIsAlignedWithReferenceFrame(true);
    EXPECT_TRUE(RkTest::sameRotation(dragger->alignmentRotation(), aligned, 0.0));
    QSignalSpy spy(dragger.get(), &Composite3DDragger::signalPoseChanged);
    dragger->syncReceiverToPose(osg::Matrixd::translate(1, 1, 1));
    EXPECT_EQ(spy.count(), 1);
    EXPECT_TRUE(store.writes.empty());
}

TEST(Composite3DDragger, ScaleReplacesEachComponentsMatrixButIgnoresNonFiniteValues)
{
    osg::ref_ptr<Composite3DDragger> dragger = new Composite3DDragger(kNoReceiver);
    QSignalSpy spy(dragger.get(), &Composite3DDragger::signalScaleChanged);
    dragger->setScale(0.5);
    EXPECT_EQ(spy.count(), 1) << "also without components";
    osg::ref_ptr<osgManipulator::Translate1DDragger> component =
        new osgManipulator::Translate1DDragger;
    component->setMatrix(osg::Matrixd::translate(1, 1, 1));
    dragger->addDragger(component.get());

    dragger->setScale(0.5);
    EXPECT_EQ(component->getMatrix(), osg::Matrixd::scale(0.5, 0.5, 0.5));
    dragger->setScale(0.0);
    dragger->setScale(-2.0);
    EXPECT_EQ(component->getMatrix(), osg::Matrixd::scale(-2, -2, -2));
    EXPECT_EQ(spy.count(), 4);

    dragger->setScale(kNaN);
    dragger->setScale(kInfinity);
    EXPECT_EQ(dragger->scale(), -2.0);
    EXPECT_EQ(component->getMatrix(), osg::Matrixd::scale(-2, -2, -2));
    EXPECT_EQ(spy.count(), 4);
}

TEST(DraggerReceiver, EmptyFunctionsReadTheIdentityAndIgnoreWrites)
{
    osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::DraggerReceiver(
        boost::function<osg::Matrixd()>(), boost::function<void(const osg::Matrixd&)>());
    EXPECT_TRUE(receiver->getMatrix().isIdentity());
    receiver->setMatrix(osg::Matrixd::translate(1, 2, 3));
    EXPECT_TRUE(receiver->getMatrix().isIdentity());

    // Given functions, matrices pass through unchanged.
    osg::Matrixd stored = osg::Matrixd::scale(2, 3, 4); // not rigid: no check, no conversion
    receiver = new Rk::DraggerReceiver([&stored] { return stored; },
                                       [&stored](const osg::Matrixd& m) { stored = m; });
    EXPECT_EQ(receiver->getMatrix(), osg::Matrixd::scale(2, 3, 4));
    const osg::Matrixd written =
        osg::Matrixd::rotate(0.3, osg::Vec3d(0, 1, 0)) * osg::Matrixd::translate(7, 8, 9);
    receiver->setMatrix(written);
    EXPECT_EQ(stored, written);

    // An argument getter starts from the identity, its result is ignored, and
    // an empty one throws.
    for (bool reported : {true, false}) {
        Rk::DraggerReceiver::ReceiverArg arg;
        arg.getter = [reported](osg::Matrixd& m) {
            EXPECT_TRUE(m.isIdentity());
            m.setTrans(1, 2, 3);
            return reported;
        };
        receiver = new Rk::DraggerReceiver(arg);
        EXPECT_EQ(receiver->getMatrix(), osg::Matrixd::translate(1, 2, 3));
    }
    osg::ref_ptr<Rk::DraggerReceiver> empty =
        new Rk::DraggerReceiver(Rk::DraggerReceiver::ReceiverArg());
    EXPECT_THROW(empty->getMatrix(), boost::bad_function_call);
    EXPECT_NO_THROW(empty->setMatrix(osg::Matrixd())); // empty setter: nothing
}

TEST(EEDraggerReceiver, NullPluginReadsTheIdentityAndAPluginsParameterIsUsedAtEveryCall)
{
    osg::ref_ptr<Rk::DraggerReceiver> gui =
        new Rk::EEDraggerReceiver(static_cast<Rk::PluginGUI*>(nullptr));
    osg::ref_ptr<Rk::DraggerReceiver> indexed =
        new Rk::EEDraggerReceiver(static_cast<Rk::Plugin*>(nullptr), 1, 2);
    for (Rk::DraggerReceiver* receiver : {gui.get(), indexed.get()}) {
        receiver->setMatrix(osg::Matrixd::translate(1, 2, 3));
        EXPECT_TRUE(receiver->getMatrix().isIdentity());
    }

    // The plug-in's own store keeps each parameter at its address (parameter,
    // i, j): a value lands where the receiver wrote it and is read from there,
    // at every call, without caching.
    Rk::PluginGUI plugin;
    gui = new Rk::EEDraggerReceiver(&plugin);
    indexed = new Rk::EEDraggerReceiver(&plugin, 2, 5);
    osg::ref_ptr<Rk::DraggerReceiver> wrapped = new Rk::EEDraggerReceiver(&plugin, -1, -2);
    EXPECT_TRUE(gui->getMatrix().isIdentity());
    EXPECT_TRUE(indexed->getMatrix().isIdentity()) << "a failed read gives the identity";

    plugin.setParam<261u, osg::Matrixd>(osg::Matrixd::translate(4, 5, 6));
    plugin.setParam<14u, osg::Matrixd>(2, 5, osg::Matrixd::translate(0, 0, 1));
    plugin.setParam<14u, osg::Matrixd>(unsigned(-1), unsigned(-2), osg::Matrixd::scale(3, 3, 3));
    EXPECT_EQ(gui->getMatrix(), osg::Matrixd::translate(4, 5, 6));
    EXPECT_EQ(indexed->getMatrix(), osg::Matrixd::translate(0, 0, 1));
    EXPECT_EQ(wrapped->getMatrix(), osg::Matrixd::scale(3, 3, 3));

    gui->setMatrix(osg::Matrixd::translate(1, 1, 1));
    indexed->setMatrix(osg::Matrixd::translate(3, 2, 1));
    EXPECT_EQ((plugin.param<261u, osg::Matrixd>()), osg::Matrixd::translate(1, 1, 1));
    osg::Matrixd read;
    EXPECT_TRUE((plugin.getParam<14u, osg::Matrixd>(2, 5, read)));
    EXPECT_EQ(read, osg::Matrixd::translate(3, 2, 1));
    EXPECT_EQ(wrapped->getMatrix(), osg::Matrixd::scale(3, 3, 3)) << "other indices untouched";
}

} // namespace
