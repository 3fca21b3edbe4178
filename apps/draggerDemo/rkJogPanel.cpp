#include "rkJogPanel.h"

#include "rkDemoPlugin.h"
#include "rkImageDragger.h"
#include "rkJogPanelLayout.h"

#include <osg/NodeCallback>

#include <set>

namespace {

using namespace RkJogPanelLayout;

// The overlay's near and far planes, about the panel at depth 0. A pick
// orders its hits by where they lie between their own camera's near and far
// planes; with the panel a millionth of the way from near to far, a press on
// the panel meets the panel first, before any gizmo drawn behind it.
const double kOverlayNear = -1.0;
const double kOverlayFar = 1.0e6;
// Display grid D: one cell per picture column, so that every cell of a
// button's rows is claimed by one of its pixels.
const double kCells = IMAGE_WIDTH;
// Reference widget: 2 pixels high maps the picture's height onto D rows;
// this width keeps the column term under 0.01 of a cell.
const int kReferenceWidth = 65536;
const int kReferenceHeight = 2;
// Offsets that put cell (0, 0) at the picture's top left corner.
const double kOffsetX = -1.0;
const double kOffsetY = kReferenceHeight - kCells;

std::set<unsigned int> buttonPixels(int index)
{
    std::set<unsigned int> pixels;
    for (int row = firstRow(index); row < firstRow(index) + BUTTON_HEIGHT; ++row)
        for (int column = 0; column < IMAGE_WIDTH; ++column)
            pixels.insert(unsigned(row * IMAGE_WIDTH + column));
    return pixels;
}

} // namespace

/// Ends the hold after the event that stopped the image dragger's repeat
/// (the release), looked at around each event traversal of the panel.
class RkJogPanel::HoldWatch : public osg::NodeCallback
{
public:
    explicit HoldWatch(RkJogPanel& panel) : m_panel(panel) {}

    void operator()(osg::Node* node, osg::NodeVisitor* visitor) override
    {
        traverse(node, visitor);
        m_panel.endHoldIfReleased();
    }

private:
    RkJogPanel& m_panel;
};

RkJogPanel::RkJogPanel(RkDemoPlugin& plugin, const std::string& imageFile)
    : m_overlay(new osg::Camera), m_placement(new osg::MatrixTransform), m_plugin(plugin)
{
    m_referenceWidget.resize(kReferenceWidth, kReferenceHeight);
    m_overlay->setReferenceFrame(osg::Transform::ABSOLUTE_RF);
    m_overlay->setViewMatrix(osg::Matrixd::identity());
    m_overlay->setClearMask(GL_DEPTH_BUFFER_BIT);
    m_overlay->setRenderOrder(osg::Camera::POST_RENDER, RENDER_ORDER);
    m_overlay->setAllowEventFocus(false);
    m_overlay->getOrCreateStateSet()->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    m_overlay->getOrCreateStateSet()->setMode(GL_DEPTH_TEST, osg::StateAttribute::OFF);

    m_dragger = new RkImageDragger(&m_referenceWidget, imageFile, kOffsetX, kOffsetY, kCells);
    m_dragger->setupDefaultGeometry();
    m_dragger->setHandleEvents(true);
    // Buttons answer the left button, which alone grabs the gizmo too; the
    // others zoom and pan from anywhere, the panel included.
    m_dragger->setActivationMouseButtonMask(osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    m_placement->setMatrix(osg::Matrixd::scale(IMAGE_WIDTH, IMAGE_HEIGHT, 1.0) *
                           osg::Matrixd::translate(MARGIN, MARGIN, 0.0));
    m_placement->addChild(m_dragger.get());
    m_overlay->addChild(m_placement.get());
    addButtons();
    m_placement->addEventCallback(new HoldWatch(*this));
    resize(800, 600);
}

RkJogPanel::~RkJogPanel()
{
    // The scene may outlive the panel; its callback must not.
    m_placement->setEventCallback(nullptr);
}

bool RkJogPanel::hasImage() const
{
    return m_dragger->getImage() != nullptr;
}

void RkJogPanel::addButtons()
{
    for (int i = 0; i < BUTTON_COUNT; ++i)
        m_dragger->addRegion(buttonPixels(i), [this, i] { stepHeld(i); });
}

void RkJogPanel::stepHeld(int button)
{
    if (!m_hold)
        m_hold = Hold{button, m_plugin.endEffectorPose()};
    osg::Vec3d step;
    step[BUTTONS[button].axis] = STEP * BUTTONS[button].direction;
    m_plugin.jog(step);
}

void RkJogPanel::endHoldIfReleased()
{
    if (!m_hold || m_dragger->isRepeating())
        return;
    const Hold hold = *m_hold;
    m_hold.reset();
    if (m_holdListener)
        m_holdListener(hold.before, m_plugin.endEffectorPose(),
                       QString::fromLatin1(BUTTONS[hold.button].label));
}

void RkJogPanel::resize(int width, int height, double pixelRatio)
{
    // The viewport too: the pointer maps window pixels through it. The
    // overlay's units are logical pixels, so that the panel keeps its size
    // on a high-density screen.
    m_overlay->setViewport(0, 0, width, height);
    m_overlay->setProjectionMatrixAsOrtho(0.0, width / pixelRatio, 0.0, height / pixelRatio,
                                          kOverlayNear, kOverlayFar);
}

QPointF RkJogPanel::buttonCentre(int index, int viewHeight) const
{
    const double fromTop = firstRow(index) + BUTTON_HEIGHT / 2.0;
    return QPointF(MARGIN + IMAGE_WIDTH / 2.0, viewHeight - (MARGIN + IMAGE_HEIGHT - fromTop));
}
