#ifndef RK_DEMO_MAIN_WINDOW_H
#define RK_DEMO_MAIN_WINDOW_H

#include "rkDemoArm.h"
#include "rkDemoPlugin.h"

#include <QMainWindow>
#include <osg/ref_ptr>

#include <memory>

class QAction;
class RkJogPanel;
class RkOsgViewWidget;
namespace Rk {
class DraggerDlg;
class FrameDragger;
} // namespace Rk

/// The demo's main window: the 3D view with the arm, its frame dragger and
/// the jog panel, the pose dialog in a dock, and a "Home" action. Everything
/// reaches the arm through the plug-in's parameter 261, as in a host
/// application.
class RkDemoMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// `jogPanelImage`: the jog panel's picture; an unreadable file leaves a
    /// plain panel without buttons.
    explicit RkDemoMainWindow(const QString& jogPanelImage, QWidget* parent = nullptr);
    ~RkDemoMainWindow() override;

    RkDemoPlugin& plugin() { return m_plugin; }
    RkOsgViewWidget* view() const { return m_view; }
    Rk::FrameDragger* frameDragger() const { return m_frameDragger.get(); }
    Rk::DraggerDlg* dialog() const { return m_dialog; }
    RkJogPanel* jogPanel() const { return m_jogPanel.get(); }
    QAction* homeAction() const { return m_homeAction; }

public slots:
    /// Moves the end effector back to its home pose, through the plug-in only.
    void goHome();

private slots:
    void applyDialogPose();
    void reportScale(double scale);
    void reportVisibility(bool shown);

private:
    void buildScene();
    void buildDialogDock();
    void buildToolBar();
    /// Switches the frame dragger's optional handles on, with a tool-bar toggle.
    void addMoreHandlesToggle();
    void pauseFollowWhileCustomFrameIsTurned();

    RkDemoPlugin m_plugin;
    RkDemoArm m_arm;
    RkOsgViewWidget* m_view;
    osg::ref_ptr<Rk::FrameDragger> m_frameDragger;
    std::unique_ptr<RkJogPanel> m_jogPanel;
    Rk::DraggerDlg* m_dialog = nullptr;
    QAction* m_homeAction = nullptr;
};

#endif
