// The pose dialog bound to a real frame dragger for a host plug-in.
#include "rkDraggerDlg.h"

#include "rkFrameDragger.h"
#include "rkGizmoTestHelpers.h"
#include "rkPlugin.h"
#include "rkRenderTypes.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include <cmath>

#include <memory>

using RkTest::makePose;

namespace {

// Single-precision products in the dragger's pose path.
const double kFloatTolerance = 1e-5;
// Quaternions this close are one turn up to single-precision rounding.
const double kTurnTolerance = std::sqrt(2.0 * kFloatTolerance);
// Node mask of a shown dragger (a copy: gtest takes its arguments by reference).
const osg::Node::NodeMask kShownMask = Rk::Composite3DDragger::DRAGGER_MASK;

// A GUI plug-in that records every write of its end-effector pose.
class RecordingPlugin : public Rk::PluginGUI
{
public:
    std::vector<osg::Matrixd> poseWrites;

protected:
    bool writeMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                          const osg::Matrixd& value) override
    {
        if (id == Rk::PARAM_END_EFFECTOR_POSE)
            poseWrites.push_back(value);
        return Rk::PluginGUI::writeMatrixParam(id, i, j, value);
    }
};

class DraggerDlgTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        plugin.setParam<Rk::PARAM_END_EFFECTOR_POSE>(RkRenderTypes::rk2osg(startPose));
        plugin.poseWrites.clear();
        dragger = new Rk::FrameDragger(&plugin, false);
        dragger->setupDefaultGeometry();
        dialog = std::make_unique<Rk::DraggerDlg>(dragger.get());
    }

    template <typename T> T* widget(const char* name) const
    {
        T* found = dialog->findChild<T*>(name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QDoubleSpinBox* box(const char* name) const { return widget<QDoubleSpinBox>(name); }
    QString commandText() const { return widget<QLabel>("commandValueLabel")->text(); }

    // What a user does: select the box's text, type, press Return.
    void typeInto(const char* name, const QString& text)
    {
        QDoubleSpinBox* target = box(name);
        target->setLocale(QLocale::c());
        target->selectAll();
        QTest::keyClicks(target, text);
        QTest::keyClick(target, Qt::Key_Return);
    }

    const RkCoordinateSystemTransformation startPose = makePose(1.0, 2.0, 3.0, 0.5, 0.2, -0.1);
    RecordingPlugin plugin;
    osg::ref_ptr<Rk::FrameDragger> dragger;
    std::unique_ptr<Rk::DraggerDlg> dialog;
};

TEST_F(DraggerDlgTest, LabelsAndShowsTheDraggersPoseAndScaleWhenBoundAndEveryPoseItSignals)
{
    const std::pair<const char*, double> shown[] = {{"spinBoxX", 1.0}, {"spinBoxY", 2.0},
                                                    {"spinBoxZ", 3.0}, {"spinBoxH", 0.5},
                                                    {"spinBoxP", 0.2}, {"spinBoxR", -0.1}};
    for (const auto& [name, value] : shown)
        EXPECT_EQ(box(name)->value(), value) << name;
    EXPECT_EQ(box("spinBoxScale")->text(), "0.300");
    EXPECT_TRUE(dialog->pose().approxEq(startPose, kFloatTolerance));
    EXPECT_TRUE(plugin.poseWrites.empty());
    EXPECT_FALSE(widget<QGroupBox>("groupBoxSystemAlignment")->isVisibleTo(dialog.get()));
    EXPECT_FALSE(dialog->draggerShown());
    const std::pair<const char*, const char*> labels[] = {
        {"label_7", "Scale:"}, {"label", "X:"},       {"label_2", "Y:"},  {"label_3", "Z:"},
        {"label_4", "Roll:"},  {"label_5", "Pitch:"}, {"label_6", "Yaw:"}};
    for (const auto& [name, text] : labels)
        EXPECT_EQ(widget<QLabel>(name)->text(), text);
    EXPECT_EQ(widget<QGroupBox>("groupBoxDragger")->title(), "Dragger Pose");
    EXPECT_EQ(widget<QCheckBox>("valueOnReleaseCheckBox")->text(), "Update on release");
    EXPECT_EQ(widget<QGroupBox>("groupBoxSystemAlignment")->title(), "Alignment");
    EXPECT_EQ(widget<QRadioButton>("radioButtonSystem")->text(), "System");
    EXPECT_EQ(widget<QRadioButton>("radioButtonCustom")->text(), "Custom");
    EXPECT_EQ(widget<QPushButton>("pushButtonConnect")->text(), "Connect");

    QSignalSpy dialogPoses(dialog.get(), &Rk::DraggerDlg::signalPoseChanged);
    dragger->setPose(makePose(-4.25, 0.5, 7.0, -0.3, 0.1, 0.7));
    EXPECT_EQ(box("spinBoxX")->value(), -4.25);
    EXPECT_EQ(box("spinBoxH")->value(), -0.3);
    EXPECT_EQ(box("spinBoxR")->value(), 0.7);
    EXPECT_EQ(dialogPoses.count(), 1);
    EXPECT_TRUE(plugin.poseWrites.empty());

    // Binding the same dragger again connects it twice.
    dialog->setDragger(dragger.get());
    dialogPoses.clear();
    QSignalSpy shows(dialog.get(), &Rk::DraggerDlg::signalShowDragger);
    dragger->setPose(startPose);
    dragger->setDraggingEnabled(false);
    EXPECT_EQ(dialogPoses.count(), 2);
    EXPECT_EQ(shows.count(), 2);
}

TEST_F(DraggerDlgTest, OneFinishedEditSendsTheWholePoseOnceAndReachesTheHost)
{
    // The host applies typed poses itself, as the dragger only writes the
    // pose it had before the edit.
    QObject::connect(dialog.get(), &Rk::DraggerDlg::signalPoseChanged,
                     [this](const RkCoordinateSystemTransformation& pose) {
                         plugin.setParam<Rk::PARAM_END_EFFECTOR_POSE>(RkRenderTypes::rk2osg(pose));
                     });
    dialog->showDragger(true);
    QSignalSpy dialogPoses(dialog.get(), &Rk::DraggerDlg::signalPoseChanged);
    QSignalSpy draggerPoses(dragger.get(), SIGNAL(signalPoseChanged()));

    typeInto("spinBoxX", "0.5");

    const RkCoordinateSystemTransformation typed = makePose(0.5, 2.0, 3.0, 0.5, 0.2, -0.1);
    ASSERT_EQ(dialogPoses.count(), 1);
    EXPECT_TRUE(dialogPoses.at(0).at(0).value<RkCoordinateSystemTransformation>().approxEq(
        typed, kFloatTolerance));
    EXPECT_EQ(draggerPoses.count(), 1);
    ASSERT_EQ(plugin.poseWrites.size(), 2u);
    EXPECT_TRUE(plugin.poseWrites.front().getTrans() == osg::Vec3d(1.0, 2.0, 3.0));
    RkCoordinateSystemTransformation written;
    RkRenderTypes::osg2rk(plugin.poseWrites.back(), written);
    EXPECT_TRUE(written.approxEq(typed, kFloatTolerance));
    EXPECT_NEAR((dragger->getMatrix().getTrans() - osg::Vec3d(0.5, 2.0, 3.0)).length(), 0.0,
                kFloatTolerance);
}

// Every box clamps to its range and rounds to three decimals.
TEST_F(DraggerDlgTest, OutOfRangePoseIsShownClampedAndSentClamped)
{
    const std::pair<const char*, double> limits[] = {{"spinBoxX", 1000.0}, {"spinBoxY", 1000.0},
                                                     {"spinBoxZ", 1000.0}, {"spinBoxR", 10.0},
                                                     {"spinBoxP", 10.0},   {"spinBoxH", 10.0}};
    for (const auto& [name, limit] : limits) {
        SCOPED_TRACE(name);
        box(name)->setValue(1.5 * limit);
        EXPECT_EQ(box(name)->value(), limit);
        box(name)->setValue(-1.5 * limit);
        EXPECT_EQ(box(name)->value(), -limit);
        box(name)->setValue(0.12345);
        EXPECT_EQ(box(name)->value(), 0.123);
    }
    box("spinBoxScale")->setValue(-1.0);
    EXPECT_EQ(box("spinBoxScale")->value(), 0.0);
    box("spinBoxScale")->setValue(11.0);
    EXPECT_EQ(box("spinBoxScale")->value(), 10.0);

    dialog->showDragger(true);
    dragger->setPose(makePose(1500.0, 0.0, 0.0, 0.0, 0.0, 0.0));
    EXPECT_EQ(box("spinBoxX")->value(), 1000.0);
    EXPECT_EQ(dialog->pose().translation().x(), 1500.0);

    QTest::keyClick(box("spinBoxY"), Qt::Key_Return);
    EXPECT_EQ(dialog->pose().translation().x(), 1000.0);
    EXPECT_NEAR(dragger->getMatrix().getTrans().x(), 1000.0, kFloatTolerance);
}

// A typed scale reaches the dragger and its handles without the dragger's
// own announcement; a scale set on the dragger is rounded to the box and
// sent back exactly once.
TEST_F(DraggerDlgTest, ScaleIsTypedSilentlyAndRoundedToTheBoxOnce)
{
    dialog->showDragger(true);
    QSignalSpy dialogScales(dialog.get(), &Rk::DraggerDlg::signalScaleChanged);
    QSignalSpy draggerScales(dragger.get(), SIGNAL(signalScaleChanged()));
    QTest::keyClick(box("spinBoxScale"), Qt::Key_Up); // one step of 0.01
    EXPECT_DOUBLE_EQ(dragger->scale(), 0.31);
    EXPECT_NEAR(dragger->getDragger(1)->getMatrix()(0, 0), 0.31, 1e-12);
    EXPECT_EQ(draggerScales.count(), 0);
    ASSERT_EQ(dialogScales.count(), 1);
    EXPECT_EQ(dialogScales.at(0).at(0).toDouble(), dragger->scale());

    dragger->setScale(0.12345);
    ASSERT_EQ(dialogScales.count(), 2);
    EXPECT_EQ(dialogScales.at(1).at(0).toDouble(), 0.123);
    EXPECT_EQ(dragger->scale(), 0.123);
    EXPECT_EQ(draggerScales.count(), 1); // only the dragger's own announcement
    // The box already shows 0.123: nothing goes back.
    dragger->setScale(0.12345);
    EXPECT_EQ(dialogScales.count(), 2);
    EXPECT_EQ(dragger->scale(), 0.12345);
    EXPECT_EQ(dialog->scale(), 0.12345);
}

TEST_F(DraggerDlgTest, CheckingTheGroupShowsTheDraggerAndEnablesTheBoxesWhileDraggingIsEnabled)
{
    QSignalSpy shows(dialog.get(), &Rk::DraggerDlg::signalShowDragger);
    widget<QGroupBox>("groupBoxDragger")->setChecked(true);
    EXPECT_EQ(dragger->getDragger(0)->getNodeMask(), kShownMask);
    EXPECT_TRUE(box("spinBoxX")->isEnabled());
    EXPECT_TRUE(widget<QCheckBox>("valueOnReleaseCheckBox")->isEnabled());
    EXPECT_TRUE(dialog->draggerShown());

    widget<QGroupBox>("groupBoxDragger")->setChecked(false);
    EXPECT_EQ(dragger->getNodeMask(), 0u);
    EXPECT_FALSE(box("spinBoxX")->isEnabled());
    ASSERT_EQ(shows.count(), 2);
    EXPECT_TRUE(shows.at(0).at(0).toBool());
    EXPECT_FALSE(shows.at(1).at(0).toBool());

    // With dragging disabled the dragger shows, but the pose boxes stay off.
    dragger->setDraggingEnabled(false);
    dialog->showDragger(true);
    EXPECT_EQ(dragger->getNodeMask(), kShownMask);
    EXPECT_FALSE(box("spinBoxX")->isEnabled());
    EXPECT_FALSE(widget<QCheckBox>("valueOnReleaseCheckBox")->isEnabled());
    EXPECT_TRUE(box("spinBoxScale")->isEnabled());
    dragger->setDraggingEnabled(true);
    EXPECT_TRUE(box("spinBoxX")->isEnabled());
    EXPECT_TRUE(widget<QCheckBox>("valueOnReleaseCheckBox")->isEnabled());
}

// A dialog built without a dragger shows the defaults; one whose dragger is
// replaced by null no longer touches it. Both still announce their own values.
TEST_F(DraggerDlgTest, WithoutADraggerTheDialogAnnouncesItsOwnValuesAndTouchesNoDragger)
{
    Rk::DraggerDlg unbound(nullptr);
    EXPECT_EQ(unbound.findChild<QDoubleSpinBox*>("spinBoxX")->value(), 0.0);
    EXPECT_EQ(unbound.findChild<QDoubleSpinBox*>("spinBoxScale")->value(), 1.0);
    dialog->setDragger(nullptr);
    for (Rk::DraggerDlg* without : {&unbound, dialog.get()}) {
        QSignalSpy scales(without, &Rk::DraggerDlg::signalScaleChanged);
        QSignalSpy shows(without, &Rk::DraggerDlg::signalShowDragger);
        QSignalSpy poses(without, &Rk::DraggerDlg::signalPoseChanged);
        without->findChild<QDoubleSpinBox*>("spinBoxScale")->setValue(2.0);
        without->showDragger(true);
        without->poseChanged();
        EXPECT_EQ(without->scale(), 2.0);
        ASSERT_EQ(scales.count(), 1);
        EXPECT_EQ(scales.at(0).at(0).toDouble(), 2.0);
        ASSERT_EQ(shows.count(), 1);
        EXPECT_TRUE(shows.at(0).at(0).toBool());
        EXPECT_FALSE(without->draggerShown());
        EXPECT_FALSE(without->findChild<QDoubleSpinBox*>("spinBoxX")->isEnabled());
        EXPECT_EQ(poses.count(), 1);

        without->enableSystemAlignment();
        without->updateDraggingEnabled();
        without->setupCustomFrame(true);
        without->alignDragger(true);
        without->connectDragger();
        without->setupCustomFrame(false);
        without->updateDraggerPose();
        without->poseChangedFromDragger();
        EXPECT_FALSE(without->signalsBlocked());
    }
    EXPECT_EQ(dragger->getNodeMask(), 0u);
    EXPECT_EQ(dragger->scale(), Rk::Composite3DDragger::DEFAULT_SCALE);
    EXPECT_TRUE(dragger->receiverUpdate());
    EXPECT_FALSE(dragger->isAlignedWithReferenceFrame());
    EXPECT_TRUE(plugin.poseWrites.empty());
}

} // namespace

// The dialog beside a viewer whose event traversal drives the frame dragger.
class DraggerDlgSceneTest : public DraggerDlgTest
{
protected:
    void SetUp() override
    {
        DraggerDlgTest::SetUp();
        harness.root()->addChild(dragger.get());
        dialog->showDragger(true);
        // The host moves its pose to the origin; the next frame follows it.
        plugin.setParam<Rk::PARAM_END_EFFECTOR_POSE>(osg::Matrixd::identity());
        harness.frame();
        plugin.poseWrites.clear();
    }

    osg::Vec2d onXArrow(double x) const { return harness.project(osg::Vec3d(x, 0.0, 0.0)); }
    // A point of the Z ring (radius 0.5 at scale 0.3) of an unturned dragger.
    static osg::Vec3d onZRing(double degrees) { return RkTest::ringPoint(degrees, 0.15); }

    // Beyond the rings (radius 0.15 at scale 0.3), before the cone.
    static constexpr double kArrowGrab = 0.24;
    static constexpr double kArrowMove = 0.2;
    static constexpr double kPickTolerance = 0.01;
    RkTest::ViewerHarness harness;
};

// The update-on-release box sets the dragger's flag, and a dialog bound
// later shows it.
TEST_F(DraggerDlgSceneTest, LiveDragsRefreshTheBoxesAndDeferredOnesShowTheCommandValue)
{
    // Live: the boxes and the host follow every step, no command value.
    QSignalSpy dialogPoses(dialog.get(), &Rk::DraggerDlg::signalPoseChanged);
    harness.dragFromTo(onXArrow(kArrowGrab), onXArrow(kArrowGrab + kArrowMove), 4);
    const double draggedX = dragger->getMatrix().getTrans().x();
    EXPECT_NEAR(draggedX, kArrowMove, kPickTolerance);
    EXPECT_NEAR(box("spinBoxX")->value(), draggedX, 0.0005);
    EXPECT_GE(dialogPoses.count(), 4);
    ASSERT_FALSE(plugin.poseWrites.empty());
    EXPECT_NEAR(plugin.poseWrites.back().getTrans().x(), draggedX, kFloatTolerance);
    EXPECT_TRUE(commandText().isEmpty());

    // Deferred: the command value in a field of five until the release.
    plugin.poseWrites.clear();
    widget<QCheckBox>("valueOnReleaseCheckBox")->setChecked(true);
    EXPECT_TRUE(dragger->valueOnRelease());
    QSignalSpy done(dialog.get(), &Rk::DraggerDlg::signalCommandValueDone);
    const osg::Vec2d end = onXArrow(draggedX + kArrowGrab + kArrowMove);
    harness.press(onXArrow(draggedX + kArrowGrab));
    harness.drag(onXArrow(draggedX + kArrowGrab + kArrowMove / 2.0));
    harness.drag(end);
    EXPECT_TRUE(plugin.poseWrites.empty());
    EXPECT_TRUE(commandText().startsWith("  "));
    EXPECT_NEAR(commandText().toDouble(), kArrowMove, kPickTolerance);

    harness.release(end);
    EXPECT_TRUE(commandText().isEmpty());
    EXPECT_EQ(done.count(), 1);
    ASSERT_FALSE(plugin.poseWrites.empty());
    EXPECT_NEAR(plugin.poseWrites.back().getTrans().x(), draggedX + kArrowMove, kPickTolerance);
    EXPECT_TRUE(
        Rk::DraggerDlg(dragger.get()).findChild<QCheckBox*>("valueOnReleaseCheckBox")->isChecked());
    // The label shows three significant digits in a field of five.
    const std::pair<double, const char*> shown[] = {
        {1.0, "      1"}, {0.1234, "  0.123"}, {12.345, "   12.3"}, {-1.5708, "  -1.57"}};
    for (const auto& [value, text] : shown) {
        dialog->commandValueChanged(value);
        EXPECT_EQ(commandText(), text);
    }
    dialog->commandValueDone();
    EXPECT_TRUE(commandText().isEmpty());
    EXPECT_EQ(done.count(), 2);
}

TEST_F(DraggerDlgSceneTest, CustomFrameIsTurnedWithoutTheHostAndConnectedOnClick)
{
    const osg::Quat hostRotation(0.3, osg::Vec3d(0.0, 0.0, 1.0));
    plugin.setParam<Rk::PARAM_END_EFFECTOR_POSE>(osg::Matrixd::rotate(hostRotation));
    harness.frame();
    dialog->enableSystemAlignment();
    dialog->show();
    plugin.poseWrites.clear();

    // Checked with "System" selected: aligned with the identity frame.
    widget<QGroupBox>("groupBoxSystemAlignment")->setChecked(true);
    auto* connectButton = widget<QPushButton>("pushButtonConnect");
    EXPECT_FALSE(connectButton->isEnabled());
    EXPECT_TRUE(dragger->isAlignedWithReferenceFrame());
    harness.frame(); // the handles now show the system axes
    EXPECT_TRUE(
        RkTest::sameRotation(dragger->getMatrix().getRotate(), osg::Quat(), kTurnTolerance));
    // The dialog with its alignment panel and a command value, as the README
    // shows it: written to RKDRAGGER_DIALOG_PICTURE (docs/dialog.png) if set.
    dialog->resize(dialog->sizeHint().expandedTo(dialog->size()));
    dialog->commandValueChanged(0.1234);
    const QString picture = qEnvironmentVariable("RKDRAGGER_DIALOG_PICTURE");
    EXPECT_TRUE(picture.isEmpty() || dialog->grab().save(picture));

    QTest::mouseClick(widget<QRadioButton>("radioButtonCustom"), Qt::LeftButton);
    EXPECT_TRUE(connectButton->isEnabled());
    EXPECT_FALSE(dragger->receiverUpdate());
    EXPECT_TRUE(dragger->receiverFollow()); // the dialog leaves it to the host
    dragger->setReceiverFollow(false);      // as a host does while "Custom" is on

    // The user turns the Z ring by 30 degrees in six events, seen from above
    // at a slant; the host's pose stays.
    harness.lookAt(osg::Vec3d(1.0, -2.0, 3.0), osg::Vec3d(), osg::Vec3d(0.0, 0.0, 1.0));
    RkTest::turnAlong(
        harness, [&](double degrees) { return harness.project(onZRing(degrees)); }, -45.0, -15.0,
        true, 6);
    harness.frame();
    const osg::Quat turn = dragger->getMatrix().getRotate();
    // Turned about Z by the traced angle (within a degree), and kept after the release.
    EXPECT_TRUE(RkTest::sameRotation(turn, osg::Quat(osg::DegreesToRadians(30.0), osg::Z_AXIS),
                                     std::sin(osg::DegreesToRadians(0.5))));
    EXPECT_TRUE(plugin.poseWrites.empty());

    QTest::mouseClick(connectButton, Qt::LeftButton);
    EXPECT_TRUE(RkTest::sameRotation(dragger->referenceFrame(), turn, kTurnTolerance));
    EXPECT_TRUE(dragger->isAlignedWithReferenceFrame());
    EXPECT_TRUE(dragger->receiverUpdate());
    EXPECT_FALSE(dragger->receiverFollow());
    dragger->setReceiverFollow(true); // the host resumes the follow
    harness.frame();                  // aligned with the connected frame: nothing to follow
    EXPECT_TRUE(RkTest::sameRotation(dragger->getMatrix().getRotate(), turn, kTurnTolerance));
    dragger->setReceiverMatrix(); // an unturned dragger writes the host's own rotation
    ASSERT_EQ(plugin.poseWrites.size(), 1u);
    EXPECT_TRUE(
        RkTest::sameRotation(plugin.poseWrites.back().getRotate(), hostRotation, kTurnTolerance));

    QTest::mouseClick(widget<QRadioButton>("radioButtonSystem"), Qt::LeftButton);
    EXPECT_FALSE(connectButton->isEnabled());
    EXPECT_TRUE(dragger->referenceFrame().asVec4() == osg::Quat().asVec4());
    EXPECT_TRUE(dragger->receiverUpdate());

    widget<QGroupBox>("groupBoxSystemAlignment")->setChecked(false);
    EXPECT_FALSE(dragger->isAlignedWithReferenceFrame());
    EXPECT_TRUE(dragger->alignmentRotation().asVec4() == osg::Quat().asVec4());
}
