#include "rkHandlingControls.h"

#include "rkFrameDragger.h"
#include "rkOsgViewWidget.h"
#include "rkThreeAxisDragger.h"

#include <QAction>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMouseEvent>
#include <QStatusBar>
#include <QToolBar>
#include <osgViewer/GraphicsWindow>

namespace {

using Event = osgGA::GUIEventAdapter;

const double kMillimetresPerMetre = 1000.0;
const char* const kAxisNames[] = {"X", "Y", "Z"};

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
    : QObject(window), m_window(window), m_dragger(dragger)
{
    m_dragger->setPrecisionFactor(PRECISION_FACTOR);
    m_dragger->setCancelKey(Event::KEY_Escape);
    QToolBar* tools = window->addToolBar(tr("Handling"));
    tools->setObjectName("handlingToolBar");
    m_snapAction = tools->addAction(tr("Snap"));
    m_snapAction->setObjectName("snapAction");
    m_snapAction->setCheckable(true);
    m_snapAction->setToolTip(tr("Move in steps of 10 mm and 15°; hold Ctrl to move freely. "
                                "Shift: ten times finer. Esc or a right-click: cancel the drag"));
    connect(m_snapAction, &QAction::toggled, this, &RkHandlingControls::setSnapping);
    connect(dragger, &Rk::Composite3DDragger::signalPoseChanged, this,
            &RkHandlingControls::reportDrag);
    connect(dragger, &Rk::Composite3DDragger::signalCommandValueChanged, this,
            &RkHandlingControls::reportDrag);
    for (RkOsgViewWidget* view : views)
        view->installEventFilter(this);
}

void RkHandlingControls::setSnapping(bool on)
{
    m_dragger->setTranslationSnap(on ? SNAP_METRES : 0.0);
    m_dragger->setRotationSnap(on ? osg::DegreesToRadians(SNAP_DEGREES) : 0.0);
}

void RkHandlingControls::reportDrag()
{
    const Rk::Composite3DDragger::AxisEnum axis = m_dragger->activeAxis();
    if (!m_dragger->getDraggerActive() || axis == Rk::Composite3DDragger::NO_AXIS)
        return;
    const osg::Matrixd& start = m_dragger->dragStartMatrix();
    const osg::Matrixd& now = m_dragger->getMatrix();
    QString text;
    if (m_dragger->dragMode() == Rk::TranslateDragger::TRANSLATION_DRAG_MODE)
        text = QStringLiteral("%1 %2 mm")
                   .arg(kAxisNames[axis])
                   .arg(Rk::commandDistance(start, now, axis) * kMillimetresPerMetre, 0, 'f', 1);
    else
        text = QStringLiteral("%1 %2°")
                   .arg(kAxisNames[axis])
                   .arg(osg::RadiansToDegrees(
                            Rk::commandAngle(start.getRotate(), now.getRotate(), axis)),
                        0, 'f', 1);
    // An explicit sign: "X +12.0 mm".
    const int number = text.indexOf(' ') + 1;
    if (text.at(number) != '-')
        text.insert(number, '+');
    m_window->statusBar()->showMessage(text);
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
    if (event->type() != QEvent::MouseButtonPress || !m_dragger->getDraggerActive())
        return false;
    if (static_cast<QMouseEvent*>(event)->button() != Qt::RightButton)
        return false;
    m_dragger->cancelDrag();
    return true;
}
