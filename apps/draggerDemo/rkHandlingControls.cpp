#include "rkHandlingControls.h"

#include "rkExtraHandlesDragger.h"
#include "rkFrameDragger.h"
#include "rkOsgViewWidget.h"

#include <QAction>
#include <QDoubleSpinBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMainWindow>
#include <QMouseEvent>
#include <QStatusBar>
#include <QToolBar>
#include <osgViewer/GraphicsWindow>

#include <cmath>

namespace {

using Event = osgGA::GUIEventAdapter;

const double kMillimetresPerMetre = 1000.0;
const double kLargestSnapMillimetres = 1000.0;
const double kLargestSnapDegrees = 180.0;
const char* const kAxisNames[] = {"X", "Y", "Z"};
// A plane handle's active axis is its plane's normal.
const char* const kPlaneNames[] = {"YZ", "ZX", "XY"};

// "X +12.0 mm": the value with an explicit sign.
QString signedText(const char* name, double value, const char* unit)
{
    return QStringLiteral("%1 %2%3%4")
        .arg(name)
        .arg(value < 0.0 ? "-" : "+")
        .arg(std::fabs(value), 0, 'f', 1)
        .arg(QString::fromUtf8(unit));
}

osgGA::EventQueue* queueOf(QObject* watched)
{
    auto* view = qobject_cast<RkOsgViewWidget*>(watched);
    auto* window = view ? dynamic_cast<osgViewer::GraphicsWindow*>(
                              view->viewer()->getCamera()->getGraphicsContext())
                        : nullptr;
    return window ? window->getEventQueue() : nullptr;
}

int osgModifiers(Qt::KeyboardModifiers modifiers)
{
    int mask = 0;
    if (modifiers & Qt::ShiftModifier)
        mask |= Event::MODKEY_LEFT_SHIFT;
    if (modifiers & Qt::ControlModifier)
        mask |= Event::MODKEY_LEFT_CTRL;
    return mask;
}

// The keys the dragger listens for, as osgGA's symbols; 0 for the others.
int handlingKey(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Escape:
        return Event::KEY_Escape;
    case Qt::Key_Control:
        return Event::KEY_Control_L;
    default:
        return 0;
    }
}

} // namespace

RkHandlingControls::RkHandlingControls(QMainWindow* window, Rk::FrameDragger* dragger,
                                       const QVector<RkOsgViewWidget*>& views)
    : QObject(window), m_window(window), m_dragger(dragger), m_views(views)
{
    m_dragger->setPrecisionFactor(PRECISION_FACTOR);
    m_dragger->setCancelKey(Event::KEY_Escape);
    QToolBar* tools = window->addToolBar(tr("Handling"));
    tools->setObjectName("handlingToolBar");
    addSnapControls(tools);
    addHoverToggle(tools);
    window->statusBar()->addPermanentWidget(
        new QLabel(tr("Shift: finer · Ctrl: no snap · Esc or right-click: cancel")));
    connect(dragger, &Rk::Composite3DDragger::signalPoseChanged, this,
            &RkHandlingControls::reportDrag);
    connect(dragger, &Rk::Composite3DDragger::signalCommandValueChanged, this,
            &RkHandlingControls::reportDrag);
    for (RkOsgViewWidget* view : views)
        view->installEventFilter(this);
    // Queued: a press and a release change the dragger's active state only
    // after the signals they emit.
    const auto updateCursorOn = [this](auto signal) {
        connect(m_dragger, signal, this, &RkHandlingControls::showGrabCursor, Qt::QueuedConnection);
    };
    updateCursorOn(&Rk::Composite3DDragger::signalHoverChanged);
    updateCursorOn(&Rk::Composite3DDragger::signalPoseClicked);
    updateCursorOn(&Rk::Composite3DDragger::signalCommandValueDone);
    updateCursorOn(&Rk::Composite3DDragger::signalDragCancelled);
}

void RkHandlingControls::addSnapControls(QToolBar* tools)
{
    m_snapAction = tools->addAction(tr("Snap"));
    m_snapAction->setObjectName("snapAction");
    m_snapAction->setCheckable(true);
    m_snapAction->setToolTip(tr("Move and turn in the steps beside; hold Ctrl to move freely. "
                                "Shift: ten times finer. Esc or a right-click: cancel the drag"));
    connect(m_snapAction, &QAction::toggled, this, &RkHandlingControls::setSnapping);
    const auto addStep = [&](const char* name, const QString& suffix, double value, double top) {
        auto* box = new QDoubleSpinBox;
        box->setObjectName(name);
        box->setRange(0.1, top);
        box->setDecimals(1);
        box->setSuffix(suffix);
        box->setValue(value);
        connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                [this] { setSnapping(m_snapAction->isChecked()); });
        tools->addWidget(box);
        return box;
    };
    m_snapMillimetres = addStep("snapMillimetres", tr(" mm"), SNAP_METRES * kMillimetresPerMetre,
                                kLargestSnapMillimetres);
    m_snapDegrees = addStep("snapDegrees", tr("°"), SNAP_DEGREES, kLargestSnapDegrees);
}

void RkHandlingControls::addHoverToggle(QToolBar* tools)
{
    m_hoverAction = tools->addAction(tr("Hover highlight"));
    m_hoverAction->setObjectName("hoverAction");
    m_hoverAction->setCheckable(true);
    m_hoverAction->setChecked(m_dragger->hoverHighlight());
    m_hoverAction->setToolTip(tr("Show in yellow the handle a press would take"));
    connect(m_hoverAction, &QAction::toggled, this,
            [this](bool on) { m_dragger->setHoverHighlight(on); });
}

void RkHandlingControls::setSnapping(bool on)
{
    const double metres = m_snapMillimetres->value() / kMillimetresPerMetre;
    m_dragger->setTranslationSnap(on ? metres : 0.0);
    m_dragger->setRotationSnap(on ? osg::DegreesToRadians(m_snapDegrees->value()) : 0.0);
}

void RkHandlingControls::reportDrag()
{
    if (!m_dragger->getDraggerActive())
        return;
    const QString text = dragText();
    if (!text.isEmpty())
        m_window->statusBar()->showMessage(text);
}

void RkHandlingControls::showGrabCursor()
{
    for (RkOsgViewWidget* view : m_views) {
        if (m_dragger->getDraggerActive())
            view->setCursor(Qt::ClosedHandCursor);
        else if (m_dragger->hoveredHandle())
            view->setCursor(Qt::OpenHandCursor);
        else
            view->unsetCursor();
    }
}

QString RkHandlingControls::dragText() const
{
    const Rk::Composite3DDragger::AxisEnum axis = m_dragger->activeAxis();
    // Metres or radians, signed along an arrow, round a ring and round the
    // view ring (counter-clockwise as the user sees it counts positive).
    const double value = m_dragger->commandValueOfDrag();
    const double millimetres = value * kMillimetresPerMetre;
    switch (m_dragger->dragMode()) {
    case Rk::TranslateDragger::TRANSLATION_DRAG_MODE:
        return signedText(kAxisNames[axis], millimetres, " mm");
    case Rk::RotateDragger::ROTATION_DRAG_MODE:
        return signedText(kAxisNames[axis], osg::RadiansToDegrees(value), "°");
    case Rk::ExtraHandlesDragger::PLANE_DRAG_MODE:
        return tr("%1 plane %2 mm").arg(kPlaneNames[axis]).arg(millimetres, 0, 'f', 1);
    case Rk::ExtraHandlesDragger::SCREEN_DRAG_MODE:
        return tr("Screen %1 mm").arg(millimetres, 0, 'f', 1);
    case Rk::ExtraHandlesDragger::VIEW_RING_DRAG_MODE:
        return signedText("View ring", osg::RadiansToDegrees(value), "°");
    default:
        return QString();
    }
}

bool RkHandlingControls::eventFilter(QObject* watched, QEvent* event)
{
    osgGA::EventQueue* queue = queueOf(watched);
    auto* input = dynamic_cast<QInputEvent*>(event);
    if (!queue || !input)
        return false;
    queue->getCurrentEventState()->setModKeyMask(osgModifiers(input->modifiers()));
    if (cancelOnRightClick(event))
        return true;
    // A drag keeps the camera of its press: a zoom in mid-drag would pull
    // the tool away from under the pointer.
    if (event->type() == QEvent::Wheel && m_dragger->getDraggerActive())
        return true;
    auto* key = dynamic_cast<QKeyEvent*>(event);
    const int symbol = key ? handlingKey(key->key()) : 0;
    if (symbol == 0 || key->isAutoRepeat())
        return false;
    if (event->type() == QEvent::KeyPress)
        queue->keyPress(symbol);
    else if (event->type() == QEvent::KeyRelease)
        queue->keyRelease(symbol);
    return true;
}

bool RkHandlingControls::cancelOnRightClick(QEvent* event)
{
    const bool press =
        event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (!press || !m_dragger->getDraggerActive())
        return false;
    if (static_cast<QMouseEvent*>(event)->button() != Qt::RightButton)
        return false;
    m_dragger->cancelDrag();
    return true;
}
