#include "rkDraggerDlg.h"

#include "rkComposite3DDragger.h"
#include "rkRenderTypes.h"
#include "ui_rkDraggerDlg.h"

#include <QCloseEvent>
#include <osg/Quat>

namespace Rk {

namespace {

// The command value is shown with a fixed field so that the label does not
// jitter while a drag runs: two blanks, then the value right-aligned.
const char* const kCommandValueFormat = "  %1";
const int kCommandValueFieldWidth = 5;
const char kCommandValueNumberFormat = 'g';
const int kCommandValueDigits = 3;

const double kInitialScale = 1.0;
const osg::Quat kSystemFrame(0.0, 0.0, 0.0, 1.0);

} // namespace

DraggerDlg::DraggerDlg(Rk::Composite3DDragger* dragger, QWidget* parent)
    : QWidget(parent), m_ui(nullptr), m_dragger(nullptr), m_scale(kInitialScale)
{
    m_ui = new Ui_DraggerDlg;
    m_ui->setupUi(this);
    m_ui->groupBoxSystemAlignment->setVisible(false);

    connect(m_ui->groupBoxSystemAlignment, SIGNAL(toggled(bool)), this, SLOT(alignDragger(bool)));
    connect(m_ui->radioButtonCustom, SIGNAL(toggled(bool)), this, SLOT(setupCustomFrame(bool)));
    connect(m_ui->pushButtonConnect, SIGNAL(clicked()), this, SLOT(connectDragger()));

    setDragger(dragger);
}

DraggerDlg::~DraggerDlg()
{
    delete m_ui;
}

void DraggerDlg::setDragger(Rk::Composite3DDragger* dragger)
{
    m_dragger = dragger;
    if (m_dragger) {
        connectDraggerSignals();
        // Set before the check box is connected, so that showing the
        // dragger's state does not send it back to the dragger.
        m_ui->valueOnReleaseCheckBox->setChecked(m_dragger->m_valueOnRelease);
        connect(m_ui->valueOnReleaseCheckBox, SIGNAL(toggled(bool)), m_dragger,
                SLOT(setValueOnRelease(bool)));
    }
    poseChangedFromDragger();
}

void DraggerDlg::connectDraggerSignals()
{
    connect(m_dragger, SIGNAL(signalPoseChanged()), this, SLOT(poseChangedFromDragger()));
    connect(m_dragger, SIGNAL(signalScaleChanged()), this, SLOT(poseChangedFromDragger()));
    connect(m_dragger, SIGNAL(signalCommandValueChanged(double)), this,
            SLOT(commandValueChanged(double)));
    connect(m_dragger, SIGNAL(signalCommandValueDone()), this, SLOT(commandValueDone()));
    connect(m_dragger, SIGNAL(signalDraggingEnableChanged()), this, SLOT(updateDraggingEnabled()));
}

bool DraggerDlg::draggerShown() const
{
    return m_ui->groupBoxDragger->isChecked();
}

void DraggerDlg::enableSystemAlignment()
{
    m_ui->groupBoxSystemAlignment->setVisible(true);
}

void DraggerDlg::poseChangedFromDragger()
{
    if (m_dragger) {
        RkRenderTypes::osg2rk(m_dragger->getMatrix(), m_pose);
        m_scale = m_dragger->m_scale;
    }
    // The box rounds to its decimals; when that changes its value, its
    // valueChanged runs scaleChanged, which hands the rounded scale back.
    m_ui->spinBoxScale->setValue(m_scale);
    showPose();
    emit signalPoseChanged(m_pose);
}

void DraggerDlg::showPose()
{
    // setValue does not emit editingFinished, so this never writes back.
    const RkVector& translation = m_pose.translation();
    m_ui->spinBoxX->setValue(translation.x());
    m_ui->spinBoxY->setValue(translation.y());
    m_ui->spinBoxZ->setValue(translation.z());

    double yaw = 0.0;
    double pitch = 0.0;
    double roll = 0.0;
    m_pose.orientation().get321Euler(yaw, pitch, roll);
    m_ui->spinBoxH->setValue(yaw);
    m_ui->spinBoxP->setValue(pitch);
    m_ui->spinBoxR->setValue(roll);
}

void DraggerDlg::poseChanged()
{
    RkOrientation orientation;
    orientation.setFrom321Euler(m_ui->spinBoxH->value(), m_ui->spinBoxP->value(),
                                m_ui->spinBoxR->value());
    const RkVector translation(m_ui->spinBoxX->value(), m_ui->spinBoxY->value(),
                               m_ui->spinBoxZ->value());
    m_pose.setTranslation(translation);
    m_pose.setOrientation(orientation);
    updateDraggerPose();
    emit signalPoseChanged(m_pose);
}

void DraggerDlg::updateDraggerPose()
{
    // The dragger answers with signalPoseChanged, which refreshes the boxes
    // from its new matrix; the dialog's own signals of that refresh would
    // duplicate the one emitted by the caller, so they are cut here.
    blockSignals(true);
    if (m_dragger)
        m_dragger->syncReceiverToPose(RkRenderTypes::rk2osg(m_pose));
    blockSignals(false);
}

void DraggerDlg::scaleChanged(double value)
{
    m_scale = value;
    if (m_dragger) {
        // Without the block the dragger's signalScaleChanged would refresh
        // the whole display from the dragger in the middle of an edit.
        m_dragger->blockSignals(true);
        m_dragger->setScale(m_scale);
        m_dragger->blockSignals(false);
    }
    emit signalScaleChanged(m_scale);
}

void DraggerDlg::commandValueChanged(double value)
{
    m_ui->commandValueLabel->setText(QString::fromLatin1(kCommandValueFormat)
                                         .arg(value, kCommandValueFieldWidth,
                                              kCommandValueNumberFormat, kCommandValueDigits,
                                              QChar(' ')));
}

void DraggerDlg::commandValueDone()
{
    m_ui->commandValueLabel->setText(QString());
    emit signalCommandValueDone();
}

void DraggerDlg::showDragger(bool show)
{
    if (m_dragger) {
        // The base version on purpose: it also sets the dragger's own node
        // mask, which a frame dragger's override leaves alone.
        m_dragger->Composite3DDragger::showDraggers(show);
        m_ui->groupBoxDragger->setChecked(show);
        setPoseBoxesEnabled(show && m_dragger->draggingEnabled());
    }
    emit signalShowDragger(show);
}

void DraggerDlg::setPoseBoxesEnabled(bool enabled)
{
    m_ui->spinBoxX->setEnabled(enabled);
    m_ui->spinBoxY->setEnabled(enabled);
    m_ui->spinBoxZ->setEnabled(enabled);
    m_ui->spinBoxR->setEnabled(enabled);
    m_ui->spinBoxP->setEnabled(enabled);
    m_ui->spinBoxH->setEnabled(enabled);
    m_ui->valueOnReleaseCheckBox->setEnabled(enabled);
}

void DraggerDlg::updateDraggingEnabled()
{
    showDragger(m_ui->groupBoxDragger->isChecked());
}

void DraggerDlg::alignDragger(bool on)
{
    if (!m_dragger)
        return;
    if (on)
        m_ui->pushButtonConnect->setEnabled(!m_ui->radioButtonSystem->isChecked());
    m_dragger->setIsAlignedWithReferenceFrame(on);
}

void DraggerDlg::setupCustomFrame(bool custom)
{
    if (!m_dragger)
        return;
    if (custom) {
        // The user now turns the dragger into the wanted frame; the host's
        // pose must not follow that turn.
        m_dragger->m_receiverUpdate = false;
        m_dragger->setIsAlignedWithReferenceFrame(true);
    } else {
        m_dragger->setReferenceFrame(kSystemFrame);
        m_dragger->setIsAlignedWithReferenceFrame(true);
        resumeReceiver();
    }
}

void DraggerDlg::connectDragger()
{
    if (!m_dragger)
        return;
    m_dragger->setReferenceFrame(m_dragger->getMatrix().getRotate());
    m_dragger->setIsAlignedWithReferenceFrame(true);
    resumeReceiver();
}

void DraggerDlg::resumeReceiver()
{
    m_dragger->m_receiverUpdate = true;
}

void DraggerDlg::closeEvent(QCloseEvent* event)
{
    emit signalClose();
    QWidget::closeEvent(event);
}

} // namespace Rk
