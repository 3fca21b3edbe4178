// The dialog's form, built on a stand-in widget that owns the slots the form
// connects to, so that the form's own connections can be watched.
#include "ui_rkDraggerDlg.h"

#include <QSignalSpy>
#include <QTest>
#include <QTranslator>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

const double kPositionLimit = 1000.0;
const double kAngleLimit = 10.0;
const double kScaleLimit = 10.0;
const double kStep = 0.01;
const int kDecimals = 3;

// Counts what the form's connections deliver to the dialog's slots.
class FormHost : public QWidget
{
    Q_OBJECT
public:
    int poseEdits = 0;
    std::vector<double> scales;
    std::vector<bool> shows;
public slots:
    void scaleChanged(double value) { scales.push_back(value); }
    void poseChanged() { ++poseEdits; }
    void showDragger(bool show) { shows.push_back(show); }
};

// Answers every lookup with the context in front of the source text, so that
// a test sees which context each text asked for.
class ContextTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char*, int) const override
    {
        return QString::fromLatin1(context) + '|' + QString::fromUtf8(sourceText);
    }
};

class DraggerDlgForm : public ::testing::Test
{
protected:
    void SetUp() override { form.setupUi(&host); }

    std::vector<QDoubleSpinBox*> poseBoxes() const
    {
        return {form.spinBoxX, form.spinBoxY, form.spinBoxZ,
                form.spinBoxH, form.spinBoxP, form.spinBoxR};
    }

    FormHost host;
    Ui_DraggerDlg form;
};

struct Cell
{
    int row, column, rowSpan, columnSpan;
    bool operator==(const Cell& o) const
    {
        return row == o.row && column == o.column && rowSpan == o.rowSpan &&
               columnSpan == o.columnSpan;
    }
};

Cell cellOf(QGridLayout* layout, QWidget* widget)
{
    Cell cell{-1, -1, -1, -1};
    const int index = layout->indexOf(widget);
    if (index >= 0)
        layout->getItemPosition(index, &cell.row, &cell.column, &cell.rowSpan, &cell.columnSpan);
    return cell;
}

TEST_F(DraggerDlgForm, NamesTheDialogAndLimitsItsSize)
{
    EXPECT_EQ(host.objectName(), "DraggerDlg");
    EXPECT_EQ(host.size(), QSize(254, 286));
    host.resize(2000, 2000);
    EXPECT_EQ(host.height(), 400);
    EXPECT_EQ(host.width(), 2000);
    host.resize(10, 10);
    EXPECT_EQ(host.size(), QSize(177, 170));
}

TEST_F(DraggerDlgForm, PlacesEveryWidgetInItsGridCell)
{
    QGridLayout* grid = form.gridLayout;
    const std::vector<std::pair<QWidget*, Cell>> cells = {
        {form.label_7, {0, 1, 1, 1}},
        {form.spinBoxScale, {0, 3, 1, 1}},
        {form.valueOnReleaseCheckBox, {1, 0, 1, 3}},
        {form.commandValueLabel, {1, 3, 1, 1}},
        {form.label, {2, 0, 1, 1}},
        {form.spinBoxX, {2, 1, 1, 1}},
        {form.label_4, {2, 2, 1, 1}},
        {form.spinBoxR, {2, 3, 1, 1}},
        {form.label_2, {3, 0, 1, 1}},
        {form.spinBoxY, {3, 1, 1, 1}},
        {form.label_5, {3, 2, 1, 1}},
        {form.spinBoxP, {3, 3, 1, 1}},
        {form.label_3, {4, 0, 1, 1}},
        {form.spinBoxZ, {4, 1, 1, 1}},
        {form.label_6, {4, 2, 1, 1}},
        {form.spinBoxH, {4, 3, 1, 1}},
        {form.groupBoxSystemAlignment, {5, 0, 1, 4}},
    };
    for (const auto& [widget, cell] : cells) {
        EXPECT_EQ(widget->parentWidget(), form.groupBoxDragger)
            << widget->objectName().toStdString();
        EXPECT_TRUE(cellOf(grid, widget) == cell) << widget->objectName().toStdString();
    }
    EXPECT_TRUE(cellOf(form.gridLayout_2, form.groupBoxDragger) == (Cell{0, 0, 1, 1}));
    EXPECT_EQ(host.layout(), form.gridLayout_2);
    EXPECT_EQ(form.groupBoxDragger->layout(), form.gridLayout);
    EXPECT_EQ(form.groupBoxSystemAlignment->layout(), form.horizontalLayout);
    EXPECT_EQ(form.horizontalLayout->indexOf(form.radioButtonSystem), 0);
    EXPECT_EQ(form.horizontalLayout->indexOf(form.radioButtonCustom), 1);
    EXPECT_EQ(form.horizontalLayout->indexOf(form.pushButtonConnect), 2);
}

TEST_F(DraggerDlgForm, PoseBoxesExpandSideways)
{
    for (QDoubleSpinBox* box : poseBoxes())
        EXPECT_EQ(box->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    EXPECT_EQ(form.label->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    EXPECT_EQ(form.groupBoxDragger->sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
}

TEST_F(DraggerDlgForm, BoxesClampToTheirRangeAndRoundToThreeDecimals)
{
    for (QDoubleSpinBox* box : {form.spinBoxX, form.spinBoxY, form.spinBoxZ}) {
        box->setValue(1500.0);
        EXPECT_EQ(box->value(), kPositionLimit);
        box->setValue(-1500.0);
        EXPECT_EQ(box->value(), -kPositionLimit);
    }
    for (QDoubleSpinBox* box : {form.spinBoxR, form.spinBoxP, form.spinBoxH}) {
        box->setValue(12.0);
        EXPECT_EQ(box->value(), kAngleLimit);
        box->setValue(-12.0);
        EXPECT_EQ(box->value(), -kAngleLimit);
    }
    for (QDoubleSpinBox* box : poseBoxes()) {
        EXPECT_EQ(box->decimals(), kDecimals);
        EXPECT_DOUBLE_EQ(box->singleStep(), kStep);
        box->setValue(0.12345);
        EXPECT_EQ(box->value(), 0.123);
    }
}

TEST_F(DraggerDlgForm, ScaleStaysBetweenZeroAndTenInHundredthSteps)
{
    QDoubleSpinBox* scale = form.spinBoxScale;
    scale->setValue(-1.0);
    EXPECT_EQ(scale->value(), 0.0);
    scale->setValue(11.0);
    EXPECT_EQ(scale->value(), kScaleLimit);
    scale->setValue(0.5);
    scale->stepBy(1);
    EXPECT_DOUBLE_EQ(scale->value(), 0.51);
    EXPECT_EQ(scale->decimals(), kDecimals);
}

TEST_F(DraggerDlgForm, StartsWithBothGroupsUncheckedAndEverythingInsideDisabled)
{
    EXPECT_TRUE(form.groupBoxDragger->isCheckable());
    EXPECT_FALSE(form.groupBoxDragger->isChecked());
    EXPECT_TRUE(form.groupBoxSystemAlignment->isCheckable());
    EXPECT_FALSE(form.groupBoxSystemAlignment->isChecked());
    EXPECT_FALSE(form.spinBoxX->isEnabled());
    EXPECT_FALSE(form.radioButtonSystem->isEnabled());
    EXPECT_TRUE(form.radioButtonSystem->isChecked());
    EXPECT_FALSE(form.radioButtonCustom->isChecked());
    EXPECT_FALSE(form.valueOnReleaseCheckBox->isChecked());
    EXPECT_FALSE(form.pushButtonConnect->isCheckable());
    EXPECT_TRUE(form.commandValueLabel->text().isEmpty());
}

TEST_F(DraggerDlgForm, ConnectFollowsTheCustomRadioButton)
{
    form.groupBoxDragger->setChecked(true);
    form.groupBoxSystemAlignment->setChecked(true);
    EXPECT_TRUE(form.pushButtonConnect->isEnabled());
    form.radioButtonCustom->setChecked(true);
    EXPECT_TRUE(form.pushButtonConnect->isEnabled());
    form.radioButtonSystem->setChecked(true);
    EXPECT_FALSE(form.radioButtonCustom->isChecked());
    EXPECT_FALSE(form.pushButtonConnect->isEnabled());
}

TEST_F(DraggerDlgForm, DeliversScaleEditsAndGroupTogglesToTheDialog)
{
    form.spinBoxScale->setValue(0.25);
    form.spinBoxScale->setValue(0.25);
    form.groupBoxDragger->setChecked(true);
    form.groupBoxDragger->setChecked(false);
    EXPECT_EQ(host.scales, std::vector<double>({0.25}));
    EXPECT_EQ(host.shows, std::vector<bool>({true, false}));
}

TEST_F(DraggerDlgForm, EveryPoseBoxReportsAFinishedEditButNotAValueSetByCode)
{
    form.groupBoxDragger->setChecked(true);
    for (QDoubleSpinBox* box : poseBoxes())
        box->setValue(0.5);
    EXPECT_EQ(host.poseEdits, 0);
    for (QDoubleSpinBox* box : poseBoxes())
        QTest::keyClick(box, Qt::Key_Return);
    EXPECT_EQ(host.poseEdits, 6);
}

TEST_F(DraggerDlgForm, ShowsItsTexts)
{
    EXPECT_EQ(host.windowTitle(), "Dragger");
    EXPECT_EQ(form.groupBoxDragger->title(), "Dragger Pose");
    EXPECT_EQ(form.label_7->text(), "Scale:");
    EXPECT_EQ(form.valueOnReleaseCheckBox->text(), "Update on release");
    EXPECT_EQ(form.label->text(), "X:");
    EXPECT_EQ(form.label_2->text(), "Y:");
    EXPECT_EQ(form.label_3->text(), "Z:");
    EXPECT_EQ(form.label_4->text(), "Roll:");
    EXPECT_EQ(form.label_5->text(), "Pitch:");
    EXPECT_EQ(form.label_6->text(), "Yaw:");
    EXPECT_EQ(form.groupBoxSystemAlignment->title(), "Alignment");
    EXPECT_EQ(form.radioButtonSystem->text(), "System");
    EXPECT_EQ(form.radioButtonSystem->toolTip(), "Align the dragger with System frame");
    EXPECT_EQ(form.radioButtonCustom->text(), "Custom");
    EXPECT_EQ(form.radioButtonCustom->toolTip(),
              "<html><head/><body><p>Align dragger with Custom frame. Rotate the dragger to "
              "define the custom frame and then click Connect to move.</p></body></html>");
    EXPECT_EQ(form.pushButtonConnect->text(), "Connect");
}

TEST_F(DraggerDlgForm, TranslatesEveryTextInTheDraggerDlgContext)
{
    ContextTranslator translator;
    QCoreApplication::installTranslator(&translator);
    form.retranslateUi(&host);
    QCoreApplication::removeTranslator(&translator);

    EXPECT_EQ(host.windowTitle(), "DraggerDlg|Dragger");
    EXPECT_EQ(form.groupBoxDragger->title(), "DraggerDlg|Dragger Pose");
    EXPECT_EQ(form.label_6->text(), "DraggerDlg|Yaw:");
    EXPECT_EQ(form.radioButtonCustom->toolTip().left(16), "DraggerDlg|<html");
    EXPECT_EQ(form.pushButtonConnect->text(), "DraggerDlg|Connect");
    EXPECT_TRUE(form.commandValueLabel->text().isEmpty());
}

} // namespace

#include "rkDraggerDlgUiTest.moc"
