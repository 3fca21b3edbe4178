// Soak run: a million random events through a frame dragger with a receiver
// and a bound dialog in a real viewer, with host writes, scales, toggles and
// typed poses mixed in. Memory (VmRSS of /proc/self/status) is measured after
// a warm-up and at the end; the run fails when it grew by more than
// ALLOWED_GROWTH_KB. Not part of ctest: run it with scripts/soak.sh.
//
// Usage: rkDraggerSoak [events] (default 1000000)
#include "rkDraggerDlg.h"
#include "rkFrameDragger.h"
#include "rkViewerHarness.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QGroupBox>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr long DEFAULT_EVENTS = 1000000;
/// A tenth of the run warms up caches, pools and Qt's lazy structures.
constexpr long WARM_UP_DIVISOR = 10;
/// Allocator noise, not a leak: growth up to this is reported as flat.
constexpr long ALLOWED_GROWTH_KB = 4096;
constexpr unsigned int SEED = 20261123;

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string key;
    while (status >> key) {
        if (key == "VmRSS:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
        status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return -1;
}

class Soak
{
public:
    Soak() : m_view(osg::Vec3d(2.5, -5.0, 3.0))
    {
        m_receiver = new Rk::DraggerReceiver([this] { return m_hostPose; },
                                             [this](const osg::Matrixd& m) { m_hostPose = m; });
        m_dragger = new Rk::FrameDragger(m_receiver.get(), true);
        m_dragger->setupDefaultGeometry();
        static_cast<Rk::Composite3DDragger*>(m_dragger.get())->showDraggers(true);
        m_view.root()->addChild(m_dragger.get());
        m_dialog = new Rk::DraggerDlg(m_dragger.get(), nullptr);
        m_dialog->enableSystemAlignment();
        m_dialog->findChild<QGroupBox*>("groupBoxDragger")->setChecked(true);
    }
    ~Soak() { delete m_dialog; }

    void run(long events)
    {
        for (long i = 0; i < events; ++i)
            step();
    }

private:
    double uniform(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(m_random);
    }
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }

    osg::Vec2d nearTheDragger()
    {
        const osg::Vec3d local(uniform(-1.2, 1.2), uniform(-1.2, 1.2), uniform(-1.2, 1.2));
        return m_view.project(local * m_dragger->getMatrix());
    }

    /// One of twenty equally likely slots: 2 presses, 4 drags, 2 releases, 3
    /// frames, a far move, a key, a host write, a scale, 4 dialog edits, and
    /// the dragging-enabled flag.
    void step()
    {
        const int slot = pick(20);
        if (slot < 2) {
            m_view.press(nearTheDragger());
        } else if (slot < 6) {
            m_view.drag(nearTheDragger());
        } else if (slot < 8) {
            m_view.release(nearTheDragger());
        } else if (slot < 11) {
            m_view.frame();
        } else if (slot == 11) {
            m_view.move(osg::Vec2d(uniform(-1e4, 1e4), uniform(-1e4, 1e4)));
        } else if (slot == 12) {
            m_view.keyDown('a' + pick(26));
        } else if (slot == 13) {
            m_hostPose = osg::Matrixd::rotate(uniform(-3, 3), osg::Z_AXIS) *
                         osg::Matrixd::translate(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
            if (pick(10) == 0)
                m_hostPose(3, pick(3)) = std::numeric_limits<double>::quiet_NaN();
        } else if (slot == 14) {
            m_dragger->setScale(pick(8) == 0 ? 0.0 : uniform(0.1, 2.0));
        } else if (slot == 15) {
            m_dialog->findChild<QCheckBox*>("valueOnReleaseCheckBox")->setChecked(pick(2));
        } else if (slot == 16) {
            m_dialog->findChild<QGroupBox*>("groupBoxSystemAlignment")->setChecked(pick(2));
        } else if (slot == 17) {
            m_dialog
                ->findChild<QAbstractButton*>(pick(2) ? "radioButtonCustom" : "radioButtonSystem")
                ->setChecked(true);
        } else if (slot == 18) {
            QDoubleSpinBox* box = m_dialog->findChild<QDoubleSpinBox*>("spinBoxX");
            box->setValue(uniform(-2, 2));
            emit box->editingFinished();
        } else {
            m_dragger->setDraggingEnabled(pick(8) != 0);
        }
    }

    std::mt19937 m_random{SEED};
    osg::Matrixd m_hostPose;
    RkTest::ViewerHarness m_view;
    osg::ref_ptr<Rk::DraggerReceiver> m_receiver;
    osg::ref_ptr<Rk::FrameDragger> m_dragger;
    Rk::DraggerDlg* m_dialog = nullptr;
};

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const long events = argc > 1 ? std::atol(argv[1]) : DEFAULT_EVENTS;
    const long warmUp = events / WARM_UP_DIVISOR;

    Soak soak;
    const long startKb = residentKilobytes();
    soak.run(warmUp);
    const long warmKb = residentKilobytes();
    soak.run(events - warmUp);
    const long endKb = residentKilobytes();

    const long growthKb = endKb - warmKb;
    std::printf("events: %ld (warm-up %ld)\n", events, warmUp);
    std::printf("RSS at start:        %8ld kB\n", startKb);
    std::printf("RSS after warm-up:   %8ld kB\n", warmKb);
    std::printf("RSS at the end:      %8ld kB\n", endKb);
    std::printf("growth after warm-up: %7ld kB (allowed %ld kB): %s\n", growthKb, ALLOWED_GROWTH_KB,
                growthKb <= ALLOWED_GROWTH_KB ? "flat" : "GROWING");
    return growthKb <= ALLOWED_GROWTH_KB ? EXIT_SUCCESS : EXIT_FAILURE;
}
