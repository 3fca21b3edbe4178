#ifndef RK_JOG_PANEL_H
#define RK_JOG_PANEL_H

#include <QWidget>
#include <osg/Camera>
#include <osg/MatrixTransform>
#include <osg/ref_ptr>

#include <functional>
#include <optional>
#include <string>

class RkDemoPlugin;
class RkImageDragger;

/// The jog panel: the six-button picture on an image dragger in a screen-
/// space overlay at the lower left of the view. Holding a button moves the
/// end effector through the plug-in, one step per repeat of the dragger's
/// timer; the frame dragger and the dialog follow the plug-in by themselves.
/// Only the left button presses a button. A listener learns of each
/// finished hold, for an undo history.
///
/// The image dragger turns the pointer into a cell of its display grid with
/// the size of a reference widget. The panel hands it a widget of 2 pixels'
/// height, so that the rows come out in cells of the picture, and of a
/// large width, so that the column term stays below one cell: each button
/// is one full-width band of rows.
class RkJogPanel
{
public:
    /// Told once per hold of a button that moved the end effector: the
    /// plug-in's pose before the hold's first step and after its last, and
    /// the button's label ("+X").
    using HoldListener = std::function<void(const osg::Matrixd& before, const osg::Matrixd& after,
                                            const QString& button)>;

    /// Metres per timer repeat (the dragger repeats every 40 ms).
    static constexpr double STEP = 0.005;
    /// Distance of the panel from the view's lower left corner, in pixels.
    static constexpr int MARGIN = 12;
    /// Order of the overlay among the cameras drawn after the view's: last.
    static constexpr int RENDER_ORDER = 1;

    RkJogPanel(RkDemoPlugin& plugin, const std::string& imageFile);
    ~RkJogPanel();

    /// The overlay camera to add to the scene.
    osg::Camera* overlay() const { return m_overlay.get(); }
    RkImageDragger* dragger() const { return m_dragger.get(); }
    bool hasImage() const;
    /// Keeps the overlay in logical pixel units of a view of `width` x
    /// `height` device pixels with `pixelRatio` device pixels per logical one.
    void resize(int width, int height, double pixelRatio = 1.0);
    /// Centre of button `index` in logical view pixels, y down, for a view
    /// of height `viewHeight` (logical pixels).
    QPointF buttonCentre(int index, int viewHeight) const;
    /// Sets (or with an empty function clears) the listener of finished holds.
    void setHoldListener(HoldListener listener) { m_holdListener = std::move(listener); }

private:
    class HoldWatch;
    /// A hold under way: the button and the pose before its first step.
    struct Hold
    {
        int button;
        osg::Matrixd before;
    };

    void addButtons();
    void stepHeld(int button);
    void endHoldIfReleased();

    QWidget m_referenceWidget;
    osg::ref_ptr<osg::Camera> m_overlay;
    osg::ref_ptr<osg::MatrixTransform> m_placement;
    osg::ref_ptr<RkImageDragger> m_dragger;
    RkDemoPlugin& m_plugin;
    HoldListener m_holdListener;
    std::optional<Hold> m_hold;
};

#endif
