#include "rkDemoMainWindow.h"

#include "rkHandlingControls.h"

#include "rkDraggerDlg.h"
#include "rkFrameDragger.h"
#include "rkJogPanel.h"
#include "rkOsgViewWidget.h"
#include "rkPoseHistory.h"

#include <QAbstractButton>
#include <QAction>
#include <QDockWidget>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QUndoStack>
#include <QVBoxLayout>
#include <osgGA/TrackballManipulator>

namespace {

const osg::Vec3d kEye(1.9, -2.3, 1.5);
const osg::Vec3d kLookAt(0.25, 0.0, 0.45);
// The top view looks straight down on the arm's reach, +Y up on screen.
const osg::Vec3d kTopEye(0.35, 0.0, 4.5);
const osg::Vec3d kTopLookAt(0.35, 0.0, 0.0);
const osg::Vec3d kTopUp(0.0, 1.0, 0.0);
// Share of the window's width that the main view keeps beside the top view.
const int kMainViewStretch = 3;
const int kTopViewStretch = 2;
const osg::Vec4 kSky(0.16f, 0.18f, 0.22f, 1.0f);
const int kStatusTimeoutMs = 3000;
// The rings' invisible pick tube, in their screen units: 3 pixels.
const float kPickTubeRadius = 0.06f;
// The gizmo is drawn after the scene, before the jog panel.
const int kGizmoRenderOrder = RkJogPanel::RENDER_ORDER - 1;

/// The gizmo drawn over the scene, as the gizmos of modelling tools are: a
/// camera after the view's own, with the view's matrices (relative to it),
/// that clears the depth buffer first. The arm then never hides a handle;
/// the handles still hide each other. The pick takes the view's camera
/// through it.
osg::ref_ptr<osg::Camera> drawnOverTheScene(osg::Node* gizmo)
{
    osg::ref_ptr<osg::Camera> camera = new osg::Camera;
    camera->setReferenceFrame(osg::Transform::RELATIVE_RF);
    camera->setClearMask(GL_DEPTH_BUFFER_BIT);
    camera->setRenderOrder(osg::Camera::POST_RENDER, kGizmoRenderOrder);
    camera->setAllowEventFocus(false);
    camera->addChild(gizmo);
    return camera;
}

} // namespace

RkDemoMainWindow::RkDemoMainWindow(const QString& jogPanelImage, QWidget* parent)
    : QMainWindow(parent), m_view(new RkOsgViewWidget)
{
    setWindowTitle(tr("librkDragger demo"));
    m_view->setObjectName("mainView");
    m_jogPanel = std::make_unique<RkJogPanel>(m_plugin, jogPanelImage.toStdString());
    buildScene();
    setUpGizmoHandling();
    buildDialogDock();
    buildToolBar();
    buildEditMenu();
    new RkHandlingControls(this, m_frameDragger.get(), {m_view, m_topView});
    addMoreHandlesToggle();
    m_plugin.setPoseListener([this](const osg::Matrixd& pose) { m_arm.setEndEffectorPose(pose); });
    resize(1280, 720);
}

RkDemoMainWindow::~RkDemoMainWindow()
{
    // The scene refers to the plug-in; let it go before the plug-in does.
    m_plugin.setPoseListener(nullptr);
    delete m_view;
    delete m_topView;
}

void RkDemoMainWindow::buildScene()
{
    m_frameDragger = new Rk::FrameDragger(&m_plugin, true);
    m_frameDragger->setupDefaultGeometry();
    // The base operation shows the frame itself too, not only its handles.
    m_frameDragger->Composite3DDragger::showDraggers(true);

    // A handle drawn over the arm can be grabbed there: the arm stays out
    // of the draggers' pick.
    m_arm.node()->setNodeMask(~Rk::Composite3DDragger::DRAGGER_MASK);
    osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(m_arm.node());
    root->addChild(drawnOverTheScene(m_frameDragger.get()));
    root->addChild(m_jogPanel->overlay());
    osgViewer::Viewer* viewer = m_view->viewer();
    viewer->setSceneData(root.get());
    viewer->getCamera()->setClearColor(kSky);
    viewer->getCameraManipulator()->setHomePosition(kEye, kLookAt, osg::Vec3d(0, 0, 1));
    viewer->home();
    connect(m_view, &RkOsgViewWidget::resized, this, [this](int width, int height) {
        m_jogPanel->resize(width, height, m_view->devicePixelRatioF());
    });
    buildTopView(m_arm.node());
}

void RkDemoMainWindow::buildTopView(osg::Node* arm)
{
    // A second view of the same arm and gizmo (the jog panel belongs to the
    // main view): the gizmo is picked and dragged in either.
    m_topView = new RkOsgViewWidget;
    m_topView->setObjectName("topView");
    // A plan view, as in a CAD tool: orthographic.
    m_topView->setOrthographic(true);
    osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(arm);
    root->addChild(drawnOverTheScene(m_frameDragger.get()));
    osgViewer::Viewer* viewer = m_topView->viewer();
    viewer->setSceneData(root.get());
    viewer->getCamera()->setClearColor(kSky);
    viewer->getCameraManipulator()->setHomePosition(kTopEye, kTopLookAt, kTopUp);
    viewer->home();

    auto* views = new QSplitter(Qt::Horizontal, this);
    views->addWidget(m_view);
    views->addWidget(m_topView);
    views->setStretchFactor(0, kMainViewStretch);
    views->setStretchFactor(1, kTopViewStretch);
    setCentralWidget(views);
}

void RkDemoMainWindow::setUpGizmoHandling()
{
    // The rings keep a fixed size in device pixels; on a high-DPI screen they
    // are made as much larger as the screen's pixels are smaller, and so is
    // the tolerance, which counts the view's device pixels too.
    const double pixelRatio = devicePixelRatioF();
    Rk::RotateDragger* rings = m_frameDragger->rotateDragger();
    for (unsigned int axis = 0; axis < rings->getNumDraggers(); ++axis) {
        osg::Group* ring = rings->getDragger(axis);
        ring->removeChildren(0, ring->getNumChildren());
    }
    rings->setGeometryProperties(kPickTubeRadius * float(pixelRatio),
                                 GIZMO_RING_RADIUS * float(pixelRatio));
    rings->setupDefaultGeometry();
    m_frameDragger->setPickTolerance(GIZMO_PICK_TOLERANCE * pixelRatio);
    m_frameDragger->setHoverHighlight(true);
    m_frameDragger->setViewAngleLimit(GIZMO_VIEW_ANGLE_LIMIT);
    // The left button grabs; the right and middle buttons zoom and pan the
    // camera also over the gizmo.
    m_frameDragger->setActivationMouseButtonMask(osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
}

void RkDemoMainWindow::buildDialogDock()
{
    auto* dock = new QDockWidget(tr("Pose"), this);
    dock->setObjectName("poseDock");
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    // The dialog keeps its own size at the top of the dock.
    auto* panel = new QWidget(dock);
    auto* layout = new QVBoxLayout(panel);
    m_dialog = new Rk::DraggerDlg(m_frameDragger.get(), panel);
    m_dialog->enableSystemAlignment();
    m_dialog->showDragger(true);
    layout->addWidget(m_dialog);
    layout->addStretch(1);
    dock->setWidget(panel);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    connect(m_dialog, &Rk::DraggerDlg::signalPoseChanged, this, &RkDemoMainWindow::applyDialogPose);
    connect(m_dialog, &Rk::DraggerDlg::signalScaleChanged, this, &RkDemoMainWindow::reportScale);
    connect(m_dialog, &Rk::DraggerDlg::signalShowDragger, this,
            &RkDemoMainWindow::reportVisibility);
    pauseFollowWhileCustomFrameIsTurned();
}

void RkDemoMainWindow::pauseFollowWhileCustomFrameIsTurned()
{
    // While "Custom" is selected the user turns the gizmo into a new frame;
    // following the plug-in at every frame would turn it straight back.
    auto* custom = m_dialog->findChild<QAbstractButton*>("radioButtonCustom");
    auto* connectButton = m_dialog->findChild<QAbstractButton*>("pushButtonConnect");
    if (!custom || !connectButton)
        return;
    connect(custom, &QAbstractButton::toggled, this,
            [this](bool on) { m_frameDragger->setReceiverFollow(!on); });
    connect(connectButton, &QAbstractButton::clicked, this,
            [this] { m_frameDragger->setReceiverFollow(true); });
}

void RkDemoMainWindow::buildToolBar()
{
    QToolBar* tools = addToolBar(tr("Arm"));
    tools->setObjectName("armToolBar");
    m_homeAction = tools->addAction(tr("Home"), this, &RkDemoMainWindow::goHome);
    m_homeAction->setObjectName("homeAction");
    m_homeAction->setToolTip(tr("Move the end effector back to its home pose"));
    statusBar()->showMessage(
        tr("Drag an arrow or ring to move the tool; hold a jog button to step it"));
}

void RkDemoMainWindow::buildEditMenu()
{
    m_undoStack = new QUndoStack(this);
    m_poseHistory = new Rk::PoseHistory(m_frameDragger.get(), m_undoStack, this);
    m_poseHistory->trackDialog(m_dialog);
    m_jogPanel->setHoldListener(
        [this](const osg::Matrixd& before, const osg::Matrixd& after, const QString& button) {
            m_poseHistory->recordHostChange(before, after, tr("Jog %1").arg(button));
        });
    // The stack's actions enable themselves and take the step's text.
    QAction* undo = m_undoStack->createUndoAction(this, tr("&Undo"));
    undo->setObjectName("undoAction");
    undo->setShortcut(QKeySequence::Undo);
    QAction* redo = m_undoStack->createRedoAction(this, tr("&Redo"));
    redo->setObjectName("redoAction");
    redo->setShortcut(QKeySequence::Redo);
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->addAction(undo);
    edit->addAction(redo);
}

void RkDemoMainWindow::goHome()
{
    m_plugin.setEndEffectorPose(RkDemoPlugin::homePose());
}

void RkDemoMainWindow::applyDialogPose()
{
    // The dialog has already moved the dragger to the typed pose; the dragger
    // writes it to the plug-in with its own alignment and update rules. Its
    // echoes of the dragger's own moves write the same pose again, and none
    // is written in the middle of a drag, which may be a deferred one.
    if (!m_frameDragger->getDraggerActive())
        m_frameDragger->setReceiverMatrix();
}

void RkDemoMainWindow::reportScale(double scale)
{
    statusBar()->showMessage(tr("Gizmo scale %1").arg(scale, 0, 'f', 3), kStatusTimeoutMs);
}

void RkDemoMainWindow::reportVisibility(bool shown)
{
    statusBar()->showMessage(shown ? tr("Gizmo shown") : tr("Gizmo hidden"), kStatusTimeoutMs);
}

void RkDemoMainWindow::addMoreHandlesToggle()
{
    const int allHandles = Rk::FrameDragger::PLANE_HANDLES | Rk::FrameDragger::SCREEN_HANDLE |
                           Rk::FrameDragger::VIEW_RING;
    m_frameDragger->setHandleSet(allHandles);
    m_frameDragger->rebuildExtraHandles();
    QToolBar* tools = addToolBar(tr("Handles"));
    tools->setObjectName("handlesToolBar");
    QAction* toggle = tools->addAction(tr("More handles"));
    toggle->setObjectName("moreHandlesAction");
    toggle->setCheckable(true);
    toggle->setChecked(true);
    toggle->setToolTip(
        tr("Plane handles, a centre handle and a view ring beside the arrows and rings"));
    connect(toggle, &QAction::toggled, this, [this, allHandles](bool on) {
        m_frameDragger->setHandleSet(on ? allHandles : 0);
        m_frameDragger->rebuildExtraHandles();
    });
}
