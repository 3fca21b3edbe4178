#ifndef RK_DEMO_MAIN_WINDOW_H
#define RK_DEMO_MAIN_WINDOW_H

#include "rkDemoArm.h"
#include "rkDemoPlugin.h"

#include <QMainWindow>
#include <osg/ref_ptr>

#include <memory>

class QAction;
class QUndoStack;
class RkJogPanel;
class RkOsgViewWidget;
namespace Rk {
class DraggerDlg;
class FrameDragger;
class PoseHistory;
} // namespace Rk

/// The demo's main window: the 3D view with the arm, its frame dragger and
/// the jog panel, the pose dialog in a dock, and a "Home" action. Everything
/// reaches the arm through the plug-in's parameter 261, as in a host
/// application.
class RkDemoMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Ring radius of the gizmo in the rotate dragger's screen units (50 per
    /// unit: 70 logical pixels), before the screen's pixel ratio.
    static constexpr float GIZMO_RING_RADIUS = 1.4f;
    /// Pick tolerance in logical pixels and view angle limit in degrees.
    static constexpr double GIZMO_PICK_TOLERANCE = 8.0;
    static constexpr double GIZMO_VIEW_ANGLE_LIMIT = 8.0;

    /// `jogPanelImage`: the jog panel's picture; an unreadable file leaves a
    /// plain panel without buttons.
    explicit RkDemoMainWindow(const QString& jogPanelImage, QWidget* parent = nullptr);
    ~RkDemoMainWindow() override;

    RkDemoPlugin& plugin() { return m_plugin; }
    RkOsgViewWidget* view() const { return m_view; }
    /// The second view of the same arm and gizmo, from above.
    RkOsgViewWidget* topView() const { return m_topView; }
    Rk::FrameDragger* frameDragger() const { return m_frameDragger.get(); }
    Rk::DraggerDlg* dialog() const { return m_dialog; }
    RkJogPanel* jogPanel() const { return m_jogPanel.get(); }
    QAction* homeAction() const { return m_homeAction; }
    /// Drags, typed poses and jog holds, for Edit > Undo and Redo.
    QUndoStack* undoStack() const { return m_undoStack; }

public slots:
    /// Moves the end effector back to its home pose, through the plug-in only.
    void goHome();

private slots:
    void applyDialogPose();
    void reportScale(double scale);
    void reportVisibility(bool shown);

private:
    void buildScene();
    void buildTopView(osg::Node* arm);
    void buildDialogDock();
    void buildToolBar();
    void buildEditMenu();
    /// Switches the frame dragger's optional handles on, with a tool-bar toggle.
    void addMoreHandlesToggle();
    void pauseFollowWhileCustomFrameIsTurned();
    void setUpGizmoHandling();

    RkDemoPlugin m_plugin;
    RkDemoArm m_arm;
    RkOsgViewWidget* m_view;
    RkOsgViewWidget* m_topView = nullptr;
    osg::ref_ptr<Rk::FrameDragger> m_frameDragger;
    std::unique_ptr<RkJogPanel> m_jogPanel;
    Rk::DraggerDlg* m_dialog = nullptr;
    QAction* m_homeAction = nullptr;
    QUndoStack* m_undoStack = nullptr;
    Rk::PoseHistory* m_poseHistory = nullptr;
};

#endif
